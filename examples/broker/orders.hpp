#ifndef EXAMPLES_BROKER_ORDERS_HPP
#define EXAMPLES_BROKER_ORDERS_HPP

#include <zebbase.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

/// What the two sides agree on: the queues, the form of a body, and which messages are sent.
///
/// A body is the message's descriptor with its data behind it, as one run of bytes. The broker
/// carries it whole and looks into nothing.
namespace orders {

inline constexpr const char * queue = "ORDERS.EUROPE";
inline constexpr const char * deadLetterQueue = "ORDERS.DEAD";
inline constexpr const char * queueManager = "HARBOUR";

/// Every so many messages one is damaged, in turn in each of the ways below.
inline constexpr std::uint32_t damageEvery = 50;

inline std::string bodyOf(const ZebMsg & message) {
    std::string body(reinterpret_cast<const char *>(&message.descriptor()), sizeof(ZBMD));
    if (message.messageLength() != 0) {
        body.append(message.bufferPointer(), message.messageLength());
    }
    return body;
}

/// Makes the message what the body holds, with the cursor in front. False for a body too short for
/// a descriptor.
inline bool takeBody(const char * bytes, std::size_t length, ZebMsg & message) {
    ZebCac body;
    char * descriptor = reinterpret_cast<char *>(&message.descriptor());
    message.clearMessage();
    return body.useFullBuffer(bytes, length) && body.read(sizeof(ZBMD), descriptor) &&
           message.write(body.dataLength(), body.dataPointer()) && message.setDataOffset(0);
}

inline std::string textOf(std::uint32_t number) {
    return "order " + std::to_string(number);
}

/// The body of a message with a dead letter header in front of its text; empty if it can't be had.
inline std::string goodBody(std::uint32_t number) {
    ZebMsg message;
    message.setFormat("ORDER");
    const std::string text = textOf(number);
    ZebDlh header;
    header.setDestinationQueueName("ORDERS.OVERSEAS");
    header.setDestinationQueueManagerName(queueManager);
    header.setPutApplicationName("broker_sender");
    if (!message.write(text.size(), text.data()) || !message.writeItem(header)) {
        return {};
    }
    return bodyOf(message);
}

inline bool isDamaged(std::uint32_t number) {
    return number % damageEvery == 0;
}

/// The body that is sent under this number.
inline std::string sentBody(std::uint32_t number) {
    std::string body = goodBody(number);
    if (!isDamaged(number) || body.empty()) {
        return body;
    }
    switch (number / damageEvery % 4) {
    case 0: // cut inside the header
        body.resize(sizeof(ZBMD) + sizeof(ZBDLH) / 2);
        break;
    case 1: // another structure
        body[sizeof(ZBMD)] = 'X';
        break;
    case 2: // an encoding that is not read here
        body[offsetof(ZBMD, encoding)] = 17;
        break;
    default: // cut inside the descriptor
        body.resize(sizeof(ZBMD) / 2);
        break;
    }
    return body;
}

} // namespace orders

#endif
