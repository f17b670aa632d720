#include "ZebMsg.hpp"

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
using support::FailAllocations;
using support::Recording;
using support::Texts;

string codes(const ZebErr & object) {
    return std::to_string(object.completionCode()) + ':' + std::to_string(object.reasonCode());
}

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

string told(const ZebBin & value) {
    return string(static_cast<const char *>(value.dataPointer()), value.dataLength());
}

string told(const ZebStr & text) {
    if (text.storage() != 0 && std::memchr(text.text(), 0, text.storage()) == nullptr) {
        return "INVALID";
    }
    return (text.text() != nullptr ? string(text.text()) : "-") + '/' +
           std::to_string(text.storage()) + ' ' + codes(text);
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

// ---- The descriptor
// -------------------------------------------------------------------------------

const string defaults = "MD  "s + "\x02\0\0\0"s + "\0\0\0\0"s + "\x08\0\0\0"s + "\xFF\xFF\xFF\xFF" +
                        "\0\0\0\0"s + "\x22\x02\0\0"s + "\0\0\0\0"s + "        " +
                        "\xFF\xFF\xFF\xFF" + "\x02\0\0\0"s + string(300, '\0') + "\x01\0\0\0"s +
                        "\0\0\0\0\0\0\0\0"s + "\xFF\xFF\xFF\xFF";

TEST(MessageDescriptor, ANewOneHasTheseBytesAndReadsAsEmpty) {
    support::PageEnd place(sizeof(ZebMsg));
    std::memset(place.data(), 0xA5, place.size());
    ZebMsg * const message = ::new (static_cast<void *>(place.data())) ZebMsg;
    EXPECT_EQ(image(*message), defaults);
    EXPECT_EQ(told(*message), "@0         546/0 0:0");
    EXPECT_EQ(message->carriedWord(), 0);
    EXPECT_EQ(told(message->format()), "        /9 0:0");
    EXPECT_EQ(told(message->accountingToken()), string(32, '\0'));
    message->~ZebMsg();

    Versioned::setVersionSupported(7);
    ZebMsg later;
    Versioned::setVersionSupported(2);
    EXPECT_EQ(image(later), string(defaults).replace(4, 1, "\x07"));
    EXPECT_EQ(image(ZebMsg(later)), image(later));
    later.setCarriedWord(INT64_MIN);
    later.setEncoding(-1);
    later.setCharacterSet(0x01020304);
    later.setFeedback(-2);
    EXPECT_EQ(image(later).substr(20, 12), "\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x04\x03\x02\x01");
    EXPECT_EQ(ZebMsg(later).carriedWord(), INT64_MIN);
}

TEST(MessageDescriptor, EachTextFieldIsCutOrPaddedInItsPlaceAlone) {
    const struct {
        ZebStr (ZebMsg::*get)() const;
        void (ZebMsg::*set)(const char *);
        std::size_t offset, width;
        char pad;
    } fields[] = {
        {&ZebMsg::format, &ZebMsg::setFormat, 32, 8, ' '},
        {&ZebMsg::replyToQueueName, &ZebMsg::setReplyToQueueName, 100, 48, '\0'},
        {&ZebMsg::replyToQueueManagerName, &ZebMsg::setReplyToQueueManagerName, 148, 48, '\0'},
        {&ZebMsg::userId, &ZebMsg::setUserId, 196, 12, '\0'},
        {&ZebMsg::applicationIdData, &ZebMsg::setApplicationIdData, 240, 32, '\0'},
        {&ZebMsg::putApplicationName, &ZebMsg::setPutApplicationName, 276, 28, '\0'},
        {&ZebMsg::putDate, &ZebMsg::setPutDate, 304, 8, '\0'},
        {&ZebMsg::putTime, &ZebMsg::setPutTime, 312, 8, '\0'},
        {&ZebMsg::applicationOriginData, &ZebMsg::setApplicationOriginData, 320, 4, '\0'},
    };
    const string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (const auto & field : fields) {
        for (const string & text : {""s, " b"s, "b  "s, letters.substr(0, field.width - 1),
                                    letters.substr(0, field.width), letters}) {
            ZebMsg message;
            (message.*field.set)(letters.c_str());
            (message.*field.set)(text.empty() ? nullptr : text.c_str());
            string bytes = text.substr(0, field.width);
            const string kept = bytes.substr(0, bytes.find_last_not_of(' ') + 1);
            bytes.resize(field.width, field.pad);
            EXPECT_EQ(image(message), string(defaults).replace(field.offset, field.width, bytes));
            const ZebStr got = (message.*field.get)();
            EXPECT_EQ(string(got.length() != 0 ? got.text() : ""), field.pad == ' ' ? bytes : kept);
            EXPECT_EQ(codes(got) + ' ' + codes(message), "0:0 0:0");
            FailAllocations guard(1);
            const ZebStr lost = (message.*field.get)();
            guard.stop();
            EXPECT_EQ(told(lost), "-/0 2:2071");
        }
    }
    ZebMsg message;
    message.setFormat("ABC");
    support::PageEnd name(std::string_view("ABC     "));
    EXPECT_TRUE(message.formatIs(name.data()));
    EXPECT_FALSE(message.formatIs("ABC    X"));
    EXPECT_FALSE(message.formatIs("XBC     "));
    EXPECT_FALSE(message.formatIs(nullptr));
}

// ---- The tracker, alone and in a message
// ----------------------------------------------------------

struct TrackerField {
    const char * name;
    ZebBin (ZebMtr::*get)() const;
    void (ZebMtr::*setBytes)(const unsigned char *);
    bool (ZebMtr::*set)(const ZebBin &);
    std::size_t offset, width;
} const trackerFields[] = {
    {"setAccountingToken", &ZebMtr::accountingToken, &ZebMtr::setAccountingToken,
     &ZebMtr::setAccountingToken, 208, 32},
    {"setCorrelationId", &ZebMtr::correlationId, &ZebMtr::setCorrelationId,
     &ZebMtr::setCorrelationId, 72, 24},
    {"setGroupId", &ZebMtr::groupId, &ZebMtr::setGroupId, &ZebMtr::setGroupId, 324, 24},
    {"setMessageId", &ZebMtr::messageId, &ZebMtr::setMessageId, &ZebMtr::setMessageId, 48, 24},
};

TEST(Tracker, EachFieldTakesItsWidthOrNothingAloneAndInAMessage) {
    const string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHI";
    const auto * bytes = reinterpret_cast<const unsigned char *>(letters.data());
    for (const TrackerField & field : trackerFields) {
        const string zeros(field.width, '\0'), full = letters.substr(0, field.width);
        for (const bool inMessage : {false, true}) {
            const auto make = [inMessage] {
                return std::unique_ptr<ZebMtr>(inMessage ? new ZebMsg : new ZebMtr);
            };
            std::unique_ptr<ZebMtr> tracker = make();
            const auto value = [&] { return told((*tracker.*field.get)()); };
            EXPECT_EQ(value(), inMessage ? zeros : "");
            EXPECT_TRUE((*tracker.*field.set)(ZebBin()));
            EXPECT_EQ(value(), zeros);
            EXPECT_TRUE((*tracker.*field.set)(ZebBin(bytes, field.width)));
            EXPECT_EQ(value(), full);
            EXPECT_EQ(codes(*tracker), "0:0");
            for (const std::size_t wrong : {std::size_t{1}, field.width - 1, field.width + 1}) {
                Recording recording;
                tracker->clearErrorCodes();
                EXPECT_FALSE((*tracker.*field.set)(ZebBin(bytes, wrong)));
                EXPECT_EQ(recording.texts(), Texts{"ZebMessageTracker::"s + field.name +
                                                   " (error): binary data length error"});
                EXPECT_EQ(codes(*tracker), "2:6111");
                EXPECT_EQ(value(), full);
            }
            if (inMessage) {
                EXPECT_EQ(image(dynamic_cast<ZebMsg &>(*tracker)),
                          string(defaults).replace(field.offset, field.width, full));
            }
            (*tracker.*field.setBytes)(nullptr);
            EXPECT_EQ(value(), zeros);
            support::PageEnd page(std::string_view(letters).substr(0, field.width));
            (*tracker.*field.setBytes)(reinterpret_cast<unsigned char *>(page.data()));
            EXPECT_EQ(value(), full);

            tracker = make(); // a refused first value leaves a field of zeros
            support::AllocationTally tally;
            (*tracker.*field.setBytes)(bytes);
            EXPECT_EQ(tally.count(), inMessage ? 0U : 1U);
            tracker = make();
            EXPECT_FALSE((*tracker.*field.set)(ZebBin("x", 1)));
            EXPECT_EQ(value(), zeros);
        }
    }
}

// All five values in one line of bytes.
string values(const ZebMtr & tracker) {
    string line = std::to_string(tracker.feedback());
    for (const TrackerField & field : trackerFields) {
        line += '|' + told((tracker.*field.get)());
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

    const std::ptrdiff_t before = support::liveBlocks();
    for (const bool copying : {true, false}) {
        for (std::size_t n = 1; n <= 6; ++n) {
            ZebMtr late;
            bool thrown = false;
            FailAllocations guard(n);
            try {
                if (copying) {
                    const ZebMtr copy(full);
                } else {
                    late = full;
                }
            } catch (const std::bad_alloc &) {
                thrown = true;
            }
            guard.stop();
            EXPECT_EQ(thrown, n <= 5) << n;
            late = full;
            EXPECT_EQ(values(late), filled);
        }
        EXPECT_EQ(support::liveBlocks(), before);
    }
}

// ---- Assignment of messages
// -----------------------------------------------------------------------

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
// ------------------------------------------------------------------------------

TEST(MessageItems, WritingAValueReplacesTheDataOrFailsAsTold) {
    const auto text = [](const char * bytes) { return std::make_shared<ZebStr>(bytes); };
    const auto bytes = [](const string & b) {
        return std::make_shared<ZebBin>(b.data(), b.size());
    };
    const struct {
        std::shared_ptr<ZebItm> item;
        std::size_t room; // of a user buffer, 0 for an automatic one of 4
        std::size_t failed, refused;
        bool result;
        const char * told;
        const char * itemCodes;
        Texts texts;
    } cases[] = {
        {text("hello"), 0, 0, 0, true, "hello@5 ZBSTR   546/0 0:0", "0:0", {}},
        {text("hi"), 0, 0, 0, true, "hi@2 ZBSTR   546/0 0:0", "0:0", {}},
        {text(""), 0, 0, 0, true, "@0 ZBSTR   546/0 0:0", "0:0", {}},
        {bytes("a\0b"s), 0, 0, 0, true, "a0b@3         546/0 0:0", "0:0", {}},
        {bytes(""), 0, 0, 0, true, "@0         546/0 0:0", "0:0", {}},
        {text("hello"),
         4,
         0,
         0,
         false,
         "@0 OLD     273/819 2:6113",
         "2:6113",
         {"ZebCache::moreBytes (error): insufficient buffer"}},
        {bytes("hello"),
         4,
         0,
         0,
         false,
         "@0 OLD     273/819 2:6113",
         "2:6113",
         {"ZebCache::moreBytes (error): insufficient buffer"}},
        {text("hello"), 5, 0, 0, true, "hello@5 ZBSTR   546/0 0:0", "0:0", {}},
        {text("hello"),
         0,
         1,
         0,
         false,
         "@0 OLD     273/819 2:2071",
         "2:2071",
         {"ZebCache::resizeBuffer (error): storage not available"}},
        {bytes("hello"),
         0,
         1,
         0,
         false,
         "@0 OLD     273/819 2:2071",
         "2:2071",
         {"ZebCache::resizeBuffer (error): storage not available"}},
        // The first check asks for the format field, the second and third are those of write.
        {text("hi"),
         0,
         0,
         2,
         false,
         "@0 ZBSTR   546/0 2:2004",
         "2:2004",
         {"ZebError::checkReadPointer (error): buffer error"}},
        {bytes("hi"),
         0,
         0,
         3,
         false,
         "@0         546/0 2:2004",
         "2:2004",
         {"ZebError::checkWritePointer (error): buffer error"}},
    };
    for (const auto & row : cases) {
        char memory[8] = {};
        ZebMsg message;
        EXPECT_TRUE(row.room == 0 || message.useEmptyBuffer(memory, row.room));
        fill(message, "past", 2, "OLD");
        Recording recording;
        recording.refuseCheck(row.refused);
        FailAllocations guard(row.failed);
        const bool result = message.writeItem(*row.item);
        guard.stop();
        EXPECT_EQ(recording.texts(), row.texts);
        EXPECT_EQ(result, row.result) << row.told;
        EXPECT_EQ(told(message), row.told);
        EXPECT_EQ(codes(*row.item), row.itemCodes) << row.told;
    }
}

TEST(MessageItems, ReadingAValueTakesAllFromTheCursorOrLeavesTheMessage) {
    constexpr const char * wrongText = "ZebString::pasteIn (error): wrong message format";
    constexpr const char * wrongBytes = "ZebBinary::pasteIn (error): wrong message format";
    constexpr const char * noText = "ZebString::setStorage (error): storage not available";
    constexpr const char * noBytes = "ZebBinary::setDataLength (error): storage not available";
    constexpr const char * refusal = "ZebError::checkWritePointer (error): buffer error";
    const struct {
        bool asText;
        string data;
        std::size_t cursor;
        const char * format;
        std::size_t storage; // of the text "old" before, or 3 for the bytes "old"
        std::size_t failed, refused;
        bool result;
        string value;
        std::size_t cursorAfter;
        const char * codes;
        Texts texts;
    } cases[] = {
        {true, "hello", 0, "ZBSTR", 0, 0, 0, true, "hello/6", 5, "0:0", {}},
        {true, "hello\0"s, 0, "ZBSTR", 0, 0, 0, true, "hello/6", 6, "0:0", {}},
        {true, "he\0lo!"s, 0, "ZBSTR", 0, 0, 0, true, "he/7", 6, "0:0", {}},
        {true, "hello", 3, "ZBSTR", 4, 0, 0, true, "lo/4", 5, "0:0", {}},
        {true, "hello", 0, "ZBSTR", 9, 0, 0, true, "hello/9", 5, "0:0", {}},
        {true, "hello", 5, "ZBSTR", 9, 0, 0, true, "old/9", 5, "0:0", {}},
        {true, "hello", 1, "        ", 9, 0, 0, false, "old/9", 1, "2:6119", {wrongText}},
        {true, "hello", 1, "ZBSTR", 4, 0, 0, true, "ello/5", 5, "0:0", {}},
        {true, "hello", 0, "ZBSTR", 4, 1, 0, false, "old/4", 0, "2:2071", {noText}},
        {true, "hello", 0, "ZBSTR", 4, 2, 0, false, "/5", 0, "2:2071", {noText}},
        {true, "hello", 1, "ZBSTR", 4, 1, 0, false, "/4", 1, "2:2071", {noText}},
        {true, "hello", 0, "ZBSTR", 4, 0, 1, false, "/5", 0, "2:2004", {refusal}},
        {true, "hello", 0, "ZBSTR", 9, 0, 1, false, "old/9", 0, "2:2004", {refusal}},
        {false, "a\0b"s, 0, "        ", 3, 0, 0, true, "a\0b"s, 3, "0:0", {}},
        {false, "abcde", 3, "        ", 3, 0, 0, true, "de", 5, "0:0", {}},
        {false, "abc", 3, "        ", 3, 0, 0, true, "", 3, "0:0", {}},
        {false, "abc", 1, "ZBSTR", 3, 0, 0, false, "old", 1, "2:6119", {wrongBytes}},
        {false, "abcd", 0, "        ", 3, 1, 0, false, "old", 0, "2:2071", {noBytes}},
        {false, "abcd", 0, "        ", 3, 0, 1, false, "\0\0\0\0"s, 0, "2:2004", {refusal}},
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
        FailAllocations guard(row.failed);
        const bool result = message.readItem(item);
        guard.stop();
        EXPECT_EQ(recording.texts(), row.texts) << row.data;
        EXPECT_EQ(result, row.result) << row.data << row.storage;
        EXPECT_EQ(row.asText ? told(text) : told(bytes),
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
