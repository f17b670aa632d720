#include "fuzz/cache_model.hpp"
#include "support/faulty_steps.hpp"

#include <array>

namespace {

// Two caches go the model's way through every failure, with its trace.
TEST(CacheWalk, GoesTheModelsWay) {
    support::walkUnderFaults(400, 500);
}

// Every sequence of four actions with sizes up to 4, on either kind of buffer.
TEST(CacheScope, AllShortSequencesGoTheModelsWay) {
#ifdef __SANITIZE_ADDRESS__
    constexpr std::size_t steps = 3; // the fourth takes 41 times as long
#else
    constexpr std::size_t steps = 4;
#endif
    constexpr std::size_t sizes = 5, choices = clearing * sizes + 1;
    ZebTrc::traceMessage("the thread is set up before");
    for (const bool automatic : {true, false}) {
        std::array<std::size_t, steps> sequence{};
        std::size_t at = 0;
        do {
            ZebCac cache;
            CacheModel model;
            char memory[] = "....", twin[] = "....", target[sizes] = {}, plainTarget[sizes] = {};
            if (!automatic) {
                cache.useEmptyBuffer(memory, 4);
                model.useEmptyBuffer(twin, 4);
            }
            for (const std::size_t choice : sequence) {
                const std::size_t action = choice / sizes, length = choice % sizes;
                CacheArguments real{length, "body", target, memory};
                CacheArguments plain{length, "body", plainTarget, twin};
                ASSERT_EQ(cacheActions<ZebCac>[action](cache, real),
                          cacheActions<CacheModel>[action](model, plain));
                ASSERT_TRUE(model.agreesWith(cache)) << testing::PrintToString(sequence);
            }
            ASSERT_TRUE(model.showsBytesOf(cache)) << testing::PrintToString(sequence);
            ASSERT_TRUE(std::equal(target, std::end(target), plainTarget));
            ASSERT_STREQ(memory, twin);
            step.lines.clear();
            for (at = 0; at != steps && ++sequence[at] == choices; ++at) {
                sequence[at] = 0;
            }
        } while (at != steps);
    }
}

TEST(CacheCases, BytesOfItsOwnAreWrittenAlsoWhereTheBufferGrows) {
    ZebCac cache;
    EXPECT_TRUE(cache.write(5, "abcde") && cache.resizeBuffer(7));
    EXPECT_TRUE(cache.write(6, cache.bufferPointer() + 1)); // of which two nobody has written
    EXPECT_EQ(std::string(cache.bufferPointer(), cache.messageLength()),
              std::string("abcdebcde\0\0", 11));
    EXPECT_EQ(cache.bufferLength(), 14U);
}

}
