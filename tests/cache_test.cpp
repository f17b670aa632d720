#include "ZebCac.hpp"
#include "ZebTrc.hpp"

#include "support/failing_allocation.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <sstream>

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
    bool automatic = true, traces = true;
    std::size_t length = 0, message = 0, offset = 0;
    std::string own;
    char * user = nullptr; // the model's side of a user buffer
    std::int32_t completion = 0, reason = 0;
    Texts trace;
    Fault storage, check;

    char * bytes() { return automatic ? own.data() : user; }

    bool say(const char * text, std::int32_t newReason, std::int32_t newCompletion = 2) {
        if (traces) {
            trace.push_back(std::string("text ") + text);
        }
        reason = newReason;
        completion = newCompletion;
        return false;
    }
    bool isUsable(bool toRead, std::size_t size) {
        if (traces) {
            trace.push_back((toRead ? "check 1 " : "check 2 ") + std::to_string(size));
        }
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
        std::copy_n(from, size, bytes() + offset);
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
        std::copy_n(bytes() + offset, size, to);
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
        std::copy_n(source.bytes(), count, bytes());
        setMessageLength(count);
        setDataOffset(source.offset);
    }
};

// The model's counters are in order, and the cache has them, its codes and its data.
bool agree(const ZebCac & cache, Model & model) {
    return model.offset <= model.message && model.message <= model.length &&
           cache.dataOffset() == model.offset && cache.messageLength() == model.message &&
           cache.bufferLength() == model.length && cache.automaticBuffer() == model.automatic &&
           (cache.bufferPointer() == nullptr) == (model.length == 0) &&
           cache.dataLength() == model.message - model.offset &&
           cache.dataPointer() ==
               (model.length == 0 ? nullptr : cache.bufferPointer() + model.offset) &&
           cache.completionCode() == model.completion && cache.reasonCode() == model.reason &&
           std::equal(model.bytes(), model.bytes() + model.message, cache.bufferPointer());
}

// What can be done to a cache or to its model: `at` is for what is read, `user` for a user buffer.
template <class Cache> struct Kind {
    const char * name;
    bool (*act)(Cache &, std::size_t size, const char * from, char * at, char * user);
};

char * nothing = nullptr;

template <class C>
constexpr Kind<C> kinds[] = {
    {"more", [](C & c, std::size_t n, auto *, auto *, auto *) { return c.moreBytes(n); }},
    {"message", [](C & c, std::size_t n, auto *, auto *, auto *) { return c.setMessageLength(n); }},
    {"offset", [](C & c, std::size_t n, auto *, auto *, auto *) { return c.setDataOffset(n); }},
    {"read", [](C & c, std::size_t n, auto *, auto * at, auto *) { return c.read(n, at); }},
    {"write", [](C & c, std::size_t n, auto * from, auto *, auto *) { return c.write(n, from); }},
    {"empty",
     [](C & c, std::size_t n, auto *, auto *, auto * u) { return c.useEmptyBuffer(u, n); }},
    {"full", [](C & c, std::size_t n, auto *, auto *, auto * u) { return c.useFullBuffer(u, n); }},
    {"resize", [](C & c, std::size_t n, auto *, auto *, auto *) { return c.resizeBuffer(n); }},
    {"clear", [](C & c, auto...) { return c.clearMessage(), true; }},
    {"nullRead", [](C & c, std::size_t n, auto...) { return c.read(n, nothing); }},
    {"nullWrite", [](C & c, std::size_t n, auto...) { return c.write(n, nullptr); }},
    {"noPointer", [](C & c, std::size_t n, auto...) { return c.useFullBuffer(nullptr, n); }},
};
constexpr std::size_t kindCount = std::size(kinds<ZebCac>), sizedKinds = 8;

struct Step {
    std::size_t kind, size;

    std::string line() const { return kinds<Model>[kind].name + (' ' + std::to_string(size)); }
};

