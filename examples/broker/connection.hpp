#ifndef EXAMPLES_BROKER_CONNECTION_HPP
#define EXAMPLES_BROKER_CONNECTION_HPP

#include <amqp.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace broker {

/// What the broker says about one published message, or about all up to it.
struct Confirm {
    std::uint64_t tag;
    bool multiple;
    bool accepted;
};

/// A message out of a queue.
struct Delivery {
    std::uint64_t tag;
    std::uint32_t number;
    bool redelivered; ///< The broker's mark: it may have been delivered before.
    bool sentAgain;   ///< The sender's mark: it may stand in the queue twice.
    std::string body;
};

/// One connection to a broker on this machine, with one channel, in confirm mode.
///
/// Every operation but open() tells with false that the connection is no longer of use; it is
/// closed then, and whoever owns it opens it again.
class Connection {
public:
    explicit Connection(int port) : port_(port) {}
    ~Connection() { close(); }
    Connection(const Connection &) = delete;
    Connection & operator=(const Connection &) = delete;

    bool isOpen() const { return state_ != nullptr; }
    /// Tries until the broker answers, and declares the queue as a durable one.
    bool open(const char * queue, std::chrono::seconds patience);
    void close();

    /// The broker confirms with the number of this publication on the connection, counted from 1.
    bool publish(const char * queue, std::uint32_t number, const std::string & body, bool again);
    /// Waits for a confirm; none is there if the time has run out.
    bool nextConfirm(std::chrono::milliseconds patience, std::optional<Confirm> & confirm);

    /// From here on the queue's messages come to this connection, at most `unacknowledged` at a
    /// time.
    bool consume(const char * queue, std::uint16_t unacknowledged);
    /// Waits for a message; none is there if the time has run out.
    bool nextDelivery(std::chrono::milliseconds patience, std::optional<Delivery> & delivery);
    bool acknowledge(std::uint64_t tag);

private:
    bool tryOpen(const char * queue);
    bool keep(bool good);

    int port_;
    amqp_connection_state_t state_ = nullptr;
};

/// A whole number from 1 to `most` in decimal digits; 0 if the text is anything else.
std::uint32_t numberOf(const std::string & text, std::uint32_t most);

} // namespace broker

#endif
