#include "ZebMsg.hpp"

#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "support/page_end.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>

namespace {

using std::string;
using std::string_literals::operator""s;
using support::bytesOf;
using support::codes;
using support::FailAllocations;
using support::Recording;
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

TEST(Tracker, ABlockComesWithItsFirstValueAndStartsAsZeros) {
    const string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHI";
    const auto * bytes = reinterpret_cast<const unsigned char *>(letters.data());
    for (const TrackerField & field : trackerFields) {
        for (const std::size_t length : {field.width, std::size_t{0}, field.width - 1}) {
            ZebMtr tracker;
            EXPECT_EQ(bytesOf((tracker.*field.get)()), "");
            Recording recording;
            EXPECT_EQ((tracker.*field.set)(ZebBin(bytes, length)), length != field.width - 1);
            EXPECT_EQ(recording.texts().size(), length == field.width - 1 ? 1U : 0U);
            EXPECT_EQ(codes(tracker), length == field.width - 1 ? "2:6111" : "0:0");
            const string zeros(field.width, '\0'), full = letters.substr(0, field.width);
            EXPECT_EQ(bytesOf((tracker.*field.get)()), length == field.width ? full : zeros);
            const support::PageEnd page(full);
            const support::AllocationTally tally;
            (tracker.*field.setBytes)(reinterpret_cast<unsigned char *>(page.data()));
            EXPECT_EQ(tally.count(), 0U);
            EXPECT_EQ(bytesOf((tracker.*field.get)()), full);
        }
    }
}

// All five values in one line of bytes.
string values(const ZebMtr & tracker) {
    string line = std::to_string(tracker.feedback());
    for (const TrackerField & field : trackerFields) {
        line += '|' + bytesOf((tracker.*field.get)());
    }
    return line;
}

TEST(Tracker, AssignmentAndCopiesFillEveryFieldOrThrowWithoutLoss) {
    ZebMtr empty, full;
    full.setFeedback(-1);
    string filled = "-1", zeros = "0";
    for (const TrackerField & field : trackerFields) {
        const string bytes(field.width, field.name[3]);
        EXPECT_TRUE((full.*field.set)(ZebBin(bytes.data(), bytes.size())));
        filled += '|' + bytes;
        zeros += '|' + string(field.width, '\0');
    }
    EXPECT_EQ(values(empty), "0||||");
    EXPECT_EQ(values(full), filled);
    EXPECT_EQ(values(ZebMtr(empty)), zeros);
    EXPECT_FALSE(full.setGroupId(ZebBin("x", 1)));
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

    for (std::size_t n = 1; n <= 5; ++n) {
        ZebMtr late;
        FailAllocations guard(n);
        EXPECT_THROW(late = full, std::bad_alloc) << n;
        guard.stop();
        late = full;
        EXPECT_EQ(values(late), filled);
    }
}

// ---- Assignment of messages

TEST(MessageAssignment, TheWorstCodesAndTheWholeDescriptorArrive) {
    char room[4];
    const struct {
        std::size_t cursor; // of the source, which holds "abcdef"
        const char * sourceCodes;
        bool userBuffer; // of 4 bytes, in the target
        std::size_t failed;
        FailAllocations::Extent extent;
        const char * told;
    } cases[] = {
        {6, "0:0", false, 0, FailAllocations::once, "abcdef@6 SOURCE  273/819 0:0"},
        {2, "2:6114", false, 0, FailAllocations::once, "abcdef@2 SOURCE  273/819 2:6114"},
        {4, "0:0", true, 0, FailAllocations::once, "abcd@4 SOURCE  273/819 1:6115"},
        {4, "2:6114", true, 0, FailAllocations::once, "abcd@4 SOURCE  273/819 2:6114"},
        {5, "0:0", true, 0, FailAllocations::once, "abcd@0 SOURCE  273/819 2:6112"},
        {5, "2:6114", true, 0, FailAllocations::once, "abcd@0 SOURCE  273/819 2:6114"},
        {0, "0:0", false, 1, FailAllocations::once, "@0 SOURCE  273/819 1:6115"},
        {6, "0:0", false, 1, FailAllocations::once, "000000@6 SOURCE  273/819 1:6115"},
        {6, "0:0", false, 1, FailAllocations::fromThere, "@0 SOURCE  273/819 2:2071"},
        {6, "2:6114", false, 1, FailAllocations::fromThere, "@0 SOURCE  273/819 2:6114"},
    };
    for (const auto & row : cases) {
        ZebMsg source;
        fill(source, "abcdef", row.cursor, "SOURCE");
        source.setCarriedWord(99);
        source.setFeedback(5);
        char target[8];
        char * to = target;
        EXPECT_TRUE(row.sourceCodes[0] == '0' || !source.read(8, to));
        EXPECT_EQ(codes(source), row.sourceCodes);
        for (const bool copying : {false, true}) {
            if (copying && row.userBuffer) {
                continue;
            }
            ZebMsg assigned;
            assigned.setFeedback(-9);
            EXPECT_TRUE(!row.userBuffer || assigned.useEmptyBuffer(room, sizeof room));
            FailAllocations guard(row.failed, row.extent);
            if (!copying) {
                assigned = source;
            }
            const ZebMsg copy(copying ? source : assigned);
            guard.stop();
            const ZebMsg & result = copying ? copy : assigned;
            EXPECT_EQ(told(result), row.told) << copying;
            EXPECT_EQ(image(result), image(source));
            EXPECT_EQ(result.carriedWord(), 99);
            EXPECT_EQ(result.automaticBuffer(), !row.userBuffer);
        }
        source = static_cast<const ZebMsg &>(source);
        EXPECT_EQ(codes(source), row.sourceCodes);
    }
}

// ---- Values as items

TEST(MessageItems, WritingAValueReplacesTheDataOrFailsAsTold) {
    constexpr const char * noRoom = "ZebCache::moreBytes (error): insufficient buffer";
    constexpr const char * unread = "ZebError::checkReadPointer (error): buffer error";
    constexpr const char * unwritten = "ZebError::checkWritePointer (error): buffer error";
    const struct {
        bool asText;
        string value;
        std::size_t room, refused; // room of a user buffer, 0 for an automatic one of 4
        const char *told, *trace;  // trace of a failure
    } cases[] = {
        {true, "hello", 0, 0, "hello@5 ZBSTR   546/0 0:0", nullptr},
        {true, "hi", 0, 0, "hi@2 ZBSTR   546/0 0:0", nullptr},
        {true, "", 0, 0, "@0 ZBSTR   546/0 0:0", nullptr},
        {true, "hello", 5, 0, "hello@5 ZBSTR   546/0 0:0", nullptr},
        {false, "a\0b"s, 0, 0, "a0b@3         546/0 0:0", nullptr},
        {false, "", 0, 0, "@0         546/0 0:0", nullptr},
        {true, "hello", 4, 0, "@0 OLD     273/819 2:6113", noRoom},
        {false, "hello", 4, 0, "@0 OLD     273/819 2:6113", noRoom},
        // The first check asks for the format field, the second and third are those of write.
        {true, "hi", 0, 2, "@0 ZBSTR   546/0 2:2004", unread},
        {false, "hi", 0, 3, "@0         546/0 2:2004", unwritten},
    };
    for (const auto & row : cases) {
        char memory[8] = {};
        ZebMsg message;
        EXPECT_TRUE(row.room == 0 || message.useEmptyBuffer(memory, row.room));
        fill(message, "past", 2, "OLD");
        ZebStr text(row.value.c_str());
        ZebBin bytes(row.value.data(), row.value.size());
        ZebItm & item = row.asText ? static_cast<ZebItm &>(text) : bytes;
        Recording recording;
        recording.refuseCheck(row.refused);
        const bool result = message.writeItem(item);
        EXPECT_EQ(recording.texts(), row.trace != nullptr ? Texts{row.trace} : Texts{});
        EXPECT_EQ(result, row.trace == nullptr) << row.told;
        EXPECT_EQ(told(message), row.told);
        EXPECT_EQ(codes(item), codes(message)) << row.told;
    }
}

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
    EXPECT_FALSE(text.pasteIn(message));
    EXPECT_EQ(codes(text) + ' ' + codes(message), "2:6119 0:0");
    ZebBin bytes("", 0);
    EXPECT_TRUE(bytes.pasteIn(message));
    EXPECT_FALSE(bytes.copyOut(nullptr, 1, ' '));
    EXPECT_TRUE(message.writeItem(bytes)); // succeeds, and brings the item's old codes
    EXPECT_EQ(codes(message), "2:6110");
}

}
