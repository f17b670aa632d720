// Sends numbered messages, some of them damaged, and is done when the broker has confirmed each.
//
//     broker_sender [--hold N] PORT COUNT
//
// A message counts as sent when the broker confirms it, for only then it lies on disk. What is not
// yet confirmed when the connection breaks may be in the queue or not: it is sent again, with a
// mark, so that the receiver knows that it may come twice.
//
// With --hold the message N and those behind it wait until the connection has broken once.

#include "connection.hpp"
#include "orders.hpp"

#include <cstdio>
#include <deque>
#include <exception>
#include <map>
#include <string_view>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr std::size_t mostUnconfirmed = 200;
constexpr std::uint64_t burst = 20; // published in one go, with a pause behind it

struct Outgoing {
    std::uint32_t number;
    bool again;
};

class Sender {
public:
    Sender(int port, std::uint32_t count, std::uint32_t hold)
        : connection_(port), count_(count), hold_(hold) {}

    bool run();
    void print() const {
        std::printf("%u messages confirmed, %u sent again, %u breaks of the connection\n", count_,
                    again_, breaks_);
    }

private:
    bool reopen();
    bool sendNext();
    bool takeConfirms();
    void settle(std::map<std::uint64_t, Outgoing>::iterator message, bool accepted);
    bool hasNext() const {
        return !waiting_.empty() || (next_ <= count_ && (next_ < hold_ || breaks_ != 0));
    }

    broker::Connection connection_;
    std::uint32_t count_;
    std::uint32_t hold_;
    std::uint32_t next_ = 1;
    std::deque<Outgoing> waiting_;                  // to be sent again, before anything new
    std::map<std::uint64_t, Outgoing> unconfirmed_; // by the number that the broker confirms with
    std::uint64_t published_ = 0;                   // on this connection
    std::uint32_t again_ = 0;
    std::uint32_t breaks_ = 0;
    bool wasOpen_ = false;
};

bool Sender::reopen() {
    if (wasOpen_) {
        ++breaks_;
    }
    while (!unconfirmed_.empty()) {
        const auto last = std::prev(unconfirmed_.end());
        waiting_.push_front({last->second.number, true});
        unconfirmed_.erase(last);
    }
    published_ = 0;
    wasOpen_ = connection_.open(orders::queue, 60s);
    return wasOpen_;
}

bool Sender::sendNext() {
    Outgoing message{next_, false};
    if (waiting_.empty()) {
        ++next_;
    } else {
        message = waiting_.front();
        waiting_.pop_front();
        ++again_;
    }
    // Noted first: where publishing fails half-way nobody knows whether it has arrived.
    unconfirmed_.emplace(++published_, message);
    return connection_.publish(orders::queue, message.number, orders::sentBody(message.number),
                               message.again);
}

void Sender::settle(std::map<std::uint64_t, Outgoing>::iterator message, bool accepted) {
    if (!accepted) {
        waiting_.push_back({message->second.number, true});
    }
    unconfirmed_.erase(message);
}

bool Sender::takeConfirms() {
    for (;;) {
        const bool mayGoOn = hasNext() && unconfirmed_.size() < mostUnconfirmed;
        std::optional<broker::Confirm> confirm;
        if (!connection_.nextConfirm(mayGoOn ? 0ms : 100ms, confirm)) {
            return false;
        }
        if (!confirm) {
            return true;
        }
        if (confirm->multiple) {
            while (!unconfirmed_.empty() && unconfirmed_.begin()->first <= confirm->tag) {
                settle(unconfirmed_.begin(), confirm->accepted);
            }
        } else if (const auto message = unconfirmed_.find(confirm->tag);
                   message != unconfirmed_.end()) {
            settle(message, confirm->accepted);
        }
    }
}

bool Sender::run() {
    while (next_ <= count_ || !waiting_.empty() || !unconfirmed_.empty()) {
        if (!connection_.isOpen() && !reopen()) {
            std::fprintf(stderr, "no connection to the broker\n");
            return false;
        }
        if (hasNext() && unconfirmed_.size() < mostUnconfirmed) {
            if (!sendNext()) {
                continue;
            }
            if (published_ % burst == 0) {
                std::this_thread::sleep_for(20ms);
            }
        }
        takeConfirms(); // a break shows in the connection
    }
    return true;
}

int run(int count, char ** arguments) {
    std::uint32_t hold = UINT32_MAX;
    if (count > 2 && std::string_view(arguments[1]) == "--hold") {
        hold = broker::numberOf(arguments[2], UINT32_MAX);
        count -= 2;
        arguments += 2;
    }
    const std::uint32_t port = count == 3 ? broker::numberOf(arguments[1], 65535) : 0;
    const std::uint32_t messages = count == 3 ? broker::numberOf(arguments[2], 999999) : 0;
    if (port == 0 || messages == 0 || hold == 0) {
        std::fprintf(stderr, "usage: broker_sender [--hold N] PORT COUNT\n");
        return 2;
    }
    Sender sender(static_cast<int>(port), messages, hold);
    if (!sender.run()) {
        return 1;
    }
    sender.print();
    return 0;
}

} // namespace

int main(int count, char ** arguments) {
    try {
        return run(count, arguments);
    } catch (const std::exception & problem) {
        std::fprintf(stderr, "broker_sender: %s\n", problem.what());
        return 1;
    }
}
