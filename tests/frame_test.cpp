#include "ZebChl.hpp"
#include "ZebItm.hpp"
#include "ZebMsg.hpp"
#include "ZebSem.hpp"
#include "ZebTrc.hpp"

#include "frame/library.hpp"
#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "support/recording_zbcommon.hpp"
#include "zbcommon/zbcommon.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace {

using support::codes;
using support::Recording;
using support::Texts;

// An item whose outcome the test decides.
struct Item : ZebItm {
    bool outcome = true;
    bool copyOut(ZebMsg &) override { return outcome; }
    bool pasteIn(ZebMsg &) override { return outcome; }
    using ZebErr::checkReadPointer;
    using ZebErr::checkWritePointer;
};

TEST(FrameTrace, EachOperationSetsANewThreadUpOnceAndPassesItsArgumentsOn) {
    static const char area[3] = {};
    const std::string readError = "ZebError::checkReadPointer (error): buffer error";
    const std::string writeError = "ZebError::checkWritePointer (error): buffer error";
    const std::tuple<std::function<bool(Item &)>, std::string, Texts> cases[] = {
        {[](Item &) { return ZebTrc::traceMessage("one text\n"), true; }, "text one text\n", {}},
        {[](Item &) { return ZebTrc::checkReadPointer(area, 3); }, "check 1 3", {}},
        {[](Item &) { return ZebTrc::checkWritePointer(area, 3); }, "check 2 3", {}},
        {[](Item & item) { return item.checkReadPointer(area, 3); }, "check 1 3", {readError}},
        {[](Item & item) { return item.checkWritePointer(area, 3); }, "check 2 3", {writeError}},
    };
    for (const auto & [act, line, refusal] : cases) {
        Recording recording;
        Item item;
        pthread_setspecific(svcThreadSlot, nullptr);
        EXPECT_TRUE(act(item));
        EXPECT_TRUE(act(item));
        EXPECT_EQ(recording.lines(), (Texts{"set-up 48 1031 area", line, line}));
        EXPECT_EQ(codes(item), "0:0");
        if (line[0] == 'c') {
            EXPECT_EQ(recording.pointers()[1], area);
            recording.refuseCheck(1);
            EXPECT_FALSE(act(item));
            EXPECT_EQ(recording.texts(), refusal);
            EXPECT_EQ(codes(item), refusal.empty() ? "0:0" : "2:2004");
        }
        // The slot decides each time: nothing remembers that the thread was set up before.
        pthread_setspecific(svcThreadSlot, nullptr);
        recording.clear();
        recording.refuseSetUp();
        act(item);
        act(item);
        EXPECT_EQ(recording.lines(),
                  (Texts{"set-up 48 1031 area", line, "set-up 48 1031 area", line}));
    }
    Recording recording;
    ZebTrc::traceEntry(31, 1);
    ZebTrc::traceExit(31, 1, 0);
    EXPECT_EQ(recording.lines(), Texts{});
}

TEST(FrameSemaphore, TheStringLockIsMadeAtItsFirstUseTracedAndReleasedAtUnload) {
    ZebStrCleanUp();
    char field[2];
    ZebStr text("ab");
    Recording recording;
    const std::ptrdiff_t before = support::liveBlocks();
    pthread_setspecific(svcThreadSlot, nullptr);
    EXPECT_TRUE(text.copyOut(field, 2, ' '));
    EXPECT_EQ(recording.lines(), (Texts{"set-up 0 9 null", "entry 31 57", "exit 31 57 1",
                                        "check 2 2", "entry 31 58", "exit 31 58 1"}));
    const void * const context = pthread_getspecific(svcThreadSlot);
    EXPECT_EQ(recording.pointers(),
              (std::vector<const void *>{nullptr, context, context, field, context, context}));
    EXPECT_TRUE(text.copyOut(field, 2, ' ')); // with the same lock
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

TEST(FrameErrors, TheMessageOfAnItemTakesItsCodesOver) {
    Item item;
    for (const std::string expected : {"0:0", "2:2004"}) {
        for (const bool outcome : {true, false}) {
            ZebMsg read, written;
            EXPECT_FALSE(read.setDataOffset(SIZE_MAX) || written.setDataOffset(SIZE_MAX));
            item.outcome = outcome;
            EXPECT_EQ(read.readItem(item), outcome);
            EXPECT_EQ(written.writeItem(item), outcome);
            EXPECT_EQ(codes(read) + ' ' + codes(written), expected + ' ' + expected);
        }
        EXPECT_FALSE(item.checkReadPointer(nullptr, 1));
    }
    ZebMsg longEnough;
    EXPECT_TRUE(longEnough.setMessageLength(4));
    EXPECT_FALSE(ZebItm::structureIdIs(nullptr, longEnough));
}

TEST(FrameErrors, ObjectsOfTheHierarchyComeFromTheGlobalOperators) {
    const std::ptrdiff_t before = support::liveBlocks();
    ZebErr * const one = new ZebMsg;
    Item * const many = new Item[3];
    EXPECT_EQ(support::liveBlocks(), before + 2);
    delete one;
    delete[] many;
    alignas(ZebMsg) char memory[sizeof(ZebMsg)];
    ZebMsg * const placed = new (memory) ZebMsg;
    EXPECT_EQ(support::liveBlocks(), before);
    placed->~ZebMsg();
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
