// The road of one message: a sender puts a dead letter header in front of a file's data and hands
// the message on; a receiver takes the header off again and gets the data as they were.
//
//     road FILE          sends FILE as road.msg, and receives it
//     road --read FILE   receives FILE, a message that was saved before
//
// With ZBCOMMON_TRACE=stderr in the environment, the library's own words on a failure stand in
// front of the codes that are printed here.

#include "common.hpp"

#include <ctime>
#include <exception>

namespace {

constexpr const char * messageFile = "road.msg";

// Today or now, in 8 characters.
std::string timeText(const char * format) {
    const std::time_t now = std::time(nullptr);
    char text[9] = "";
    std::strftime(text, sizeof text, format, std::gmtime(&now));
    return text;
}

// Builds the message and saves its descriptor and its data, as a queue would carry them.
int send(const example::Bytes & data) {
    ZebMsg message;
    message.setFormat("SAMPLE");
    message.setPutApplicationName("road");
    if (!message.write(data.size(), data.data())) {
        return example::failed("writing the data", message);
    }

    ZebDlh dead;
    dead.setDestinationQueueName("ORDERS.EUROPE");
    dead.setDestinationQueueManagerName("HARBOUR");
    dead.setPutApplicationName("road");
    dead.setPutDate(timeText("%Y%m%d").c_str());
    dead.setPutTime(timeText("%H%M%S00").c_str());
    if (!message.writeItem(dead)) {
        return example::failed("writing the dead letter header", message);
    }

    if (!example::saveMessage(messageFile, message)) {
        return 1;
    }
    std::printf("%s: descriptor of %zu bytes, data of %zu bytes\n", messageFile, sizeof(ZBMD),
                message.messageLength());
    return 0;
}

void print(const ZBMD & descriptor) {
    example::printField("structureId", descriptor.structureId);
    example::printField("version", descriptor.version);
    example::printField("descriptorWord8", descriptor.descriptorWord8);
    example::printField("descriptorWord12", descriptor.descriptorWord12);
    example::printField("descriptorWord16", descriptor.descriptorWord16);
    example::printField("feedback", descriptor.feedback);
    example::printField("encoding", descriptor.encoding);
    example::printField("characterSet", descriptor.characterSet);
    example::printField("format", descriptor.format);
    example::printField("descriptorWord40", descriptor.descriptorWord40);
    example::printField("descriptorWord44", descriptor.descriptorWord44);
    example::printField("messageId", descriptor.messageId);
    example::printField("correlationId", descriptor.correlationId);
    example::printField("descriptorWord96", descriptor.descriptorWord96);
    example::printField("replyToQueueName", descriptor.replyToQueueName);
    example::printField("replyToQueueManagerName", descriptor.replyToQueueManagerName);
    example::printField("userId", descriptor.userId);
    example::printField("accountingToken", descriptor.accountingToken);
    example::printField("applicationIdData", descriptor.applicationIdData);
    example::printField("descriptorWord272", descriptor.descriptorWord272);
    example::printField("putApplicationName", descriptor.putApplicationName);
    example::printField("putDate", descriptor.putDate);
    example::printField("putTime", descriptor.putTime);
    example::printField("applicationOriginData", descriptor.applicationOriginData);
    example::printField("groupId", descriptor.groupId);
    example::printField("descriptorWord348", descriptor.descriptorWord348);
    example::printField("descriptorWord352", descriptor.descriptorWord352);
    example::printField("descriptorWord356", descriptor.descriptorWord356);
    example::printField("descriptorWord360", descriptor.descriptorWord360);
}

void print(const ZBDLH & header) {
    example::printField("structureId", header.structureId);
    example::printField("version", header.version);
    example::printField("deadLetterWord8", header.deadLetterWord8);
    example::printField("destinationQueueName", header.destinationQueueName);
    example::printField("destinationQueueManagerName", header.destinationQueueManagerName);
    example::printField("encoding", header.encoding);
    example::printField("characterSet", header.characterSet);
    example::printField("format", header.format);
    example::printField("deadLetterWord124", header.deadLetterWord124);
    example::printField("putApplicationName", header.putApplicationName);
    example::printField("putDate", header.putDate);
    example::printField("putTime", header.putTime);
}

// Loads a saved message and takes its header off. `sent` is what the data should be, null where
// that is not known.
int receive(const char * path, const example::Bytes * sent) {
    example::Bytes bytes;
    ZebMsg message;
    if (!example::loadMessage(path, bytes, message)) {
        return 1;
    }
    std::printf("\nDescriptor as received\n");
    print(message.descriptor());

    ZebDlh dead;
    message.setDataOffset(0);
    if (!message.readItem(dead)) {
        return example::failed("reading the dead letter header", message);
    }
    ZBDLH header;
    std::memcpy(&header, message.bufferPointer(), sizeof header);
    std::printf("\nDead letter header\n");
    print(header);

    std::printf("\nData of %zu bytes, as the descriptor now says\n", message.dataLength());
    example::printField("format", message.descriptor().format);
    example::printField("encoding", message.encoding());
    example::printField("characterSet", message.characterSet());
    example::printHex(message.dataPointer(), message.dataLength());

    if (sent == nullptr) {
        return 0;
    }
    if (!example::areAsSent(message, {sent->data(), sent->size()})) {
        return 1;
    }
    std::printf("\nThe data received are the data sent, byte for byte.\n");
    return 0;
}

int run(int count, char ** arguments) {
    if (count == 3 && std::strcmp(arguments[1], "--read") == 0) {
        return receive(arguments[2], nullptr);
    }
    if (count != 2 || arguments[1][0] == '\0') {
        std::fprintf(stderr, "usage: road FILE\n       road --read FILE\n");
        return 1;
    }
    if (example::isSameFile(arguments[1], messageFile)) {
        std::fprintf(stderr, "'%s' is where the message goes: give another file, or --read\n",
                     messageFile);
        return 1;
    }
    example::Bytes data;
    if (!example::readFile(arguments[1], data)) {
        return 1;
    }
    const int status = send(data);
    return status != 0 ? status : receive(messageFile, &data);
}

} // namespace

int main(int count, char ** arguments) {
    try {
        return run(count, arguments);
    } catch (const std::exception & problem) { // such as a file that does not fit in memory
        std::fprintf(stderr, "road: %s\n", problem.what());
        return 1;
    }
}
