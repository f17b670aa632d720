// counts NAME TIMES: does one piece of work that many times, and nothing else that counts. The
// difference between two runs is what the work takes. `counts` alone lists the names.
#include "ZebMsg.hpp"
#include "work.hpp"
#include "zbcommon.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using bench::names;

constexpr std::uint16_t modeRead = 1;
constexpr std::uint16_t modeWrite = 2;

// A message with room, whose data are the body of the next wrap.
struct Letter {
    explicit Letter(std::size_t bodyLength) : length(bodyLength) {
        message.resizeBuffer(2 * sizeof(ZBDLH) + length);
        const std::string body = bench::makeBody(length);
        message.write(length, body.data());
        message.setFormat(names.format.data);
    }

    bool wrap() {
        bench::setNames(header);
        return message.setMessageLength(length) && message.writeItem(header);
    }

    bool unwrap() {
        if (!message.setDataOffset(0) || !message.readItem(header)) {
            return false;
        }
        const ZebStr texts[] = {header.destinationQueueName(),
                                header.destinationQueueManagerName(),
                                header.putApplicationName(),
                                header.putDate(),
                                header.putTime(),
                                header.format()};
        for (const ZebStr & text : texts) {
            if (text.text() == nullptr) {
                return false;
            }
        }
        return true;
    }

    ZebMsg message;
    ZebDlh header;
    std::size_t length;
};

template <std::size_t Length> bool wrap(long times) {
    Letter letter(Length);
    bool good = true;
    while (good && times-- != 0) {
        good = letter.wrap();
    }
    return good;
}

template <std::size_t Length> bool unwrap(long times) {
    Letter letter(Length);
    bool good = letter.wrap();
    while (good && times-- != 0) {
        good = letter.unwrap();
    }
    return good;
}

template <std::size_t Length> bool roundTrip(long times) {
    Letter letter(Length);
    bool good = true;
    while (good && times-- != 0) {
        good = letter.wrap() && letter.unwrap();
    }
    return good;
}

template <std::size_t Length> bool wrapAndGrow(long times) {
    Letter letter(Length);
    bool good = true;
    while (good && times-- != 0) {
        good = letter.message.setMessageLength(Length) && letter.message.resizeBuffer(Length) &&
               letter.wrap();
    }
    return good;
}

bool writeField(long times) {
    ZebDlh header;
    while (times-- != 0) {
        header.setDestinationQueueName(names.destinationQueueName.data);
    }
    return true;
}

bool readField(long times) {
    ZebDlh header;
    header.setDestinationQueueName(names.destinationQueueName.data);
    bool good = true;
    while (good && times-- != 0) {
        good = header.destinationQueueName().text() != nullptr;
    }
    return good;
}

bool append(long times) {
    const std::string piece = bench::makeBody(bench::appendedLength);
    ZebCac cache;
    bool good = cache.resizeBuffer(bench::appendedLength * static_cast<std::size_t>(times));
    while (good && times-- != 0) {
        good = cache.write(piece.size(), piece.data());
    }
    return good;
}

template <std::uint16_t Mode> bool check(long times) {
    char range[64] = {};
    bool good = true;
    while (good && times-- != 0) {
        good = svcCheckPointer(range, sizeof range, Mode) == 0;
    }
    return good;
}

struct Work {
    const char * name;
    bool (*work)(long times);
};

constexpr Work works[] = {
    {"wrap/0", wrap<0>},
    {"wrap/1000", wrap<1000>},
    {"wrap/10000", wrap<10000>},
    {"wrap_and_grow/0", wrapAndGrow<0>},
    {"wrap_and_grow/1000", wrapAndGrow<1000>},
    {"unwrap/0", unwrap<0>},
    {"unwrap/1000", unwrap<1000>},
    {"round_trip/1000", roundTrip<1000>},
    {"field_write", writeField},
    {"field_read", readField},
    {"append", append},
    {"check_read", check<modeRead>},
    {"check_write", check<modeWrite>},
};

} // namespace

int main(int argc, char ** argv) {
    if (argc == 1) {
        for (const Work & work : works) {
            std::puts(work.name);
        }
        return 0;
    }
    if (argc == 3) {
        for (const Work & work : works) {
            if (std::string_view(argv[1]) == work.name) {
                return work.work(std::strtol(argv[2], nullptr, 10)) ? 0 : 1;
            }
        }
    }
    std::fputs("usage: counts [NAME TIMES]\n", stderr);
    return 2;
}
