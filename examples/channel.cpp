// Defines a client channel as an administrator would, copies it, changes the copy, and prints both
// side by side, field by field.
//
//     channel

#include "common.hpp"

#include <exception>

namespace {

std::string shown(const ZebStr & text) {
    return text.length() != 0 ? text.text() : "-";
}

// A line that begins with a star where the two differ.
void print(const char * name, const std::string & left, const std::string & right) {
    std::printf("%c %-25s%-36s%s\n", left == right ? ' ' : '*', name, left.c_str(), right.c_str());
}

void print(const char * name, const ZebStr & left, const ZebStr & right) {
    print(name, shown(left), shown(right));
}

void print(const char * name, std::int32_t left, std::int32_t right) {
    print(name, std::to_string(left), std::to_string(right));
}

// The name and the user data of `count` send exits; where there are fewer, the rest is empty.
std::vector<std::string> sendExits(ZebChl & channel, std::size_t count) {
    std::vector<ZebStr> names(count);
    std::vector<ZebStr> data(count);
    std::vector<ZebStr *> namePointers;
    std::vector<ZebStr *> dataPointers;
    for (std::size_t i = 0; i < count; ++i) {
        namePointers.push_back(&names[i]);
        dataPointers.push_back(&data[i]);
    }
    if (!channel.sendExitNames(count, namePointers.data()) ||
        !channel.sendUserData(count, dataPointers.data())) {
        example::failed("reading the send exits", channel);
    }
    std::vector<std::string> exits;
    for (std::size_t i = 0; i < count; ++i) {
        exits.push_back(shown(names[i]) + " " + shown(data[i]));
    }
    return exits;
}

std::string listed(std::size_t count, const std::int32_t * values) {
    std::string list;
    for (std::size_t i = 0; i < count; ++i) {
        list += (i != 0 ? ", " : "") + std::to_string(values[i]);
    }
    return list.empty() ? "-" : list;
}

std::string headerCompression(const ZebChl & channel) {
    std::int32_t values[2];
    channel.headerCompression(std::size(values), values);
    return listed(channel.headerCompressionCount(), values);
}

std::string messageCompression(const ZebChl & channel) {
    std::int32_t values[16];
    channel.messageCompression(std::size(values), values);
    return listed(channel.messageCompressionCount(), values);
}

void printSideBySide(ZebChl & left, ZebChl & right) {
    std::printf("  %-25s%-36s%s\n", "", "original", "copy");
    print("channelName", left.channelName(), right.channelName());
    print("connectionName", left.connectionName(), right.connectionName());
    print("transportType", left.transportType(), right.transportType());
    print("localAddress", left.localAddress(), right.localAddress());
    print("modeName", left.modeName(), right.modeName());
    print("transactionProgramName", left.transactionProgramName(), right.transactionProgramName());
    print("userId", left.userId(), right.userId());
    print("password", left.password(), right.password());
    print("securityExitName", left.securityExitName(), right.securityExitName());
    print("securityUserData", left.securityUserData(), right.securityUserData());
    print("sslCipherSpecification", left.sslCipherSpecification(), right.sslCipherSpecification());
    print("sslPeerName", left.sslPeerName(), right.sslPeerName());
    print("sslClientAuthentication", left.sslClientAuthentication(),
          right.sslClientAuthentication());
    print("maximumMessageLength", left.maximumMessageLength(), right.maximumMessageLength());
    print("heartBeatInterval", left.heartBeatInterval(), right.heartBeatInterval());
    print("keepAliveInterval", left.keepAliveInterval(), right.keepAliveInterval());
    print("batchHeartBeat", left.batchHeartBeat(), right.batchHeartBeat());
    const std::size_t count = std::max(left.sendExitCount(), right.sendExitCount());
    const std::vector<std::string> leftExits = sendExits(left, count);
    const std::vector<std::string> rightExits = sendExits(right, count);
    for (std::size_t i = 0; i < count; ++i) {
        print("send exit", leftExits[i], rightExits[i]);
    }
    print("receiveExitCount", std::to_string(left.receiveExitCount()),
          std::to_string(right.receiveExitCount()));
    print("receiveExitName", left.receiveExitName(), right.receiveExitName());
    print("receiveUserData", left.receiveUserData(), right.receiveUserData());
    print("headerCompression", headerCompression(left), headerCompression(right));
    print("messageCompression", messageCompression(left), messageCompression(right));
}

// A channel for the clients of one branch. The names of the exits come before their data.
bool define(ZebChl & channel) {
    const char * const exits[] = {"audit(Sent)", "pack(Deflate)"};
    const char * const data[] = {"log=orders", "level=6"};
    const std::int32_t compression[] = {2, 1};
    return channel.setChannelName("ORDERS.CLIENT") &&
           channel.setConnectionName("harbour.example.com:7400") &&
           channel.setSslCipherSpecification("TLS_AES_256_GCM_SHA384") &&
           channel.setSslPeerName("CN=harbour, OU=Orders, O=Example") &&
           channel.setSendExitNames(2, exits) && channel.setSendUserData(2, data) &&
           channel.setMessageCompression(2, compression);
}

// The same for another host, with one exit more.
bool change(ZebChl & channel) {
    const char * const exits[] = {"audit(Sent)", "pack(Deflate)", "seal(Sign)"};
    const char * const data[] = {"log=reserve", nullptr, "key=3"};
    const std::int32_t compression[] = {1};
    return channel.setConnectionName("reserve.example.com:7400") &&
           channel.setSslPeerName("CN=reserve, OU=Orders, O=Example") &&
           channel.setHeartBeatInterval(60) && channel.setSendExitNames(3, exits) &&
           channel.setSendUserData(3, data) && channel.setMessageCompression(1, compression);
}

int run() {
    ZebChl original;
    if (!define(original)) {
        return example::failed("defining the channel", original);
    }
    // A warning, although all is there: the record also holds the first 20 characters of the
    // connection name alone.
    if (original.completionCode() == ZBCC_WARNING) {
        std::printf("Defined, with warning %s.\n\n", zebReasonCode(original.reasonCode())->name);
        original.clearErrorCodes();
    }
    ZebChl copy(original);
    if (!change(copy)) {
        return example::failed("changing the copy", copy);
    }
    printSideBySide(original, copy);
    return 0;
}

} // namespace

int main() {
    try {
        return run();
    } catch (const std::exception & problem) { // such as storage that can't be had
        std::fprintf(stderr, "channel: %s\n", problem.what());
        return 1;
    }
}
