#include "ZebMsg.hpp"

#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "support/page_end.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

using std::string;
using std::string_literals::operator""s;
using support::bytesOf;
using support::codes;
using support::FailAllocations;
using support::Recording;
using support::textOf;
using support::Texts;
using support::told;

string image(const ZebMsg & message) {
    return string(reinterpret_cast<const char *>(&message.descriptor()), sizeof(ZBMD));
}

// Data, cursor, description and codes; "INVALID" where counters or wiring are out of order.
string told(const ZebMsg & message) {
    const ZBMD & record = message.descriptor();
    const bool valid = message.dataOffset() <= message.messageLength() &&
                       message.messageLength() <= message.bufferLength() &&
                       message.feedback() == record.feedback &&
                       message.messageId().dataLength() == 24 &&
                       std::memcmp(message.messageId().dataPointer(), record.messageId, 24) == 0;
    string data(message.bufferPointer(), message.messageLength());
    std::replace(data.begin(), data.end(), '\0', '0');
    return (valid ? "" : "INVALID ") + data + '@' + std::to_string(message.dataOffset()) + ' ' +
           string(record.format, 8) + std::to_string(record.encoding) + '/' +
           std::to_string(record.characterSet) + ' ' + codes(message);
}

// A message with these data, a cursor and another description than the default one.
void fill(ZebMsg & message, const string & data, std::size_t cursor, const char * format) {
    message.setFormat(format);
    message.setEncoding(273);
    message.setCharacterSet(819);
    ASSERT_TRUE(message.write(data.size(), data.data()) && message.setDataOffset(cursor));
}

struct Versioned : ZebMsg {
    using ZebMsg::setVersionSupported;
};

