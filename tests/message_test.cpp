#include "ZebMsg.hpp"

#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "support/page_end.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

namespace {

using namespace support;
using std::string;

struct Versioned : ZebMsg {
    using ZebMsg::setVersionSupported;
};

TEST(MessageDescriptor, ANewOneHasTheVersionSupportedAndACopyThatOfItsSource) {
    Versioned::setVersionSupported(7);
    ZebMsg later;
    Versioned::setVersionSupported(2);
    later.setCarriedWord(INT64_MIN);
    EXPECT_EQ(ZebMsg().descriptor().version, 2);
    EXPECT_EQ(ZebMsg(later).descriptor().version, 7);
    EXPECT_EQ(ZebMsg(later).carriedWord(), INT64_MIN);
}

TEST(MessageDescriptor, FormatIsComparedNoFurtherThanTheNameGoes) {
    ZebMsg message;
    message.setFormat("ABC");
    const PageEnd name(std::string_view("ABC     ")), early(std::string_view("A", 2));
    EXPECT_TRUE(message.formatIs(name.data()));
    for (const char * other :
         std::initializer_list<const char *>{"ABC    X", "XBC     ", early.data(), nullptr}) {
        EXPECT_FALSE(message.formatIs(other));
    }
}

TEST(MessageDescriptor, TextsMayComeOutOfTheFieldItself) {
    ZebMsg message;
    const char * const userId = message.descriptor().userId;
    message.setReplyToQueueManagerName(string(48, 'q').c_str()); // the field before it
    message.setUserId("0123456789ab");
    const std::pair<std::ptrdiff_t, const char *> moves[] = {
        {0, "0123456789ab"}, {3, "3456789ab"}, {-2, "qq3456789ab"}, {-12, "qqqqqqqqqqqq"}};
    for (const auto & [distance, expected] : moves) {
        message.setUserId(userId + distance);
        EXPECT_EQ(textOf(message.userId()), expected);
    }
}

TEST(Tracker, IsEmptyUntilItIsSetOrCopied) {
    const ZebMtr tracker;
    EXPECT_EQ(tracker.feedback(), 0);
    for (const auto get :
         {&ZebMtr::accountingToken, &ZebMtr::correlationId, &ZebMtr::groupId, &ZebMtr::messageId}) {
        const bool isToken = get == &ZebMtr::accountingToken;
        EXPECT_EQ(told((tracker.*get)()), " 0:0");
        EXPECT_EQ(told((ZebMtr(tracker).*get)()), zeros(isToken ? 32 : 24) + " 0:0");
    }
}

TEST(Tracker, TakesAValueThatCannotBeReadAsZeroBytes) {
    ZebMsg source;
    source.setMessageId(reinterpret_cast<const unsigned char *>(blanks(24).c_str()));
    source.setGroupId(source.messageId());
    ZebMtr target(source);
    Recording recording;
    recording.refuseCheck(3);
    target = static_cast<ZebMtr &>(source);
    EXPECT_EQ(recording.texts(), Texts{"ZebError::checkReadPointer (error): buffer error"});
    recording.refuseCheck(0);
    EXPECT_EQ(codes(target), "0:0");
    EXPECT_EQ(bytesOf(target.groupId()), zeros(24));
    EXPECT_EQ(bytesOf(target.messageId()), blanks(24));
}

// What a text whose terminator gets no storage was to take stays to be read.
TEST(MessageItems, ATextWithoutStorageForItsTerminatorIsNotTaken) {
    ZebMsg letter;
    ZebStr text;
    letter.setFormat("ZBSTR");
    EXPECT_TRUE(letter.write(5, "hello") && letter.setDataOffset(2));
    FailAllocations noTerminator(2);
    EXPECT_FALSE(letter.readItem(text));
    noTerminator.stop();
    EXPECT_EQ(told(text), "/3 2:2071");
    EXPECT_EQ(letter.dataOffset(), 2U);
}

}
