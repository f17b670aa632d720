// Everything that can stand in front of a message's data: a sender chains all five headers in front
// of an order; a receiver, who knows nothing of it, takes them off again one by one. At the end a
// trigger message becomes the text that is handed to a program to be started.
//
//     chain               sends a sample as chain.msg, and receives it
//     chain FILE          the same with FILE
//     chain --read FILE   receives FILE, a message that was saved before
//
// With ZBCOMMON_TRACE=stderr in the environment, the library's own words on a failure stand in
// front of the codes that are printed here.

#include "common.hpp"

#include <exception>

namespace {

constexpr const char * messageFile = "chain.msg";
constexpr std::string_view sample = "Order 4712: 7 umbrellas, to be left under the stairs.\n";

// Each header goes in front of all that the message holds, and takes over the description of it.
bool writeHeaders(ZebMsg & message) {
    ZebRfh reference;
    reference.setReferenceType("PHOTO");
    reference.setSourceEnvironment("harbour");
    reference.setSourceName("/orders/4712.jpg");
    reference.setDestinationName("/shelf/4712.jpg");

    ZebWih work;
    work.setServiceName("ORDERS");
    work.setServiceStep("PACK");

    ZebHih hsx;
    hsx.setLogicalTerminalOverride("COUNTER2");
    hsx.setReplyToFormat("RECEIPT");

    ZebTih tpmx;
    tpmx.setTransactionIdentifier("SELL");
    tpmx.setVersion(1);

    ZebDlh dead;
    dead.setDestinationQueueName("ORDERS.EUROPE");
    dead.setPutApplicationName("chain");

    return message.writeItem(reference) && message.writeItem(work) && message.writeItem(hsx) &&
           message.writeItem(tpmx) && message.writeItem(dead);
}

// Builds the message and saves its descriptor and its data, as a queue would carry them.
int send(std::string_view data) {
    ZebMsg message;
    message.setFormat("ORDER");
    if (!message.write(data.size(), data.data())) {
        return example::failed("writing the data", message);
    }
    if (!writeHeaders(message)) {
        return example::failed("writing a header", message);
    }
    if (!example::saveMessage(messageFile, message)) {
        return 1;
    }
    std::printf("%s: %zu bytes of headers in front of %zu bytes of data\n\n", messageFile,
                message.messageLength() - data.size(), data.size());
    return 0;
}

// A received text for people, with "." for what can't be shown.
std::string shown(const ZebStr & text) {
    std::string characters(text.text() != nullptr ? text.text() : "");
    std::replace_if(
        characters.begin(), characters.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
    return '\'' + characters + '\'';
}

void print(const char * name, const ZebStr & text) {
    std::printf("  %-28s%s\n", name, shown(text).c_str());
}

// Takes a header off the message; a failure is printed.
bool take(ZebMsg & message, ZebHdr & header, const char * what) {
    const std::size_t offset = message.dataOffset();
    if (!message.readItem(header)) {
        example::failed(("reading the " + std::string(what) + " header").c_str(), message);
        return false;
    }
    std::printf("At %zu the %s header, %zu bytes\n", offset, what, message.dataOffset() - offset);
    return true;
}

// Takes off the headers for as long as the descriptor announces one that is known here. Each header
// moves the cursor on, and leaves in the descriptor the format of what follows it.
bool takeHeaders(ZebMsg & message) {
    for (;;) {
        if (message.formatIs("ZBDEAD  ")) {
            ZebDlh dead;
            if (!take(message, dead, "dead letter")) {
                return false;
            }
            print("destinationQueueName", dead.destinationQueueName());
            print("putApplicationName", dead.putApplicationName());
        } else if (message.formatIs("ZBTPMX  ")) {
            ZebTih tpmx;
            if (!take(message, tpmx, "TPMX bridge")) {
                return false;
            }
            example::printField("version", tpmx.version());
            print("transactionIdentifier", tpmx.transactionIdentifier());
        } else if (message.formatIs("ZBHSX   ")) {
            ZebHih hsx;
            if (!take(message, hsx, "HSX bridge")) {
                return false;
            }
            print("logicalTerminalOverride", hsx.logicalTerminalOverride());
            print("replyToFormat", hsx.replyToFormat());
        } else if (message.formatIs("ZBHWIH  ")) {
            ZebWih work;
            if (!take(message, work, "work")) {
                return false;
            }
            print("serviceName", work.serviceName());
            print("serviceStep", work.serviceStep());
        } else if (message.formatIs("ZBHREF  ")) {
            ZebRfh reference;
            if (!take(message, reference, "reference")) {
                return false;
            }
            print("referenceType", reference.referenceType());
            print("sourceEnvironment", reference.sourceEnvironment());
            print("sourceName", reference.sourceName());
            print("destinationEnvironment", reference.destinationEnvironment());
            print("destinationName", reference.destinationName());
        } else {
            return true;
        }
    }
}

// Loads a saved message and takes it apart. `sent` is what the data should be, null where that is
// not known.
int receive(const char * path, const std::string_view * sent) {
    example::Bytes bytes;
    ZebMsg message;
    if (!example::loadMessage(path, bytes, message)) {
        return 1;
    }
    if (!takeHeaders(message)) {
        return 1;
    }
    std::printf("At %zu data of format %s, %zu bytes\n", message.dataOffset(),
                shown(message.format()).c_str(), message.dataLength());
    example::printHex(message.dataPointer(), message.dataLength());
    return sent == nullptr || example::areAsSent(message, *sent) ? 0 : 1;
}

// A field of a record in characters, without the blanks that fill it up.
template <std::size_t Width> void printCharacters(const char * name, const char (&field)[Width]) {
    ZebStr text;
    text.set(field, Width);
    text.stripTrailing(' ');
    print(name, text);
}

// A trigger message is all trigger. The program that it starts gets it in characters.
int startByTrigger() {
    ZebTrg sent;
    sent.setQueueName("ORDERS.EUROPE");
    sent.setProcessName("PACKING");
    sent.setTriggerData("two parcels");
    sent.setTriggerWord168(12);
    sent.setApplicationId("pack");
    ZebMsg message;
    if (!message.writeItem(sent)) {
        return example::failed("writing the trigger", message);
    }

    message.setDataOffset(0);
    ZebTrg received;
    if (!message.readItem(received)) {
        return example::failed("reading the trigger", message);
    }
    ZBTMC2 record;
    if (!received.copyOut(&record)) {
        return example::failed("putting the trigger into characters", received);
    }
    std::printf("\nA trigger, %zu characters\n", sizeof record);
    printCharacters("structureId", record.structureId);
    printCharacters("version", record.version);
    printCharacters("queueName", record.queueName);
    printCharacters("processName", record.processName);
    printCharacters("triggerData", record.triggerData);
    printCharacters("triggerWord168", record.triggerWord168);
    printCharacters("applicationId", record.applicationId);
    printCharacters("environmentData", record.environmentData);
    printCharacters("userData", record.userData);
    return 0;
}

int run(int count, char ** arguments) {
    if (count == 3 && std::strcmp(arguments[1], "--read") == 0) {
        return receive(arguments[2], nullptr);
    }
    if (count > 2 || (count == 2 && (arguments[1][0] == '\0' || arguments[1][0] == '-'))) {
        std::fprintf(stderr, "usage: chain [FILE]\n       chain --read FILE\n");
        return 1;
    }
    example::Bytes file;
    std::string_view data = sample;
    if (count == 2) {
        if (example::isSameFile(arguments[1], messageFile)) {
            std::fprintf(stderr, "'%s' is where the message goes: give another file, or --read\n",
                         messageFile);
            return 1;
        }
        if (!example::readFile(arguments[1], file)) {
            return 1;
        }
        data = std::string_view(file.data(), file.size());
    }
    if (send(data) != 0 || receive(messageFile, &data) != 0) {
        return 1;
    }
    return startByTrigger();
}

} // namespace

int main(int count, char ** arguments) {
    try {
        return run(count, arguments);
    } catch (const std::exception & problem) { // such as a file that does not fit in memory
        std::fprintf(stderr, "chain: %s\n", problem.what());
        return 1;
    }
}
