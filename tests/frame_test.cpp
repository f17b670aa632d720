#include "ZebChl.hpp"
#include "ZebItm.hpp"
#include "ZebMsg.hpp"
#include "ZebSem.hpp"
#include "ZebTrc.hpp"

#include "frame/library.hpp"
#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace {

using support::codes;
using support::Recording;
using support::Texts;

TEST(FrameTrace, EachOperationSetsANewThreadUpOnceAndPassesItsArgumentsOn) {
    static const char area[3] = {};
    const std::pair<std::function<bool()>, const char *> cases[] = {
        {[] { return ZebTrc::traceMessage("one text\n"), true; }, "text one text\n"},
        {[] { return ZebTrc::checkReadPointer(area, 3); }, "check 1 3"},
        {[] { return ZebTrc::checkWritePointer(area, 3); }, "check 2 3"},
    };
    for (const auto & each : cases) {
        std::thread([&each] {
            const auto & [act, line] = each;
            Recording recording;
            EXPECT_TRUE(act());
            EXPECT_TRUE(act());
            EXPECT_EQ(recording.lines(), (Texts{"set-up 48 1031 area", line, line}));
            if (line[0] == 'c') {
                EXPECT_EQ(recording.pointers()[1], area);
                recording.refuseCheck(1);
                EXPECT_FALSE(act());
            }
            // The slot decides each time: nothing remembers that the thread was set up before.
            support::forgetThread();
            recording.clear();
            recording.refuseSetUp(true);
            act();
            act();
            EXPECT_EQ(recording.lines(),
                      (Texts{"set-up 48 1031 area", line, "set-up 48 1031 area", line}));
        }).join();
    }
    Recording recording;
    ZebTrc::traceEntry(31, 1);
    ZebTrc::traceExit(31, 1, 0);
    EXPECT_EQ(recording.lines(), Texts{});
}

TEST(FrameSemaphore, TheStringLockIsMadeAtItsFirstUseTracedAndReleasedAtUnload) {
    ZebStrCleanUp();
    char field[2];
    std::thread([&field] {
        ZebStr text("ab");
        Recording recording;
        const std::ptrdiff_t before = support::liveBlocks();
        EXPECT_TRUE(text.copyOut(field, 2, ' '));
        EXPECT_EQ(support::liveBlocks(), before + 1);
        EXPECT_EQ(recording.lines(), (Texts{"set-up 0 9 null", "entry 31 57", "exit 31 57 1",
                                            "check 2 2", "entry 31 58", "exit 31 58 1"}));
        const void * const context = support::threadContext();
        EXPECT_EQ(recording.pointers(),
                  (std::vector<const void *>{nullptr, context, context, field, context, context}));
        EXPECT_TRUE(text.copyOut(field, 2, ' '));
        EXPECT_EQ(support::liveBlocks(), before + 1);
        recording.clear();
        for (const unsigned reason : {1U, 2U, 3U, 0U, 0U}) {
            EXPECT_EQ(DllMain(nullptr, reason, nullptr), 1);
            EXPECT_EQ(recording.lines(),
                      reason != 0 ? Texts{} : Texts{"text Releasing ZebString resources"});
            EXPECT_EQ(support::liveBlocks(), reason != 0 ? before + 1 : before);
        }
        // With the library's own lock gone the string lock still works.
        EXPECT_TRUE(text.copyOut(field, 2, ' '));
        ZebStrCleanUp();
        EXPECT_EQ(support::liveBlocks(), before);
    }).join();
}

TEST(FrameSemaphore, ALockTakenTwiceIsFreeAfterTwoUnlocksOfItsThread) {
    ZebSem semaphore;
    EXPECT_TRUE(semaphore.lock() && semaphore.lock());
    const auto other = std::async(std::launch::async, [&] {
        semaphore.unlock(); // of no effect on what others hold
        EXPECT_TRUE(semaphore.lock() && semaphore.unlock());
    });
    EXPECT_TRUE(semaphore.unlock());
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_TRUE(semaphore.unlock());
}