TEST(MessageDescriptor, ANewOneHasTheVersionSupportedAndACopyThatOfItsSource) {
    Versioned::setVersionSupported(7);
    ZebMsg later;
    Versioned::setVersionSupported(2);
    EXPECT_EQ(later.descriptor().version, 7);
    EXPECT_EQ(ZebMsg().carriedWord(), 0);
    later.setCarriedWord(INT64_MIN);
    later.setFormat("ABC");
    EXPECT_EQ(image(ZebMsg(later)), image(later));
    EXPECT_EQ(ZebMsg(later).carriedWord(), INT64_MIN);
    const support::PageEnd name(std::string_view("ABC     ")), early(std::string_view("A", 2));
    EXPECT_TRUE(later.formatIs(name.data()));
    for (const char * other : {"ABC    X", "XBC     ", static_cast<const char *>(early.data())}) {
        EXPECT_FALSE(later.formatIs(other));
    }
    EXPECT_FALSE(later.formatIs(nullptr));
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

// ---- The tracker, alone and in a message

struct TrackerField {
    const char * name;
    ZebBin (ZebMtr::*get)() const;
    void (ZebMtr::*setBytes)(const unsigned char *);
    bool (ZebMtr::*set)(const ZebBin &);
    std::size_t width;
} const trackerFields[] = {
    {"setAccountingToken", &ZebMtr::accountingToken, &ZebMtr::setAccountingToken,
     &ZebMtr::setAccountingToken, 32},
    {"setCorrelationId", &ZebMtr::correlationId, &ZebMtr::setCorrelationId,
     &ZebMtr::setCorrelationId, 24},
    {"setGroupId", &ZebMtr::groupId, &ZebMtr::setGroupId, &ZebMtr::setGroupId, 24},
    {"setMessageId", &ZebMtr::messageId, &ZebMtr::setMessageId, &ZebMtr::setMessageId, 24},
};

// All five values in one line of bytes.
string values(const ZebMtr & tracker) {
    string line = std::to_string(tracker.feedback());
    for (const TrackerField & field : trackerFields) {
        line += '|' + bytesOf((tracker.*field.get)());
    }
    return line;
}

TEST(Tracker, KeepsWhatItWasGivenAloneAndInAMessage) {
    ZebMtr empty, full;
    full.setFeedback(-1);
    string filled = "-1", zeros = "0";
    EXPECT_EQ(values(empty), "0||||");
    for (const TrackerField & field : trackerFields) {
        // A block comes with the first value, even with a refused one, and starts as zeros.
        const string bytes(field.width, field.name[3]), none(field.width, '\0');
        const auto * raw = reinterpret_cast<const unsigned char *>(bytes.data());
        const ZebBin tooShort(raw, field.width - 1);
        {
            ZebMtr former; // leaves its bytes in memory that is had again
            (former.*field.setBytes)(raw);
        }
        EXPECT_FALSE((full.*field.set)(tooShort));
        EXPECT_EQ(bytesOf((full.*field.get)()), none);
        const support::AllocationTally tally;
        (full.*field.setBytes)(raw);
        EXPECT_EQ(tally.count(), 0U);
        filled += '|' + bytes;
        zeros += '|' + none;
    }
    EXPECT_EQ(values(ZebMtr(empty)), zeros);
    ZebMtr target(full);
    EXPECT_EQ(values(target) + codes(target), filled + "2:6111");
    target = static_cast<const ZebMtr &>(target);
    EXPECT_EQ(values(target) + codes(target), filled + "2:6111");
    target = empty;
    EXPECT_EQ(values(target) + codes(target), zeros + "0:0");
    ZebMsg message;
    static_cast<ZebMtr &>(message) = full;
    EXPECT_EQ(values(message), filled);
    EXPECT_EQ(image(message).substr(20, 4), "\xFF\xFF\xFF\xFF");
    const ZebMtr copyOfPart(message);
    message.setMessageId(static_cast<const unsigned char *>(nullptr));
    EXPECT_EQ(values(copyOfPart), filled);
}

TEST(MessageAssignment, TheWorstCodesAndTheWholeDescriptorArrive) {
    const struct {
        std::size_t cursor; // of the source, which holds "abcdef"
        bool failed;        // the source, with a read
        bool userBuffer;    // of 4 bytes, in the target
        char storage;       // which lacks (n)ever, (o)nce, or (a)lways
        const char * told;
    } cases[] = {
        {6, false, false, 'n', "abcdef@6 SOURCE  273/819 0:0"},
        {2, true, false, 'n', "abcdef@2 SOURCE  273/819 2:6114"},
        {4, false, true, 'n', "abcd@4 SOURCE  273/819 1:6115"},
        {4, true, true, 'n', "abcd@4 SOURCE  273/819 2:6114"},
        {5, false, true, 'n', "abcd@0 SOURCE  273/819 2:6112"},
        {5, true, true, 'n', "abcd@0 SOURCE  273/819 2:6114"},
        {0, false, false, 'o', "@0 SOURCE  273/819 1:6115"},
        {6, false, false, 'o', "000000@6 SOURCE  273/819 1:6115"},
        {6, false, false, 'a', "@0 SOURCE  273/819 2:2071"},
        {6, true, false, 'a', "@0 SOURCE  273/819 2:6114"},
    };
    for (const auto & row : cases) {
        SCOPED_TRACE(row.told);
        ZebMsg source, target;
        fill(source, "abcdef", row.cursor, "SOURCE");
        source.setCarriedWord(99);
        source.setFeedback(5);
        char room[8];
        char * to = room;
        EXPECT_TRUE(!row.failed || !source.read(8, to));
        target.setFeedback(-9);
        EXPECT_TRUE(!row.userBuffer || target.useEmptyBuffer(room, 4));
        FailAllocations guard(row.storage == 'n' ? 0 : 1, row.storage == 'o'
                                                              ? FailAllocations::once
                                                              : FailAllocations::fromThere);
        target = source;
        guard.stop();
        EXPECT_EQ(told(target), row.told);
        EXPECT_EQ(image(target), image(source));
        EXPECT_EQ(target.carriedWord(), 99);
        EXPECT_EQ(target.automaticBuffer(), !row.userBuffer);
        target = static_cast<const ZebMsg &>(target);
        EXPECT_EQ(told(target), row.told);
    }
}

// ---- Values as items: how they are written, header_test.cpp tries with the other items

TEST(MessageItems, ReadingAValueTakesAllFromTheCursorOrLeavesTheMessage) {
    constexpr const char * wrongText = "ZebString::pasteIn (error): wrong message format";
    constexpr const char * wrongBytes = "ZebBinary::pasteIn (error): wrong message format";
    constexpr const char * refusal = "ZebError::checkWritePointer (error): buffer error";
    const struct {
        bool asText;
        string data;
        std::size_t cursor;
        const char * format;
        std::size_t storage, refused; // storage of the text "old" before, or 3 for the bytes "old"
        string value;
        std::size_t cursorAfter;
        const char *codes, *trace; // trace of a failure
    } cases[] = {
        {true, "hello", 0, "ZBSTR", 0, 0, "hello/6", 5, "0:0", nullptr},
        {true, "hello\0"s, 0, "ZBSTR", 0, 0, "hello/6", 6, "0:0", nullptr},
        {true, "he\0lo!"s, 0, "ZBSTR", 0, 0, "he/7", 6, "0:0", nullptr},
        {true, "hello", 3, "ZBSTR", 4, 0, "lo/4", 5, "0:0", nullptr},
        {true, "hello", 0, "ZBSTR", 9, 0, "hello/9", 5, "0:0", nullptr},
        {true, "hello", 5, "ZBSTR", 9, 0, "old/9", 5, "0:0", nullptr},
        {true, "hello", 1, "        ", 9, 0, "old/9", 1, "2:6119", wrongText},
        {true, "hello", 1, "ZBSTR", 4, 0, "ello/5", 5, "0:0", nullptr},
        {true, "hello", 0, "ZBSTR", 4, 1, "/5", 0, "2:2004", refusal},
        {true, "hello", 0, "ZBSTR", 9, 1, "old/9", 0, "2:2004", refusal},
        {false, "a\0b"s, 0, "        ", 3, 0, "a\0b"s, 3, "0:0", nullptr},
        {false, "abcde", 3, "        ", 3, 0, "de", 5, "0:0", nullptr},
        {false, "abc", 3, "        ", 3, 0, "", 3, "0:0", nullptr},
        {false, "abc", 1, "ZBSTR", 3, 0, "old", 1, "2:6119", wrongBytes},
        {false, "abc", 0, "        ", 3, 1, "old", 0, "2:2004", refusal},
        {false, "abcd", 0, "        ", 3, 1, "\0\0\0\0"s, 0, "2:2004", refusal},
    };
    for (const auto & row : cases) {
        ZebMsg message;
        fill(message, row.data, row.cursor, row.format);
        ZebStr text(row.storage != 0 ? "old" : "");
        ASSERT_TRUE(text.setStorage(row.storage));
        ZebBin bytes("old", 3);
        ZebItm & item = row.asText ? static_cast<ZebItm &>(text) : bytes;
        const string before = image(message);
        Recording recording;
        recording.refuseCheck(row.refused);
        const bool result = message.readItem(item);
        EXPECT_EQ(recording.texts(), row.trace != nullptr ? Texts{row.trace} : Texts{});
        EXPECT_EQ(result, row.trace == nullptr) << row.data << row.storage;
        EXPECT_EQ(row.asText ? told(text) : bytesOf(bytes),
                  row.asText ? row.value + ' ' + row.codes : row.value);
        EXPECT_EQ(codes(item) + ' ' + codes(message), string(row.codes) + ' ' + row.codes);
        EXPECT_EQ(message.dataOffset(), row.cursorAfter) << row.data;
        EXPECT_EQ(image(message), before);
    }
}

TEST(MessageItems, CodesOfAReadThatFailsAloneStayOffTheMessageUntilReadItem) {
    ZebMsg message;
    ZebStr text;
    EXPECT_FALSE(ZebItm::structureIdIs(nullptr, message));
    EXPECT_FALSE(text.pasteIn(message));
    EXPECT_EQ(codes(text) + ' ' + codes(message), "2:6119 0:0");
    ZebBin bytes("", 0);
    EXPECT_TRUE(bytes.pasteIn(message));
    EXPECT_FALSE(bytes.copyOut(nullptr, 1, ' '));
    EXPECT_TRUE(message.writeItem(bytes)); // succeeds, and brings the item's old codes
    EXPECT_EQ(codes(message), "2:6110");
    ZebMsg small;
    char room[4];
    EXPECT_TRUE(text.set("hello", 5) && small.useEmptyBuffer(room, sizeof room));
    EXPECT_FALSE(small.writeItem(text));
    EXPECT_EQ(codes(text) + ' ' + codes(small), "2:6113 2:6113");
    // Without storage for its terminator a text isn't taken, and stays to be read.
    ZebMsg letter;
    ZebStr taken;
    fill(letter, "hello", 0, "ZBSTR");
    FailAllocations noTerminator(2);
    EXPECT_FALSE(letter.readItem(taken));
    noTerminator.stop();
    EXPECT_EQ(told(taken), "/5 2:2071");
    EXPECT_EQ(letter.dataOffset(), 0U);
}

}
