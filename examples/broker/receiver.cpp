// Receives what broker_sender sends and keeps an account of it.
//
//     broker_receiver PORT COUNT                   until each of the messages has come
//     broker_receiver --dead-letters PORT COUNT    looks through the dead letter queue
//
// A message is acknowledged only after its header was read: until then the broker keeps it, and
// gives it out again if this program or the connection goes away. One that can't be read is put to
// the dead letter queue, with a header in front that says where it was meant to go, and is
// acknowledged when the broker has confirmed it there.

#include "connection.hpp"
#include "orders.hpp"

#include <cstdio>
#include <exception>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr std::uint16_t mostUnacknowledged = 100;
constexpr auto workTime = 2ms; // on each message: the sender is faster, and the queue fills
constexpr auto patience = 60s;
constexpr int quietTurns = 20; // of 100 ms each, before a queue counts as empty

// Which numbers came, and how. A second copy is in order only with a mark on it.
class Account {
public:
    explicit Account(std::uint32_t count) : seen_(std::size_t{count} + 1) {}

    void note(const broker::Delivery & delivery) {
        if (delivery.number == 0 || delivery.number >= seen_.size()) {
            ++unknown_;
        } else if (!seen_[delivery.number]) {
            seen_[delivery.number] = true;
            ++different_;
        } else if (delivery.redelivered || delivery.sentAgain) {
            ++markedCopies_;
        } else {
            ++unmarkedCopies_;
        }
    }
    bool has(std::uint32_t number) const { return seen_[number]; }
    std::uint32_t different() const { return different_; }
    std::uint32_t markedCopies() const { return markedCopies_; }
    std::uint32_t unmarkedCopies() const { return unmarkedCopies_; }
    std::uint32_t unknown() const { return unknown_; }

private:
    std::vector<bool> seen_;
    std::uint32_t different_ = 0;
    std::uint32_t markedCopies_ = 0;
    std::uint32_t unmarkedCopies_ = 0;
    std::uint32_t unknown_ = 0;
};

const char * nameOf(std::int32_t reasonCode) {
    const ZebCodeText * row = zebReasonCode(reasonCode);
    return row != nullptr ? row->name : "unknown";
}

// Puts a body that can't be read, whole, behind a header of its own. Empty if there's no storage.
std::string deadLetterOf(const std::string & body) {
    ZebMsg message;
    if (!orders::takeBody(body.data(), body.size(), message)) {
        // Without a descriptor: all of it is data, and the descriptor a new one.
        message = ZebMsg();
        if (!message.write(body.size(), body.data())) {
            return {};
        }
    }
    ZebDlh header;
    header.setDestinationQueueName(orders::queue);
    header.setDestinationQueueManagerName(orders::queueManager);
    header.setPutApplicationName("broker_receiver");
    return message.writeItem(header) ? orders::bodyOf(message) : std::string();
}

class Receiver {
public:
    Receiver(int port, std::uint32_t count)
        : orders_(port), deadLetters_(port), count_(count), account_(count) {}

    bool run();

private:
    bool handle(const broker::Delivery & delivery);
    bool isReadable(const broker::Delivery & delivery);
    bool putAside(const broker::Delivery & delivery);
    bool result() const;

    broker::Connection orders_;
    broker::Connection deadLetters_;
    std::uint32_t count_;
    Account account_;
    std::uint32_t putAside_ = 0;
    std::uint32_t misjudged_ = 0;
    std::uint32_t opened_ = 0;
};

// Whether the message's header can be read and the right data stand behind it.
bool Receiver::isReadable(const broker::Delivery & delivery) {
    ZebMsg message;
    ZebDlh header;
    if (!orders::takeBody(delivery.body.data(), delivery.body.size(), message) ||
        !message.readItem(header)) {
        return false;
    }
    const std::string_view text(message.dataPointer(), message.dataLength());
    if (text != orders::textOf(delivery.number) || !message.formatIs("ORDER   ")) {
        ++misjudged_;
    }
    return true;
}

bool Receiver::putAside(const broker::Delivery & delivery) {
    // Of a message that comes for the second time a copy may already be there.
    const bool again = delivery.redelivered || delivery.sentAgain;
    const std::string body = deadLetterOf(delivery.body);
    if (body.empty()) {
        std::fprintf(stderr, "no storage for a dead letter\n");
        return false;
    }
    if ((!deadLetters_.isOpen() && !deadLetters_.open(orders::deadLetterQueue, patience)) ||
        !deadLetters_.publish(orders::deadLetterQueue, delivery.number, body, again)) {
        return false;
    }
    std::optional<broker::Confirm> confirm; // one publication, so one confirm
    if (!deadLetters_.nextConfirm(patience, confirm) || !confirm || !confirm->accepted) {
        deadLetters_.close();
        return false;
    }
    ++putAside_;
    return true;
}

// False leaves the message with the broker: it comes again on a new connection.
bool Receiver::handle(const broker::Delivery & delivery) {
    const bool readable = isReadable(delivery);
    std::this_thread::sleep_for(workTime);
    if (readable == orders::isDamaged(delivery.number)) {
        ++misjudged_;
    }
    if (!readable && !putAside(delivery)) {
        return false;
    }
    const std::uint32_t before = account_.different();
    account_.note(delivery);
    if (before < count_ / 3 && account_.different() >= count_ / 3) {
        std::printf("a third of the messages has come\n");
        std::fflush(stdout);
    }
    return orders_.acknowledge(delivery.tag);
}