template <class C>
bool act(C & cache, const Step & step, const char * from, char * at, char * user) {
    return kinds<C>[step.kind].act(cache, step.size, from, at, user);
}

// Every sequence of four steps with sizes from 0 to 4, begun with a new cache or a full user
// buffer.
struct Sequences {
    static constexpr std::size_t depth = 4;
    std::size_t start;
    std::vector<Step> steps = {{8, 0}, {9, 2}, {10, 2}, {11, 2}};
    Step path[depth] = {};
    std::size_t tried = 0;
    std::set<std::string> seen[depth];

    explicit Sequences(std::size_t full) : start(full) {
        for (std::size_t i = 0; i != sizedKinds * 5; ++i) {
            steps.push_back({i / 5, i % 5});
        }
    }
    static std::string state(const Step & step, const Model & model) {
        std::ostringstream line;
        line << step.kind << ' ' << model.reason << ' ' << model.automatic << model.length
             << model.message << model.offset << model.own;
        return line.str();
    }
    // Tries all that can follow the first `done` steps, which left model and memory so.
    bool tryFrom(std::size_t done, const Model & before, const std::string & memoryBefore) {
        constexpr const char * from[] = {"abcd", "efgh", "ijkl", "mnop"};
        for (const Step & step : steps) {
            path[done] = step;
            char memory[] = "....", target[] = "....", twin[] = "....";
            ZebCac cache;
            cache.useFullBuffer(memory, start);
            for (std::size_t i = 0; i != done; ++i) {
                act(cache, path[i], from[i], target, memory);
            }
            Model model = before;
            std::string twinMemory = memoryBefore;
            model.user = model.user != nullptr ? twinMemory.data() : nullptr;
            std::copy_n(target, 4, twin);
            ++tried;
            if (act(cache, step, from[done], target, memory) !=
                    act(model, step, from[done], twin, twinMemory.data()) ||
                !agree(cache, model) || twinMemory != memory || std::string(twin) != target) {
                return false;
            }
            // What the same kind of step left in the same state is not gone through again.
            if (done + 1 != depth && seen[done].insert(state(step, model) + twinMemory).second &&
                !tryFrom(done + 1, model, twinMemory)) {
                return false;
            }
        }
        return true;
    }
};

TEST(CacheScope, EverySequenceOfFourStepsGoesTheModelsWay) {
    for (const std::size_t start : {0U, 3U}) {
        Sequences sequences(start);
        std::string memory = "....";
        Model model;
        model.traces = false;
        model.useFullBuffer(memory.data(), start);
        std::string path;
        if (!sequences.tryFrom(0, model, memory)) {
            for (const Step & step : sequences.path) {
                path += ' ' + step.line();
            }
        }
        EXPECT_EQ(path, "") << "from " << start;
        EXPECT_GT(sequences.tried, 44 * 44 * 44);
    }
}