// An item whose outcome the test decides.
struct Item : ZebItm {
    bool outcome = true;
    bool copyOut(ZebMsg &) override { return outcome; }
    bool pasteIn(ZebMsg &) override { return outcome; }
    using ZebErr::checkReadPointer;
    using ZebErr::checkWritePointer;
};

TEST(FrameErrors, ARefusedCheckIsReportedAndTheMessageOfAnItemTakesItsCodesOver) {
    Recording recording;
    Item item;
    char byte = 0;
    recording.refuseAddress(&byte);
    EXPECT_FALSE(item.checkReadPointer(&byte, 1));
    EXPECT_EQ(codes(item), "2:2004");
    item.clearErrorCodes();
    EXPECT_FALSE(item.checkWritePointer(&byte, 1));
    EXPECT_EQ(recording.texts(), (Texts{"ZebError::checkReadPointer (error): buffer error",
                                        "ZebError::checkWritePointer (error): buffer error"}));
    recording.refuseAddress(nullptr);
    EXPECT_TRUE(item.checkReadPointer(&byte, 1) && item.checkWritePointer(&byte, 1));
    for (const std::string expected : {"2:2004", "0:0"}) {
        for (const bool outcome : {true, false}) {
            ZebMsg read, written;
            EXPECT_FALSE(read.setDataOffset(SIZE_MAX) || written.setDataOffset(SIZE_MAX));
            item.outcome = outcome;
            EXPECT_EQ(read.readItem(item), outcome);
            EXPECT_EQ(written.writeItem(item), outcome);
            EXPECT_EQ(codes(read) + ' ' + codes(written), expected + ' ' + expected);
        }
        item.clearErrorCodes();
    }
    EXPECT_FALSE(ZebItm::structureIdIs(nullptr, ZebMsg()));
}

TEST(FrameErrors, ObjectsOfTheHierarchyComeFromTheGlobalOperators) {
    const std::ptrdiff_t before = support::liveBlocks();
    support::AllocationTally tally;
    ZebErr * const one = new ZebMsg;
    Item * const many = new Item[3];
    EXPECT_EQ(tally.count(), 2U);
    delete one;
    delete[] many;
    alignas(ZebMsg) char memory[sizeof(ZebMsg)];
    (new (memory) ZebMsg)->~ZebMsg();
    EXPECT_EQ(tally.count(), 2U);
    // Without an exception: null for want of the first block, which the object itself takes. The
    // second is that of a channel's record, whose constructor throws as ever.
    const std::function<void *()> makers[] = {[] { return new (std::nothrow) ZebChl; },
                                              [] { return new (std::nothrow) ZebChl[2]; }};
    for (const auto & make : makers) {
        support::FailAllocations noObject(1);
        EXPECT_EQ(make(), nullptr);
        noObject.stop();
        const support::FailAllocations noRecord(2);
        EXPECT_THROW(make(), std::bad_alloc);
    }
    EXPECT_EQ(support::liveBlocks(), before);
    for (const bool array : {false, true}) {
        support::FailAllocations guard(1);
        EXPECT_THROW(array ? ZebErr::operator new[](64) : ZebErr::operator new(64), std::bad_alloc);
    }
}

TEST(FrameErrors, TheCodeTablesNameEveryNumberOnceInOrder) {
    std::int32_t last = -1;
    for (const ZebCodeText & row : zebReasonCodes) {
        EXPECT_LT(last, row.code);
        last = row.code;
        EXPECT_EQ(zebReasonCode(row.code), &row);
        EXPECT_EQ(std::string(row.name).substr(0, 5), "ZBRC_");
    }
    EXPECT_EQ(std::size(zebReasonCodes), 20U);
    EXPECT_STREQ(zebReasonCode(6114)->name, "ZBRC_INSUFFICIENT_DATA");
    EXPECT_STREQ(zebCompletionCode(1)->name, "ZBCC_WARNING");
    EXPECT_EQ(zebReasonCode(1), nullptr);
    EXPECT_EQ(zebCompletionCode(3), nullptr);
}

}