bool Receiver::run() {
    int quiet = 0;
    while (account_.different() < count_ || quiet < quietTurns) {
        if (!orders_.isOpen()) {
            if (!orders_.open(orders::queue, patience)) {
                std::fprintf(stderr, "no connection to the broker\n");
                return false;
            }
            ++opened_;
            if (!orders_.consume(orders::queue, mostUnacknowledged)) {
                continue;
            }
        }
        std::optional<broker::Delivery> delivery;
        if (!orders_.nextDelivery(100ms, delivery)) {
            continue;
        }
        quiet = delivery ? 0 : quiet + 1;
        if (delivery && !handle(*delivery)) {
            orders_.close();
        }
        if (quiet > 600) {
            break; // a minute without a message: what is still missing is lost
        }
    }
    return result();
}

bool Receiver::result() const {
    std::printf("%u of %u messages came, %u breaks of the connection\n", account_.different(),
                count_, opened_ - 1);
    std::printf("%u came a second time with a mark, %u without one\n", account_.markedCopies(),
                account_.unmarkedCopies());
    std::printf("%u put to %s\n", putAside_, orders::deadLetterQueue);
    if (account_.unknown() + misjudged_ != 0) {
        std::printf("%u with an unknown number, %u with the wrong content\n", account_.unknown(),
                    misjudged_);
    }
    return account_.different() == count_ && account_.unmarkedCopies() == 0 &&
           account_.unknown() == 0 && misjudged_ == 0;
}

// Whether the header says where the message was meant to go, and behind it stands what was sent.
bool isGoodDeadLetter(const broker::Delivery & delivery) {
    ZebMsg message;
    ZebDlh header;
    if (!orders::takeBody(delivery.body.data(), delivery.body.size(), message) ||
        !message.readItem(header)) {
        std::printf("dead letter %u: %s\n", delivery.number, nameOf(message.reasonCode()));
        return false;
    }
    if (std::string_view(header.destinationQueueName().text()) != orders::queue ||
        std::string_view(header.destinationQueueManagerName().text()) != orders::queueManager) {
        std::printf("dead letter %u: meant for another queue\n", delivery.number);
        return false;
    }
    const std::string sent = orders::sentBody(delivery.number);
    std::string rest(message.dataPointer(), message.dataLength());
    if (sent.size() >= sizeof(ZBMD)) {
        // The description is back in the descriptor: the message as it was before.
        rest.insert(0, reinterpret_cast<const char *>(&message.descriptor()), sizeof(ZBMD));
    }
    if (rest != sent) {
        std::printf("dead letter %u: another content\n", delivery.number);
        return false;
    }
    return true;
}

bool lookThroughDeadLetters(int port, std::uint32_t count) {
    broker::Connection connection(port);
    if (!connection.open(orders::deadLetterQueue, patience) ||
        !connection.consume(orders::deadLetterQueue, mostUnacknowledged)) {
        std::fprintf(stderr, "no connection to the broker\n");
        return false;
    }
    Account account(count);
    std::uint32_t wrong = 0;
    for (int quiet = 0; quiet < quietTurns; ++quiet) {
        std::optional<broker::Delivery> delivery;
        if (!connection.nextDelivery(100ms, delivery)) {
            std::fprintf(stderr, "the connection to the broker broke\n");
            return false;
        }
        if (delivery) {
            quiet = -1;
            account.note(*delivery);
            if (!isGoodDeadLetter(*delivery)) {
                ++wrong;
            }
            if (!connection.acknowledge(delivery->tag)) {
                return false;
            }
        }
    }
    std::uint32_t missing = 0;
    for (std::uint32_t number = orders::damageEvery; number <= count;
         number += orders::damageEvery) {
        missing += account.has(number) ? 0 : 1;
    }
    std::printf("%u dead letters, meant for %s: %u missing, %u wrong, %u twice without a mark\n",
                account.different(), orders::queue, missing, wrong, account.unmarkedCopies());
    return account.different() == count / orders::damageEvery && missing + wrong == 0 &&
           account.unmarkedCopies() + account.unknown() == 0;
}

int run(int count, char ** arguments) {
    const bool dead = count == 4 && std::string_view(arguments[1]) == "--dead-letters";
    const int first = dead ? 2 : 1;
    const std::uint32_t port = count == first + 2 ? broker::numberOf(arguments[first], 65535) : 0;
    const std::uint32_t messages =
        count == first + 2 ? broker::numberOf(arguments[first + 1], 999999) : 0;
    if (port == 0 || messages == 0) {
        std::fprintf(stderr, "usage: broker_receiver [--dead-letters] PORT COUNT\n");
        return 2;
    }
    if (dead) {
        return lookThroughDeadLetters(static_cast<int>(port), messages) ? 0 : 1;
    }
    Receiver receiver(static_cast<int>(port), messages);
    return receiver.run() ? 0 : 1;
}

} // namespace

int main(int count, char ** arguments) {
    try {
        return run(count, arguments);
    } catch (const std::exception & problem) {
        std::fprintf(stderr, "broker_receiver: %s\n", problem.what());
        return 1;
    }
}
