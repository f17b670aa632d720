#include "ZebCac.hpp"
#include "ZebTrc.hpp"

#include "support/failing_allocation.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <vector>

namespace {

using support::FailAllocations;
using support::Recording;
using support::Texts;

// What is to go wrong: the n-th time that it is asked, and from there on where that is set.
struct Fault {
    std::size_t at = 0;
    bool onward = false;

    bool strikes() {
        const bool strike = at == 1;
        at -= at > 1 || (strike && !onward) ? 1 : 0;
        return strike;
    }
};

// A cache in plain terms, under the names of the real one. The bytes of a new buffer are zero.
struct Model {
    bool automatic = true;
    std::size_t length = 0, message = 0, offset = 0;
    std::string own;
    char * user = nullptr; // the model's side of a user buffer
    std::int32_t completion = 0, reason = 0;
    Texts trace;
    Fault storage, check;

    char * bufferPointer() { return automatic ? own.data() : user; }
    std::size_t bufferLength() const { return length; }

    bool say(const char * text, std::int32_t newReason, std::int32_t newCompletion = 2) {
        trace.push_back(std::string("text ") + text);
        reason = newReason;
        completion = newCompletion;
        return false;
    }
    bool isUsable(bool toRead, std::size_t size) {
        trace.push_back((toRead ? "check 1 " : "check 2 ") + std::to_string(size));
        return !check.strikes() || say(toRead ? "ZebError::checkReadPointer (error): buffer error"
                                              : "ZebError::checkWritePointer (error): buffer error",
                                       2004);
    }
    bool resizeBuffer(std::size_t size) {
        if (!automatic) {
            return say("ZebCache::resizeBuffer (error): user buffer cannot be resized", 6112);
        }
        if (size == length) {
            return true;
        }
        if (size < message) {
            say("ZebCache::resizeBuffer (warning): data truncated", 6115, 1);
        }
        if (size != 0 && (size > PTRDIFF_MAX / 2 || storage.strikes())) {
            return say("ZebCache::resizeBuffer (error): storage not available", 2071);
        }
        message = std::min(message, size);
        offset = std::min(offset, size);
        own.resize(message);
        own.resize(length = size);
        return true;
    }
    bool moreBytes(std::size_t size) {
        const std::size_t target = std::max(size + offset, 2 * length);
        if (size <= length - offset) {
            return true;
        }
        if (!automatic) {
            return say("ZebCache::moreBytes (error): insufficient buffer", 6113);
        }
        return size > target - offset
                   ? say("ZebCache::moreBytes (error): storage not available", 2071)
                   : resizeBuffer(target);
    }
    bool setMessageLength(std::size_t size) {
        if (size > length && !resizeBuffer(size)) {
            return false;
        }
        message = size;
        offset = std::min(offset, size);
        return true;
    }
    bool setDataOffset(std::size_t place) {
        if (place > message && !setMessageLength(place)) {
            return false;
        }
        offset = place;
        return true;
    }
    void clearMessage() { message = offset = 0; }
    bool write(std::size_t size, const char * from) {
        if (!moreBytes(size) || size == 0) {
            return size <= length - offset;
        }
        if (from == nullptr) {
            return say("ZebCache::write (error): null data pointer", 6108);
        }
        if (!isUsable(true, size) || !isUsable(false, size)) {
            return false;
        }
        std::copy_n(from, size, bufferPointer() + offset);
        message = std::max(message, offset += size);
        return true;
    }
    bool read(std::size_t size, char * to) {
        if (size > message - offset) {
            return say("ZebCache::read (error): insufficient data", 6114);
        }
        if (size == 0) {
            return true;
        }
        if (to == nullptr) {
            return say("ZebCache::read (error): null data pointer", 6108);
        }
        if (!isUsable(false, size)) {
            return false;
        }
        std::copy_n(bufferPointer() + offset, size, to);
        offset += size;
        return true;
    }
    bool useEmptyBuffer(char * memory, std::size_t size) {
        if (size != 0 && memory == nullptr) {
            return say("ZebCache::useEmpty/FullBuffer (error): length but no pointer", 6108);
        }
        if (size != 0 && !isUsable(true, size)) {
            return false;
        }
        if (size != 0 || !automatic) {
            automatic = size == 0;
            own.clear();
            user = memory;
            length = size;
        }
        clearMessage();
        return true;
    }
    bool useFullBuffer(char * memory, std::size_t size) {
        return useEmptyBuffer(memory, size) && ((message = size), true);
    }
    void assign(Model & source) {
        if (this == &source) {
            return;
        }
        completion = source.completion;
        reason = source.reason;
        if (length < source.message && automatic) {
            resizeBuffer(source.message);
        }
        if (length < source.message) {
            say("ZebCache::operator = (warning): data truncated", 6115, 1);
        }
        const std::size_t count = std::min(source.message, length);
        std::copy_n(source.bufferPointer(), count, bufferPointer());
        setMessageLength(count);
        setDataOffset(source.offset);
    }
};

// The model's counters are in order, and the cache has them and its codes.
bool agree(const ZebCac & cache, const Model & model) {
    return model.offset <= model.message && model.message <= model.length &&
           cache.dataOffset() == model.offset && cache.messageLength() == model.message &&
           cache.bufferLength() == model.length && cache.automaticBuffer() == model.automatic &&
           cache.dataLength() == model.message - model.offset &&
           cache.completionCode() == model.completion && cache.reasonCode() == model.reason;
}

// The cache gives the buffer out with the model's bytes in it. This sets what nobody has written.
bool showsSameBytes(const ZebCac & cache, Model & model) {
    char * const buffer = cache.bufferPointer();
    return (buffer == nullptr) == (model.length == 0) &&
           cache.dataPointer() == (buffer == nullptr ? nullptr : buffer + model.offset) &&
           std::equal(buffer, buffer + model.length, model.bufferPointer());
}

// What is read comes to `at`, and `user` is for a user buffer.
struct Arguments {
    std::size_t size;
    const char * from;
    char *at, *user;
};

// What can be done to a cache or to its model, first what takes any size in any state.
template <class C> using Action = bool (*)(C &, Arguments &);
template <class C>
constexpr Action<C> actions[] = {
    [](C & c, Arguments & a) { return c.moreBytes(a.size); },
    [](C & c, Arguments & a) { return c.setMessageLength(a.size); },
    [](C & c, Arguments & a) { return c.setDataOffset(a.size); },
    [](C & c, Arguments & a) { return c.read(a.size, a.at); },
    [](C & c, Arguments & a) { return c.write(a.size, a.from); },
    [](C & c, Arguments & a) { return c.resizeBuffer(a.size); },
    [](C & c, Arguments & a) { return c.useEmptyBuffer(a.user, a.size); },
    [](C & c, Arguments & a) { return c.useFullBuffer(a.user, a.size); },
    [](C & c, Arguments & a) { return c.read(a.size, a.at = nullptr); },
    [](C & c, Arguments & a) { return c.write(a.size, nullptr); },
    [](C & c, Arguments & a) { return c.useFullBuffer(nullptr, a.size); },
    [](C & c, Arguments &) { return c.clearMessage(), true; },
    // A receiver fills the buffer through the pointer that it asks for.
    [](C & c, Arguments & a) {
        const std::size_t size = std::min(a.size, c.bufferLength());
        return std::copy_n(a.from, size, c.bufferPointer() + c.bufferLength() - size), true;
    },
};
constexpr std::size_t actionCount = std::size(actions<ZebCac>), sizedActions = 8, clearing = 11;

struct Pair {
    std::unique_ptr<ZebCac> cache = std::make_unique<ZebCac>();
    Model model;
    std::vector<char> memory = std::vector<char>(64, '.'), twin = memory;
};

// Two caches go the model's way through every failure, with its trace.
TEST(CacheWalk, GoesTheModelsWay) {
    std::mt19937 random(20260);
    const auto upTo = [&random](std::size_t n) { return random() % (n + 1); };
    std::vector<char> source(20000), target(10000), twin(10000);
    std::generate(source.begin(), source.end(), [&] { return static_cast<char>(random()); });
    ZebTrc::traceMessage("the thread is set up before the walk begins");
    const std::ptrdiff_t before = support::liveBlocks();
    auto pairs = std::make_unique<Pair[]>(2);
    auto recording = std::make_unique<Recording>();
    for (int round = 0; round != 60000; ++round) {
        const std::size_t which = upTo(1), assigning = upTo(19), action = upTo(actionCount - 1);
        Pair &pair = pairs[which], &other = pairs[upTo(1)];
        Model & model = pair.model;
        const bool storageFails = upTo(7) == 0;
        const std::size_t room = model.length - model.offset;
        const std::size_t edges[] = {
            0, model.length, model.message, room, model.message - model.offset, upTo(3000)};
        const std::size_t far[] = {SIZE_MAX, SIZE_MAX / 2, SIZE_MAX / 2 + 1,
                                   SIZE_MAX - model.offset, SIZE_MAX - model.offset + 1};
        std::size_t size = edges[upTo(5)] + upTo(2);
        size = std::min<std::size_t>(size - std::min(size, upTo(1)), 10000);
        if (action == 6 || action == 7) {
            size = std::min<std::size_t>(size, 64);
        } else if (!storageFails && upTo(15) == 0) {
            size = far[upTo(4)];
        }
        model.storage = {storageFails ? 1 + upTo(1) : 0, upTo(1) == 0};
        model.check = {upTo(9) == 0 ? 1 + upTo(1) : 0};
        model.trace.clear();
        recording->clear();
        recording->refuseCheck(model.check.at);
        FailAllocations guard(model.storage.at, model.storage.onward ? FailAllocations::fromThere
                                                                     : FailAllocations::once);
        if (assigning == 0) {
            *pair.cache = *other.cache;
            guard.stop();
            model.assign(other.model);
        } else if (assigning == 1) {
            const ZebCac copy(*other.cache);
            guard.stop();
            Model copied;
            copied.storage = model.storage;
            copied.assign(other.model);
            ASSERT_TRUE(agree(copy, copied) && showsSameBytes(copy, copied));
            model.trace = copied.trace;
        } else {
            const char * from = source.data() + upTo(10000);
            Arguments real{size, from, target.data(), pair.memory.data()};
            Arguments plain{size, from, twin.data(), pair.twin.data()};
            const bool result = actions<ZebCac>[action](*pair.cache, real);
            guard.stop();
            ASSERT_EQ(result, actions<Model>[action](model, plain)) << action << ' ' << size;
        }
        ASSERT_TRUE(agree(*pair.cache, model)) << assigning << ' ' << action << ' ' << size;
        ASSERT_TRUE(upTo(3) != 0 || showsSameBytes(*pair.cache, model)) << assigning;
        ASSERT_TRUE(pair.memory == pair.twin && target == twin);
        ASSERT_EQ(recording->lines(), model.trace) << action << ' ' << size;
        if (model.length > 10000 || upTo(199) == 0) {
            pair.cache = std::make_unique<ZebCac>();
            model = Model();
        }
    }
    pairs.reset();
    recording.reset();
    EXPECT_EQ(support::liveBlocks(), before);
}

// Every sequence of four actions with sizes up to 4, on either kind of buffer.
TEST(CacheScope, AllShortSequencesGoTheModelsWay) {
#ifdef __SANITIZE_ADDRESS__
    constexpr std::size_t steps = 3; // four take minutes
#else
    constexpr std::size_t steps = 4;
#endif
    constexpr std::size_t sizes = 5, choices = sizedActions * sizes + 1;
    ZebTrc::traceMessage("the thread is set up before");
    for (const bool automatic : {true, false}) {
        std::array<std::size_t, steps> sequence{};
        std::size_t at = 0;
        do {
            ZebCac cache;
            Model model;
            char memory[] = "....", twin[] = "....", target[sizes] = {}, plainTarget[sizes] = {};
            if (!automatic) {
                cache.useEmptyBuffer(memory, 4);
                model.useEmptyBuffer(twin, 4);
            }
            for (const std::size_t choice : sequence) {
                const std::size_t action = choice < choices - 1 ? choice / sizes : clearing;
                Arguments real{choice % sizes, "body", target, memory};
                Arguments plain{choice % sizes, "body", plainTarget, twin};
                ASSERT_EQ(actions<ZebCac>[action](cache, real),
                          actions<Model>[action](model, plain));
                ASSERT_TRUE(agree(cache, model)) << testing::PrintToString(sequence);
            }
            ASSERT_TRUE(showsSameBytes(cache, model)) << testing::PrintToString(sequence);
            ASSERT_TRUE(std::equal(target, std::end(target), plainTarget));
            ASSERT_STREQ(memory, twin);
            for (at = 0; at != steps && ++sequence[at] == choices; ++at) {
                sequence[at] = 0;
            }
        } while (at != steps);
    }
}

}
