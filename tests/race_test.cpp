#include "support/checks.hpp"
#include "zebbase.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <latch>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t threads = 8;

// Runs the work on many threads that all begin at once.
void together(const std::function<void(std::size_t)> & work) {
    std::latch start(threads);
    std::vector<std::jthread> running;
    for (std::size_t i = 0; i != threads; ++i) {
        running.emplace_back([&, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
}

struct Versioned : ZebMsg {
    using ZebMsg::setVersionSupported;
};

TEST(Race, FirstObjectsHaveTheSameDefaultsAndAnyOfTheVersionsBeingSet) {
    std::vector<ZBMD> descriptors(threads);
    together([&](std::size_t i) {
        for (int n = 0; n != 500; ++n) {
            Versioned::setVersionSupported(i % 2 == 0 ? 1 : 2);
            ZebMsg message;
            ZebStr text("first");
            EXPECT_TRUE(message.writeItem(text));
            const ZebGmo options;
            const ZebGmo3 options3;
            EXPECT_EQ(options.record().version + options3.record().version, 5);
            std::int32_t & version = (descriptors[i] = message.descriptor()).version;
            EXPECT_TRUE(version == 1 || version == 2) << version;
            version = 2;
        }
    });
    for (const ZBMD & descriptor : descriptors) {
        EXPECT_EQ(descriptor.descriptorWord360, -1);
        EXPECT_EQ(std::memcmp(&descriptor, &descriptors[0], sizeof descriptor), 0);
    }
}

TEST(Race, CopiesToFieldsStayRightWhileOthersRunSetters) {
    for (int round = 0; round != 20; ++round) {
        ZebStrCleanUp(); // so that all threads meet at the first use of the lock
        together([](std::size_t i) {
            const bool fits = i % 2 == 0;
            ZebMsg message;
            ZebStr text(fits ? "fits" : "is too long for the field");
            for (int n = 0; n != 200; ++n) {
                char field[8];
                EXPECT_TRUE(text.copyOut(field, sizeof field, ' '));
                EXPECT_EQ(std::memcmp(field, fits ? "fits    " : "is too l", 8), 0);
                // A setter's report may be met here, but never half of one.
                const std::string told = support::codes(text);
                EXPECT_TRUE(told == "0:0" || told == "1:6115") << told;
                message.setUserId("a user id that is cut");
                EXPECT_EQ(message.userId().compare("a user id th"), 0);
                EXPECT_EQ(message.reasonCode(), ZBRC_NONE);
            }
        });
    }
}

}