TEST(CacheWalk, TwoCachesGoTheModelsWayThroughEveryFailureWithItsTrace) {
    struct Pair {
        std::unique_ptr<ZebCac> cache = std::make_unique<ZebCac>();
        Model model;
        std::vector<char> memory = std::vector<char>(64, '.'), twin = memory;
    };
    std::mt19937 random(20260);
    const auto upTo = [&random](std::size_t n) { return random() % (n + 1); };
    std::vector<char> source(20000), target(10000), twin(10000);
    std::generate(source.begin(), source.end(), [&] { return static_cast<char>(random()); });
    ZebTrc::traceMessage("the thread is set up before the walk begins");
    const std::ptrdiff_t before = support::liveBlocks();
    auto pairs = std::make_unique<Pair[]>(2);
    Recording recording;
    for (int round = 0; round != 60000; ++round) {
        const std::size_t which = upTo(1), assigning = upTo(19);
        Pair &pair = pairs[which], &other = pairs[upTo(1)];
        const ZebCac & cache = *pair.cache;
        const bool storageFails = upTo(7) == 0;
        const std::size_t room = cache.bufferLength() - cache.dataOffset();
        const std::size_t edges[] = {0,    cache.bufferLength(), cache.messageLength(),
                                     room, cache.dataLength(),   upTo(3000)};
        const std::size_t far[] = {SIZE_MAX, SIZE_MAX / 2, SIZE_MAX / 2 + 1,
                                   SIZE_MAX - cache.dataOffset(),
                                   SIZE_MAX - cache.dataOffset() + 1};
        Step step{upTo(kindCount - 1), edges[upTo(5)] + upTo(2)};
        step.size = std::min<std::size_t>(step.size - std::min(step.size, upTo(1)), 10000);
        if (step.kind == 5 || step.kind == 6) {
            step.size = std::min<std::size_t>(step.size, 64);
        } else if (!storageFails && upTo(15) == 0) {
            step.size = far[upTo(4)];
        }
        pair.model.storage = {storageFails ? 1 + upTo(1) : 0, upTo(1) == 0};
        pair.model.check = {upTo(9) == 0 ? 1 + upTo(1) : 0};
        pair.model.trace.clear();
        recording.clear();
        recording.refuseCheck(pair.model.check.at);
        FailAllocations guard(pair.model.storage.at, pair.model.storage.onward
                                                         ? FailAllocations::fromThere
                                                         : FailAllocations::once);
        if (assigning == 0) {
            *pair.cache = *other.cache;
            guard.stop();
            pair.model.assign(other.model);
        } else if (assigning == 1) {
            const ZebCac copy(*other.cache);
            guard.stop();
            Model model;
            model.storage = pair.model.storage;
            model.assign(other.model);
            ASSERT_TRUE(agree(copy, model));
            pair.model.trace = model.trace;
        } else {
            const char * from = source.data() + upTo(10000);
            const bool result = act(*pair.cache, step, from, target.data(), pair.memory.data());
            guard.stop();
            ASSERT_EQ(result, act(pair.model, step, from, twin.data(), pair.twin.data()))
                << step.line();
        }
        ASSERT_TRUE(agree(cache, pair.model)) << assigning << ' ' << step.line();
        ASSERT_TRUE(pair.memory == pair.twin && target == twin);
        ASSERT_EQ(recording.lines(), pair.model.trace);
        if (cache.bufferLength() > 10000 || upTo(199) == 0) {
            pair.cache = std::make_unique<ZebCac>();
            pair.model = Model();
        }
    }
    pairs.reset();
    EXPECT_EQ(support::liveBlocks(), before);
}

// A receiver fills a buffer through the pointers that it asks for: only storage which nobody could
// have written shows as zero bytes.
TEST(CacheBytes, ShowWhatStandsInTheBufferAndZeroWhereNothingDid) {
    const auto read = [](ZebCac & cache) {
        std::string bytes(cache.messageLength(), '?');
        char * target = bytes.data();
        EXPECT_TRUE(cache.setDataOffset(0) && cache.read(bytes.size(), target));
        return bytes;
    };
    ZebCac filled;
    filled.resizeBuffer(10);
    std::copy_n("0123456789", 10, filled.bufferPointer());
    filled.setMessageLength(6);
    filled.setMessageLength(2);
    filled.setDataOffset(8);
    EXPECT_EQ(read(filled), "01234567");
    filled.moreBytes(5);
    std::copy_n("WORLD", 5, filled.dataPointer());
    filled.setDataOffset(13);
    EXPECT_EQ(read(filled), "01234567WORLD");

    // The block comes back from the allocator with what its former owner left there.
    {
        ZebCac former;
        former.resizeBuffer(64);
        std::fill_n(former.bufferPointer(), 64, '#');
    }
    ZebCac raw;
    raw.resizeBuffer(64);
    raw.write(2, "ab");
    raw.setMessageLength(64);
    EXPECT_EQ(read(raw), "ab" + std::string(62, '\0'));
}

}
