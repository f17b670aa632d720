#include "ZebMsg.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <latch>
#include <thread>
#include <vector>

namespace {

constexpr int threads = 8;

// Runs the work on many threads that all begin at once.
void together(const std::function<void(int)> & work) {
    std::latch start(threads);
    std::vector<std::thread> running;
    for (int i = 0; i != threads; ++i) {
        running.emplace_back([&, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
    for (std::thread & thread : running) {
        thread.join();
    }
}

struct Versioned : ZebMsg {
    using ZebMsg::setVersionSupported;
};

TEST(Race, FirstMessagesAndStringsOnAllThreadsHaveTheSameDefaults) {
    std::vector<ZBMD> descriptors(threads);
    together([&](int i) {
        ZebMsg message;
        ZebStr text("first");
        EXPECT_TRUE(message.writeItem(text));
        descriptors[static_cast<std::size_t>(i)] = message.descriptor();
    });
    for (const ZBMD & descriptor : descriptors) {
        EXPECT_EQ(std::memcmp(&descriptor, descriptors.data(), sizeof descriptor), 0);
        EXPECT_EQ(descriptor.descriptorWord360, -1);
    }
}

TEST(Race, CopiesToFieldsStayRightWhileOthersRunSetters) {
    for (int round = 0; round != 20; ++round) {
        ZebStrCleanUp(); // so that all threads meet at the first use of the lock
        together([](int i) {
            ZebMsg message;
            ZebStr text(i % 2 == 0 ? "fits" : "is too long for the field");
            for (int n = 0; n != 200; ++n) {
                if (i < threads / 2) {
                    char field[8];
                    EXPECT_TRUE(text.copyOut(field, sizeof field, ' '));
                    EXPECT_EQ(std::memcmp(field, i % 2 == 0 ? "fits    " : "is too l", 8), 0);
                    // A setter's report may be met here, but never half of one.
                    const bool warned = text.reasonCode() == ZBRC_DATA_TRUNCATED;
                    EXPECT_EQ(text.completionCode(), warned ? ZBCC_WARNING : ZBCC_OK);
                    EXPECT_TRUE(warned || text.reasonCode() == ZBRC_NONE);
                } else {
                    message.setUserId("a user id that is cut");
                    EXPECT_EQ(message.userId().compare("a user id th"), 0);
                    EXPECT_EQ(message.reasonCode(), ZBRC_NONE);
                }
            }
        });
    }
}

TEST(Race, NewMessagesTakeOneOfTheVersionsThatOthersSet) {
    together([](int i) {
        for (int n = 0; n != 500; ++n) {
            if (i < 2) {
                Versioned::setVersionSupported(i + 1);
            } else {
                const std::int32_t version = ZebMsg().descriptor().version;
                EXPECT_TRUE(version == 1 || version == 2) << version;
            }
        }
    });
    Versioned::setVersionSupported(2);
    EXPECT_EQ(ZebMsg().descriptor().version, 2);
}

}
