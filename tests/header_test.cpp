#include "ZebChl.hpp"
#include "ZebDlh.hpp"
#include "ZebGmo.hpp"
#include "ZebGmo3.hpp"
#include "ZebHih.hpp"
#include "ZebMsg.hpp"
#include "ZebRfh.hpp"
#include "ZebTih.hpp"
#include "ZebTrg.hpp"
#include "ZebWih.hpp"
#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "support/page_end.hpp"
#include "support/recording_zbcommon.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace support;
using std::string;
using std::string_literals::operator""s;

constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();

// ---- All classes with a record, and its fields --------------------------------------------------

struct Channel : ZebChl {
    ::ZBCD & record() const { return *ZBCD(); }
};
struct Message : ZebMsg {
    ZBMD & record() { return descriptor(); }
};

// A field and its accessors. A text is padded with 'b'lanks, with 'z'ero bytes, or with zero bytes
// though trailing blanks are kept when it is 'r'ead; all else is 'w'ords and bytes.
struct Field {
    std::size_t offset, width;
    char rule;
    string (*get)(const ZebErr &);
    void (*set)(ZebErr &, const char *) = nullptr;
    bool (*setValue)(ZebErr &, const ZebBin &) = nullptr;
    const char * refusal = nullptr;

    char pad() const { return rule == 'b' ? ' ' : '\0'; }
    string read(string bytes) const {
        bytes = rule != 'w' ? bytes.c_str() : bytes;
        return rule == 'z' ? bytes.substr(0, bytes.find_last_not_of(' ') + 1) : bytes;
    }
};

template <class Value> string shown(const Value & value) {
    if constexpr (std::is_same_v<Value, ZebStr>) {
        return textOf(value);
    } else if constexpr (std::is_same_v<Value, ZebBin>) {
        return bytesOf(value);
    } else {
        return word(value).substr(0, sizeof value);
    }
}

const unsigned char * raw(const char * bytes) {
    return reinterpret_cast<const unsigned char *>(bytes);
}

struct Class {
    string name, id, format;
    std::vector<Field> fields;
    std::unique_ptr<ZebErr> (*make)();
    void (*assign)(ZebErr &, const ZebErr &);
    string (*imageOf)(const ZebErr &);
    void (*load)(ZebErr &, const string &, const string & format);
    string image = {}; // of a new object

    bool isItem() const { return !format.empty(); }
    bool isHeader() const { return isItem() && !id.empty() && id != "TM  "; }
    std::size_t descriptionAt() const { return id == "DLH " ? 108 : 12; }
};

void fill(ZebMsg & message, const string & format, const string & data, std::int32_t encoding = 546,
          std::int32_t characterSet = 0) {
    message.setFormat(format.c_str());
    message.setEncoding(encoding);
    message.setCharacterSet(characterSet);
    message.write(data.size(), data.data());
    message.setDataOffset(0);
}

string dataOf(const ZebMsg & message) {
    return string(message.bufferPointer(), message.messageLength());
}

string description(const ZebMsg & message) {
    return word(message.encoding()) + word(message.characterSet()) + textOf(message.format());
}

// All of a message but its codes.
string stateOf(const ZebMsg & message) {
    const char * descriptor = reinterpret_cast<const char *>(&message.descriptor());
    return dataOf(message) + '/' + std::to_string(message.dataOffset()) + '/' +
           string(descriptor, sizeof(ZBMD));
}

string words(const std::vector<std::int32_t> & values) {
    string bytes;
    for (const std::int32_t value : values) {
        bytes += word(value);
    }
    return bytes;
}

// clang-format off
#define IN(name) offsetof(R, name), sizeof(R::name)
#define GET(name) [](const ZebErr & o) { return shown(dynamic_cast<const C &>(o).name()); }
#define SET(Name, value) [](ZebErr & o, const char * v) { dynamic_cast<C &>(o).set##Name(value); }
#define TAKE(Name) [](ZebErr & o, const ZebBin & v) { return dynamic_cast<C &>(o).set##Name(v); }
#define SHOWN(name, rule) {IN(name), rule, GET(name)}
#define BLANK(name, Name) {IN(name), 'b', GET(name), SET(Name, v)}
#define ZERO(name, Name) {IN(name), 'z', GET(name), SET(Name, v)}
#define READ(name, Name) {IN(name), 'r', GET(name), SET(Name, v)}
#define WORD(name, Name) {IN(name), 'w', GET(name), SET(Name, wordAt(v))}
#define BYTE(name, Name) {IN(name), 'w', GET(name), SET(Name, v != nullptr ? *v : '\0')}
#define SILENT(name, Name) {IN(name), 'w', GET(name), SET(Name, raw(v)), TAKE(Name)}
#define BYTES(name, Name, of, end) {IN(name), 'w', GET(name), SET(Name, raw(v)), TAKE(Name), \
    of "::set" #Name " (error): binary data length error" end}
#define DESCRIPTION WORD(encoding, Encoding), WORD(characterSet, CharacterSet), BLANK(format, Format)

template <class C, class R> std::vector<Field> fieldsOf() {
    if constexpr (std::is_same_v<C, ZebDlh>) {
        return {ZERO(destinationQueueName, DestinationQueueName), ZERO(putDate, PutDate),
            ZERO(destinationQueueManagerName, DestinationQueueManagerName), ZERO(putTime, PutTime),
            ZERO(putApplicationName, PutApplicationName), WORD(deadLetterWord8, DeadLetterWord8),
            WORD(deadLetterWord124, DeadLetterWord124), DESCRIPTION};
    } else if constexpr (std::is_same_v<C, ZebTih>) {
        return {BLANK(replyToFormat, ReplyToFormat), BLANK(authenticator, Authenticator),
            BLANK(transactionIdentifier, TransactionIdentifier), BLANK(startCode, StartCode),
            BLANK(attentionIdentifier, AttentionIdentifier), BLANK(facilityLike, FacilityLike),
            BLANK(bridgeCancelCode, BridgeCancelCode), BLANK(spareText1, SpareText1),
            BLANK(spareText2, SpareText2), BLANK(spareText3, SpareText3),
            BLANK(spareText4, SpareText4), BLANK(spareText5, SpareText5), SHOWN(function, 'b'),
            SHOWN(bridgeAbendCode, 'b'), SHOWN(nextTransactionIdentifier, 'b'),
            SHOWN(bridgeReturnCode, 'w'), SHOWN(bridgeCompletionCode, 'w'),
            SHOWN(bridgeReasonCode, 'w'), SHOWN(taskEndStatus, 'w'), SHOWN(bridgeErrorOffset, 'w'),
            WORD(headerFlags, HeaderFlags), WORD(UOWControl, UOWControl), WORD(linkType, LinkType),
            WORD(getWaitInterval, GetWaitInterval), WORD(outputDataLength, OutputDataLength),
            WORD(facilityKeepTime, FacilityKeepTime), WORD(ADSDescriptor, ADSDescriptor),
            WORD(conversationalTask, ConversationalTask), WORD(cursorPosition, CursorPosition),
            WORD(spareWord1, SpareWord1), WORD(spareWord2, SpareWord2), DESCRIPTION,
            BYTES(facilityToken, FacilityToken, "ZebTPMXBridgeHeader", "\n")};
    } else if constexpr (std::is_same_v<C, ZebHih>) {
        return {BLANK(replyToFormat, ReplyToFormat), READ(authenticator, Authenticator),
            ZERO(logicalTerminalOverride, LogicalTerminalOverride), BYTE(tailByte1, TailByte1),
            ZERO(messageFormatServicesMapName, MessageFormatServicesMapName), DESCRIPTION,
            BYTE(tailByte2, TailByte2), BYTE(tailByte3, TailByte3), BYTE(tailByte4, TailByte4),
            BYTES(transactionInstanceId, TransactionInstanceId, "ZebHSXBridgeHeader", ""),
            WORD(headerFlags, HeaderFlags)};
    } else if constexpr (std::is_same_v<C, ZebWih>) {
        return {BLANK(serviceName, ServiceName), BLANK(serviceStep, ServiceStep), DESCRIPTION,
            WORD(headerFlags, HeaderFlags), SILENT(spareArea, SpareArea),
            BYTES(messageToken, MessageToken, "ZebWorkHeader", "\n")};
    } else if constexpr (std::is_same_v<C, ZebRfh>) {
        return {ZERO(referenceType, ReferenceType), WORD(headerFlags, HeaderFlags), DESCRIPTION,
            WORD(tailWord1, TailWord1), WORD(tailWord2, TailWord2), WORD(tailWord3, TailWord3),
            BYTES(instanceId, InstanceId, "ZebReferenceHeader", "")};
    } else if constexpr (std::is_same_v<C, ZebTrg>) {
        return {ZERO(queueName, QueueName), ZERO(processName, ProcessName), // in this order
            ZERO(triggerData, TriggerData), ZERO(applicationId, ApplicationId),
            ZERO(environmentData, EnvironmentData), ZERO(userData, UserData),
            WORD(triggerWord168, TriggerWord168)};
    } else if constexpr (std::is_same_v<C, Message>) {
        return {ZERO(replyToQueueName, ReplyToQueueName), ZERO(userId, UserId), DESCRIPTION,
            ZERO(replyToQueueManagerName, ReplyToQueueManagerName), ZERO(putDate, PutDate),
            ZERO(applicationIdData, ApplicationIdData), ZERO(putTime, PutTime),
            ZERO(putApplicationName, PutApplicationName), WORD(feedback, Feedback),
            ZERO(applicationOriginData, ApplicationOriginData),
            BYTES(accountingToken, AccountingToken, "ZebMessageTracker", ""),
            BYTES(correlationId, CorrelationId, "ZebMessageTracker", ""),
            BYTES(groupId, GroupId, "ZebMessageTracker", ""),
            BYTES(messageId, MessageId, "ZebMessageTracker", "")};
    } else if constexpr (std::is_same_v<R, void>) {
        return {};
    } else if constexpr (!std::is_same_v<C, Channel>) {
        std::vector<Field> fields{WORD(options, Options), ZERO(resolvedQueueName, ResolvedQueueName)};
        if constexpr (std::is_same_v<C, ZebGmo3>) {
            fields.push_back(BYTES(messageToken, MessageToken, "ZebGetMessageOptions", ""));
        }
        return fields;
    } else {
        return {ZERO(channelName, ChannelName), ZERO(password, Password), ZERO(userId, UserId),
            ZERO(localAddress, LocalAddress), ZERO(modeName, ModeName),
            ZERO(securityExitName, SecurityExitName), ZERO(securityUserData, SecurityUserData),
            ZERO(sslCipherSpecification, SslCipherSpecification),
            ZERO(transactionProgramName, TransactionProgramName),
            WORD(batchHeartBeat, BatchHeartBeat), WORD(heartBeatInterval, HeartBeatInterval),
            WORD(keepAliveInterval, KeepAliveInterval), WORD(transportType, TransportType),
            WORD(maximumMessageLength, MaximumMessageLength),
            WORD(sslClientAuthentication, SslClientAuthentication)};
    }
}
// clang-format on

template <class C, class R> Class classOf(const char * name, const char * id, const char * format) {
    Class row{name, id, format, fieldsOf<C, R>(), {}, {}, {}, {}};
    row.make = [] { // in memory that was used before, for other things each time
        static int used = 0xA5;
        void * const memory = ZebErr::operator new(sizeof(C));
        std::memset(memory, used ^= 0xFF, sizeof(C));
        return std::unique_ptr<ZebErr>(::new (memory) C);
    };
    row.assign = [](ZebErr & target, const ZebErr & source) {
        dynamic_cast<C &>(target) = dynamic_cast<const C &>(source);
    };
    row.imageOf = [](const ZebErr & object) {
        C copy(dynamic_cast<const C &>(object));
        EXPECT_EQ(codes(copy), codes(object));
        if constexpr (std::is_base_of_v<ZebItm, C>) {
            // Writing takes the description of the message, so that is made equal first.
            ZebMsg message;
            if constexpr (std::is_base_of_v<ZebHdr, C>) {
                fill(message, textOf(copy.format()), "", copy.encoding(), copy.characterSet());
            }
            EXPECT_TRUE(copy.copyOut(message));
            return dataOf(message);
        } else {
            return string(reinterpret_cast<const char *>(&copy.record()), sizeof copy.record());
        }
    };
    row.load = [](ZebErr & object, const string & bytes, const string & messageFormat) {
        auto & target = dynamic_cast<C &>(object);
        if constexpr (std::is_base_of_v<ZebItm, C>) {
            ZebMsg message;
            fill(message, messageFormat, bytes);
            EXPECT_TRUE(target.pasteIn(message));
        } else {
            std::memcpy(&target.record(), bytes.data(), bytes.size());
        }
    };
    row.image = row.imageOf(*row.make());
    return row;
}

const std::vector<Class> classes = {
    classOf<ZebDlh, ZBDLH>("ZebDeadLetterHeader", "DLH ", "ZBDEAD  "),
    classOf<ZebTih, ZBTIH>("ZebTPMXBridgeHeader", "TIH ", "ZBTPMX  "),
    classOf<ZebHih, ZBHIH>("ZebHSXBridgeHeader", "HIH ", "ZBHSX   "),
    classOf<ZebWih, ZBWIH>("ZebWorkHeader", "WIH ", "ZBHWIH  "),
    classOf<ZebRfh, ZBRMH>("ZebReferenceHeader", "RMH ", "ZBHREF  "),
    classOf<ZebTrg, ZBTM>("ZebTrigger", "TM  ", "ZBTRIG  "),
    classOf<ZebStr, void>("ZebString", "", "ZBSTR   "),
    classOf<ZebBin, void>("ZebBinary", "", "        "),
    classOf<Message, ZBMD>("", "MD  ", ""),
    classOf<ZebGmo, ZBGMO>("", "GMO ", ""),
    classOf<ZebGmo3, ZBGMO3>("", "GMO ", ""),
    classOf<Channel, ::ZBCD>("", "", ""),
};
const std::vector<Class> items(classes.begin(), classes.begin() + 8);
constexpr std::size_t recordItems = 6; // come first, and then the two values
const Class &tih = items[1], &rfh = items[4], &trg = items[5];

using Four = std::array<string, 4>; // the texts of a reference header, as they stand behind it

void setTexts(ZebRfh & header, const Four & texts) {
    header.setSourceEnvironment(texts[0].c_str());
    header.setSourceName(texts[1].c_str());
    header.setDestinationEnvironment(texts[2].c_str());
    header.setDestinationName(texts[3].c_str());
}

// Everything that has a setter, set to a pattern of its own.
std::unique_ptr<ZebErr> dressed(const Class & c) {
    auto object = c.make();
    char letter = 'A';
    for (const Field & field : c.fields) {
        if (field.set != nullptr) {
            field.set(*object, string(field.width, letter++).c_str());
        }
    }
    if (auto * header = dynamic_cast<ZebRfh *>(object.get())) {
        setTexts(*header, {"source", "s", "", "destination"});
    } else if (auto * text = dynamic_cast<ZebStr *>(object.get())) {
        text->set("a text", 6);
    } else if (auto * bytes = dynamic_cast<ZebBin *>(object.get())) {
        bytes->set("\0bytes", 7);
    }
    return object;
}

// ---- Records and accessors ----------------------------------------------------------------------

TEST(Records, BeginWithTheirImageAndTravelWholeWithTheCodes) {
    for (const Class & c : classes) {
        SCOPED_TRACE(c.id + c.name);
        EXPECT_EQ(c.imageOf(*c.make()), c.image); // in other memory
        const auto object = dressed(c), changed = dressed(c);
        const string image = c.imageOf(*object);
        EXPECT_NE(image, c.image);
        struct Coded : ZebErr {
            Coded() { setErrorCodes(6117, 2); }
        };
        static_cast<ZebErr &>(*object) = Coded();
        const auto target = c.make();
        c.assign(*target, *object);
        c.assign(*object, *object);
        c.assign(*changed, *c.make());
        EXPECT_EQ(c.imageOf(*changed), c.image);
        for (const ZebErr * each : {object.get(), target.get()}) {
            EXPECT_EQ(c.imageOf(*each), image);
            EXPECT_EQ(codes(*each), "2:6117");
        }
    }
}

TEST(Records, FieldsAreCutPaddedAndReadInTheirPlaceAlone) {
    const string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHI";
    for (const Class & c : classes) {
        const bool reports = c.id.empty(); // the one class whose setters tell of trouble
        for (const Field & field : c.fields) {
            SCOPED_TRACE(c.id + " at " + std::to_string(field.offset));
            const bool isText = field.rule != 'w';
            const string full = isText ? string(field.width - 1, 'x') + 'y'
                                       : "\xF0\0\1\x92"s + string(field.width, '\x81');
            const auto holds = [&](const ZebErr & object, const string & bytes) {
                EXPECT_EQ(c.imageOf(object), with(c.image, field.offset, bytes));
                EXPECT_EQ(field.get(object), field.read(bytes));
            };
            for (const string & value : {full, "ab"s, " a  "s, full + 'z', ""s}) {
                if (field.set == nullptr || (!isText && value != full)) {
                    continue;
                }
                const auto object = c.make();
                const PageEnd page(value + '\0');
                field.set(*object, page.data());
                holds(*object, fitted(value, field.width, field.pad()));
                const bool isCut = isText && reports && value.size() > field.width;
                EXPECT_EQ(codes(*object), isCut ? "1:6115" : "0:0");
                const string kept = c.imageOf(*object);
                for (std::size_t check = 1; isText && check <= (reports ? 2 : 1); ++check) {
                    const string side = !reports ? "" : check == 1 ? "target " : "source ";
                    Recording recording;
                    recording.refuseCheck(check);
                    field.set(*object, "new");
                    EXPECT_EQ(recording.texts(),
                              Texts{"ZebString::copy (error): " + side + "buffer error"});
                    EXPECT_EQ(recording.lines()[0], "check 2 " + std::to_string(field.width));
                    EXPECT_EQ(codes(*object), !reports ? "0:0" : check == 1 ? "2:2146" : "2:2145");
                    recording.refuseCheck(0);
                    EXPECT_EQ(c.imageOf(*object), kept);
                }
                field.set(*object, nullptr);
                holds(*object, string(field.width, field.pad()));
                EXPECT_EQ(codes(*object), reports && isText ? "2:2145" : "0:0");
            }
            for (const string & value : {full, "q  "s, "q\0z "s, "  "s, "\0zz"s}) {
                const auto object = c.make();
                const string bytes = fitted(value, field.width, isText ? ' ' : '\x7F');
                if (c.isItem() && field.offset == c.descriptionAt() + 8) {
                    continue; // a format ends at its first zero byte when it is written again
                }
                c.load(*object, with(c.image, field.offset, bytes), c.format);
                holds(*object, bytes);
                EXPECT_EQ(codes(*object), "0:0");
            }
            // Bytes come in their width or not at all.
            for (const std::size_t length :
                 {field.width, field.width - 1, field.width + 1, std::size_t(1), std::size_t(0)}) {
                if (field.setValue == nullptr) {
                    continue;
                }
                const auto object = c.make();
                field.set(*object, string(field.width, 'o').c_str());
                const string value = letters.substr(0, length);
                const bool isTaken = length == 0 || length == field.width;
                const ZebBin bytes(value.data(), length);
                Recording recording;
                FailAllocations noStorage(1, FailAllocations::fromThere);
                EXPECT_EQ(field.setValue(*object, bytes), isTaken);
                noStorage.stop();
                EXPECT_EQ(codes(*object), isTaken ? "0:0" : "2:6111");
                const bool isSilent = isTaken || field.refusal == nullptr;
                EXPECT_EQ(recording.texts(), isSilent ? Texts{} : Texts{field.refusal});
                holds(*object,
                      isTaken ? fitted(value, field.width, '\0') : string(field.width, 'o'));
            }
        }
    }
}

// ---- Reading ------------------------------------------------------------------------------------

// What a reader is to make of the data from its cursor on, by a plain model of each class.
struct Outcome {
    std::int32_t reason = 0;
    Texts traces;
    std::size_t taken = 0; // how far the cursor moves
    string record;         // what the reader then writes
    bool onMessage = false;
};

const Four held = {"A", "BB", "", "D"}; // by a reader of references

// A reference as it is written: these fixed bytes, and texts that end at their first zero byte.
string reference(const string & fixed, const Four & texts) {
    string behind, places;
    for (const string & text : texts) {
        const string kept = text.c_str();
        places += words({std::int32_t(kept.size()), std::int32_t(108 + behind.size())});
        behind += kept;
    }
    const string record = with(fixed.substr(0, 108), 64, places);
    return with(record, 8, word(std::int32_t(108 + behind.size()))) + behind;
}

Outcome referenceOutcome(const string & data, std::size_t bufferRest) {
    const string says = "ZebReferenceHeader::pasteIn (error): ";
    if (data.size() < 108) {
        return {6114, {says + "insufficient data"}, 0, reference(rfh.image, held)};
    }
    Four texts = held;
    std::int64_t end = 108;
    bool inside = true;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::int64_t length = wordAt(&data[64 + 8 * i]), offset = wordAt(&data[68 + 8 * i]);
        if (length > 0 && (offset < 0 || offset + length > std::int64_t(data.size()))) {
            inside = false;
        } else if (length > 0) {
            texts[i] = data.substr(std::size_t(offset), std::size_t(length));
            end = std::max(end, offset + length);
        }
    }
    const std::int32_t structureLength = wordAt(&data[8]);
    const string record = reference(data, texts);
    if (!inside) {
        return {6114, {says + "insufficient data"}, 0, record};
    }
    if (end > structureLength) {
        return {6123, {says + "structure length error"}, 0, record};
    }
    if (std::size_t(structureLength) > bufferRest) {
        const string refusal = "ZebCache::resizeBuffer (error): user buffer cannot be resized";
        return {6112, {refusal}, 0, record, true};
    }
    return {0, {}, std::size_t(structureLength), record};
}

Outcome outcomeOf(const Class & c, const string & data, std::size_t bufferRest, bool wrongEncoding,
                  bool wrongFormat) {
    const string former = &c == &rfh ? reference(c.image, held) : c.image;
    const string says = c.name + "::pasteIn (error): wrong ";
    if (data.substr(0, 4) != c.id) {
        const string differs = "ZebItem::structureIdIs (information): structure id is not equal";
        return {6107, {differs, says + "structure id"}, 0, former};
    }
    if (wrongEncoding) {
        return {6106, {says + "message encoding"}, 0, former};
    }
    if (wrongFormat) {
        return {6119, {says + "message format"}, 0, former};
    }
    if (&c == &rfh) {
        return referenceOutcome(data, bufferRest);
    }
    std::size_t length = c.image.size();
    if (&c == &tih && data.size() >= 8) {
        const std::int32_t version = wordAt(&data[4]);
        if (version != 1 && version != 2) {
            return {6128, {}, 0, former};
        }
        length = version == 1 ? 164 : 180;
    }
    if (data.size() < length) { // the one header that is read in two steps stays behind the first
        const std::size_t passed = &c == &tih ? 4 : 0;
        return {6114, {"ZebCache::read (error): insufficient data"}, passed, former, true};
    }
    const string record = data.substr(0, length);
    return {0, {}, length, &c == &tih ? with(record, 8, word(std::int32_t(length))) : record};
}

TEST(Reading, DamagedRecordsOfAllClassesAtTheEndOfAPageGoTheModelsWay) {
    std::mt19937 random(4711);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const std::int32_t edges[] = {0,   1,   2,   3,   -1,   4,     107,
                                  108, 109, 164, 180, most, least, most - 108};
    std::array<std::size_t, recordItems> accepted{}, refused{};
    for (int round = 0; round < 20000; ++round) {
        const std::size_t which = below(recordItems);
        const Class & c = items[which];
        string data = c.imageOf(*dressed(c)) + string(below(20), 'b');
        for (std::size_t damage = below(4); damage > 0; --damage) {
            const std::size_t at = below(std::min<std::size_t>(data.size(), 128));
            const std::int32_t near = std::int32_t(data.size()) + std::int32_t(below(3)) - 1;
            const string value = word(below(2) == 0 ? near : edges[below(std::size(edges))]);
            const std::size_t kind = below(4);
            if (kind == 0) {
                data[at] = static_cast<char>(below(256));
            } else if (kind == 1) {
                data.resize(1 + below(data.size() + 1), 'c');
            } else if (kind == 2 && &c == &rfh && data.size() >= 108) {
                data.replace(below(8) == 0 ? 8 : 64 + 4 * below(8), 4, value);
            } else {
                data.replace(at & ~std::size_t(3), 4, value);
            }
        }
        const bool wrongEncoding = below(20) == 0, wrongFormat = below(20) == 0;
        const std::size_t cursor = below(8), rest = below(2) * 8;
        PageEnd memory(string(cursor, 'f') + data + string(rest, 'r'));
        memory.makeReadOnly();
        ZebMsg message;
        fill(message, wrongFormat ? c.format.substr(0, 7) + 'x' : c.format, "",
             wrongEncoding ? 273 : 546, 1208);
        message.useFullBuffer(memory.data(), memory.size());
        message.setMessageLength(cursor + data.size());
        message.setDataOffset(cursor);
        const string before = stateOf(message), described = description(message);
        const auto reader = c.make();
        if (auto * header = dynamic_cast<ZebRfh *>(reader.get())) {
            setTexts(*header, held);
        }
        Outcome expected = outcomeOf(c, data, data.size() + rest, wrongEncoding, wrongFormat);
        Recording recording;
        // Only the texts of a reference need storage: a description is handed on without it.
        const bool lean = &c != &rfh && below(2) == 0;
        FailAllocations noStorage(lean ? 1 : 0, FailAllocations::fromThere);
        const bool result = dynamic_cast<ZebItm &>(*reader).pasteIn(message);
        noStorage.stop();
        SCOPED_TRACE(c.name + " in round " + std::to_string(round));
        ASSERT_EQ(recording.texts(), expected.traces);
        ASSERT_EQ(result, expected.reason == 0);
        const string wanted = result ? "0:0" : "2:" + std::to_string(expected.reason);
        ASSERT_EQ(codes(*reader), wanted);
        ASSERT_EQ(codes(message), expected.onMessage ? wanted : "0:0");
        ASSERT_EQ(message.dataOffset(), cursor + expected.taken);
        string handed = described;
        if (c.isHeader()) {
            const std::size_t at = c.descriptionAt(); // a format ends at its first zero byte
            const string format = fitted(expected.record.substr(at + 8, 8).c_str(), 8, ' ');
            expected.record = with(expected.record, at + 8, format);
            handed = result ? expected.record.substr(at, 16) : described;
        }
        ASSERT_EQ(description(message), handed);
        ASSERT_EQ(c.imageOf(*reader), expected.record);
        if (!result) {
            message.setDataOffset(cursor);
            ASSERT_EQ(stateOf(message), before);
        }
        ++(result ? accepted : refused)[which];
    }
    EXPECT_GT(*std::min_element(accepted.begin(), accepted.end()), 400);
    EXPECT_GT(*std::min_element(refused.begin(), refused.end()), 400);
}

TEST(Reading, ATargetThatIsRefusedLeavesAllAsItWas) {
    for (const Class & c : items) {
        if (&c == &rfh || c.fields.empty()) {
            continue; // its record is taken without a look at the target; a value is cleared
        }
        SCOPED_TRACE(c.name);
        ZebMsg message;
        fill(message, c.format, c.imageOf(*dressed(c)));
        const string before = stateOf(message);
        const auto reader = c.make();
        Recording recording;
        recording.refuseCheck(1);
        EXPECT_FALSE(dynamic_cast<ZebItm &>(*reader).pasteIn(message));
        EXPECT_EQ(recording.texts(), Texts{"ZebError::checkWritePointer (error): buffer error"});
        EXPECT_EQ(codes(*reader) + ' ' + codes(message), "2:2004 2:2004");
        EXPECT_EQ(stateOf(message), before);
        recording.refuseCheck(0);
        EXPECT_EQ(c.imageOf(*reader), c.image);
    }
}

// ---- Writing ------------------------------------------------------------------------------------

// The plain steps of writing a record, on the operations of the message itself; `receiver` stands
// for the header that takes over the format.
bool writePlainly(const Class & c, string record, ZebMsg & receiver, ZebMsg & message) {
    const auto describe = [&] {
        message.setEncoding(546);
        message.setCharacterSet(0);
        message.setFormat(c.format.c_str());
    };
    std::vector<string> pieces;
    if (!c.isHeader()) {
        message.clearMessage();
        pieces = {record};
        if (!message.moreBytes(record.size())) {
            return false;
        }
        describe();
    } else {
        if (!message.moreBytes(record.size())) {
            return false;
        }
        const ZBMD & former = message.descriptor();
        receiver.setFormat(message.format().text());
        record = with(record, c.descriptionAt(),
                      words({former.encoding, former.characterSet}) +
                          string(receiver.descriptor().format, 8));
        pieces = {record.substr(0, c.image.size())};
        std::size_t at = c.image.size();
        for (std::size_t i = 0; at < record.size() && i < 4; ++i) {
            pieces.push_back(record.substr(at, std::size_t(wordAt(&record[64 + 8 * i]))));
            at += pieces.back().size();
        }
        pieces.push_back(dataOf(message));
        describe();
        message.clearMessage();
    }
    return std::all_of(pieces.begin(), pieces.end(), [&message](const string & piece) {
        return message.write(piece.size(), piece.data());
    });
}

TEST(Writing, EndsWhereThePlainStepsEndOrChangesNothingWithoutStorage) {
    std::mt19937 random(815);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    std::array<std::size_t, 3> outcomes{}; // written, refused, without storage
    for (int round = 0; round < 10000; ++round) {
        const Class & c = items[below(items.size())];
        const auto object = below(2) == 0 ? c.make() : dressed(c);
        const string record = c.imageOf(*object);
        const std::size_t length = record.size(), body = below(3) * below(300);
        const std::size_t cursor = below(body + 1);
        const std::size_t sums[] = {body,       length,   length + cursor,    length + body,
                                    2 * length, 2 * body, length + body + 100};
        const std::size_t room = std::max(body + 1, sums[below(7)] + below(3)) - 1;
        const bool automatic = below(2) == 0;
        string data, memory[] = {string(room, '#'), string(room, '#')};
        std::generate_n(std::back_inserter(data), body, [&] { return char(below(256)); });
        ZebMsg messages[2], &message = messages[0], &twin = messages[1];
        for (const std::size_t i : {0U, 1U}) {
            automatic ? messages[i].resizeBuffer(room)
                      : messages[i].useEmptyBuffer(memory[i].data(), room);
            fill(messages[i], "OLD", data, 273, 1208);
            messages[i].setDataOffset(cursor);
        }
        ZebMsg receiver;
        receiver.setFormat(c.isHeader() ? record.substr(c.descriptionAt() + 8, 8).c_str() : "");
        const string before = stateOf(message);
        const std::size_t check = below(3) == 0 ? 1 + below(9) : 0;
        Recording recording;
        recording.refuseCheck(check);
        FailAllocations noStorage(below(5) == 0 ? 1 : 0, below(2) == 0
                                                             ? FailAllocations::once
                                                             : FailAllocations::fromThere);
        const bool result = dynamic_cast<ZebItm &>(*object).copyOut(message);
        noStorage.stop();
        const Texts lines = recording.lines(), texts = recording.texts();
        recording.clear();
        SCOPED_TRACE(c.name + " in round " + std::to_string(round));
        ASSERT_EQ(codes(*object), codes(message));
        ++outcomes[noStorage.failed() ? 2 : result ? 0 : 1];
        if (noStorage.failed()) {
            ASSERT_FALSE(result);
            ASSERT_EQ(texts, Texts{"ZebCache::resizeBuffer (error): storage not available"});
            ASSERT_EQ(codes(message), "2:2071");
            recording.refuseCheck(0);
            ASSERT_EQ(c.imageOf(*object), record);
            if (!c.isHeader()) {
                twin.clearMessage();
            }
            ASSERT_EQ(stateOf(message), c.isHeader() ? before : stateOf(twin));
            continue;
        }
        recording.refuseCheck(check);
        ASSERT_EQ(result, writePlainly(c, record, receiver, twin));
        ASSERT_EQ(lines, recording.lines());
        ASSERT_EQ(stateOf(message), stateOf(twin));
        ASSERT_EQ(message.bufferLength(), twin.bufferLength());
        ASSERT_EQ(result ? "0:0" : codes(twin), codes(message));
    }
    EXPECT_GT(*std::min_element(outcomes.begin(), outcomes.end()), 300);
}

// A header of an application's own kind: the protocol goes through the virtual operations.
struct Spy : ZebDlh {
    mutable string calls;
    bool nameless = false;
    ZebMsg * moved = nullptr; // gets another buffer under its data when a format is set
    char room[100];

    std::int32_t characterSet() const override { return calls += "c", ZebDlh::characterSet(); }
    std::int32_t encoding() const override { return calls += "e", ZebDlh::encoding(); }
    ZebStr format() const override { return calls += "f", nameless ? ZebStr() : ZebDlh::format(); }
    std::int32_t headerFlags() const override { return 77; }
    void setCharacterSet(std::int32_t value) override {
        calls += 'C', ZebDlh::setCharacterSet(value);
    }
    void setEncoding(std::int32_t value) override { calls += 'E', ZebDlh::setEncoding(value); }
    void setFormat(const char * v) override {
        calls += "F:"s + v + ':', ZebDlh::setFormat(v);
        if (moved != nullptr) {
            moved->useEmptyBuffer(room, sizeof room);
        }
    }
};

TEST(Writing, DescriptionPassesThroughTheVirtualOperations) {
    Spy spy;
    ZebMsg message;
    fill(message, "OLD", "", 273, 1208);
    EXPECT_TRUE(spy.copyOut(message));
    EXPECT_EQ(spy.calls, "ECF:OLD     :");
    spy.calls.clear();
    message.setDataOffset(0);
    EXPECT_TRUE(spy.pasteIn(message));
    EXPECT_EQ(spy.calls, "ecf");
    // Where that format has no storage, the record's is handed on.
    fill(message, "ZBDEAD", "");
    FailAllocations noStorage(1, FailAllocations::fromThere);
    EXPECT_TRUE(spy.pasteIn(message));
    noStorage.stop();
    EXPECT_EQ(textOf(message.format()), "OLD     ");
    spy.nameless = true;
    fill(message, "ZBDEAD", "");
    EXPECT_TRUE(spy.pasteIn(message));
    EXPECT_EQ(textOf(message.format()), blanks(8));
    // Flags that no record holds still travel with an assignment, and with nothing else.
    ZebDlh plain;
    EXPECT_EQ(plain.headerFlags(), 0);
    plain = spy;
    EXPECT_EQ(plain.headerFlags(), 77);
    plain.setHeaderFlags(5);
    items[0].load(plain, items[0].image, "ZBDEAD");
    EXPECT_EQ(plain.headerFlags(), 5);

    // A buffer that a setter changed is asked for room anew.
    spy.moved = &message;
    const Recording recording;
    EXPECT_FALSE(spy.copyOut(message));
    EXPECT_EQ(recording.texts(), Texts{"ZebCache::moreBytes (error): insufficient buffer"});
    EXPECT_EQ(codes(spy) + ' ' + codes(message), "2:6113 2:6113");
    EXPECT_EQ(dataOf(message), "");
}

// ---- What one class has alone -------------------------------------------------------------------

TEST(Tih, VersionsOutsideAreRefusedInSilenceAndTheTailStaysUnderVersion1) {
    ZebTih header;
    const Recording recording;
    for (const std::int32_t version : {0, 3, -1}) {
        header.clearErrorCodes();
        EXPECT_FALSE(header.setVersion(version));
        EXPECT_EQ(codes(header), "2:6128");
        EXPECT_EQ(header.version(), 2);
    }
    header.setCursorPosition(7);
    EXPECT_TRUE(header.setVersion(1));
    header.setSpareWord2(8);
    const string first = with(with(tih.image, 4, word(1)), 8, word(164)).substr(0, 164);
    EXPECT_EQ(tih.imageOf(header), first);
    // Copies have the tail, and the written length follows the version back.
    ZebTih copy(header), assigned;
    assigned = header;
    for (ZebTih * each : {&header, &copy, &assigned}) {
        EXPECT_TRUE(each->setVersion(2));
        EXPECT_EQ(tih.imageOf(*each), with(tih.image, 164, words({7, 0, 0, 8})));
    }
    // Records of either version into one object; version 1 leaves its tail.
    const string second = with(tih.image, 164, word(99));
    for (const auto & [record, version, position] :
         {std::tuple(first, 1, 7), std::tuple(second, 2, 99), std::tuple(first, 1, 99)}) {
        tih.load(header, record + "body", tih.format);
        EXPECT_EQ(header.version(), version);
        EXPECT_EQ(header.cursorPosition(), position);
    }
    EXPECT_EQ(recording.texts(), Texts{});
}

TEST(Rfh, TextsAreLaidBehindTheRecordUpToTheirFirstZeroByte) {
    ZebRfh header;
    setTexts(header, {"ab", "cde", "", "f"});
    EXPECT_EQ(rfh.imageOf(header),
              with(with(rfh.image, 8, word(114)), 64, words({2, 108, 3, 110, 0, 113, 1, 113})) +
                  "abcdef");
    header.setSourceName(nullptr);
    EXPECT_EQ(rfh.imageOf(header), reference(rfh.image, {"ab", "", "", "f"}));
    const string places = words({4, 108, 0, 0, 0, 0, 0, 0});
    rfh.load(header, with(with(rfh.image, 8, word(112)), 64, places) + "ab\0c"s, rfh.format);
    EXPECT_EQ(told(header.sourceEnvironment()), "ab/4 0:0");
    EXPECT_EQ(told(ZebRfh(header).sourceEnvironment()), "ab/3 0:0");
    EXPECT_EQ(textOf(header.sourceName()) + textOf(header.destinationEnvironment()) + "/" +
                  textOf(header.destinationName()),
              "/f");
}

TEST(Rfh, StructureBeyondTheDataLengthensAnAutomaticMessage) {
    ZebRfh header;
    ZebMsg message;
    fill(message, rfh.format, with(rfh.image, 8, word(200)));
    EXPECT_TRUE(header.pasteIn(message));
    EXPECT_EQ(message.dataOffset(), 200);
    EXPECT_EQ(dataOf(message), with(rfh.image, 8, word(200)) + zeros(92));
}

TEST(Rfh, ATextWithoutStorageIsReportedOnTheTextAlone) {
    const string record = reference(rfh.image, {"abcd", "ab", "", ""});
    for (std::size_t n = 1; n <= 8; ++n) {
        SCOPED_TRACE(n);
        ZebRfh source, target, reader;
        setTexts(source, {"a", "b", "c", "d"});
        setTexts(target, {"four", "four", "four", "four"});
        setTexts(reader, {"A", "B", "C", "D"});
        // Two blocks for each text: that of a passing copy, without which nothing is left to take
        // over, and the text's own. They come in this order.
        const string failed = n % 2 == 1 ? "-/0 1:2071" : "four/5 2:2071";
        FailAllocations noStorage(n);
        target = source;
        noStorage.stop();
        EXPECT_EQ(told(target.destinationEnvironment()), n <= 2 ? failed : "c/2 0:0");
        EXPECT_EQ(told(target.destinationName()), n == 3 || n == 4 ? failed : "d/2 0:0");
        EXPECT_EQ(told(target.sourceEnvironment()), n == 5 || n == 6 ? failed : "a/2 0:0");
        EXPECT_EQ(told(target.sourceName()), n >= 7 ? failed : "b/2 0:0");
        ZebMsg message;
        fill(message, rfh.format, record);
        FailAllocations noText(n);
        EXPECT_TRUE(reader.pasteIn(message));
        noText.stop();
        EXPECT_EQ(told(reader.sourceEnvironment()), n == 1 ? "A/2 2:2071" : "abcd/5 0:0");
        EXPECT_EQ(told(reader.sourceName()), n == 2 ? "B/2 2:2071" : "ab/3 0:0");
        EXPECT_EQ(codes(target) + ' ' + codes(reader), "0:0 0:0");
    }
}

TEST(Trg, InCharactersIsBlankPaddedAndAlwaysWhole) {
    ZebTrg trigger;
    const auto characters = [&trigger](std::size_t failing = 0) {
        const PageEnd memory(string(732, '#'));
        FailAllocations noStorage(failing);
        EXPECT_TRUE(trigger.copyOut(reinterpret_cast<ZBTMC2 *>(memory.data())));
        noStorage.stop();
        EXPECT_EQ(noStorage.failed(), failing != 0);
        return string(memory.data(), memory.size());
    };
    const string plain = "TMC    2" + blanks(160) + "   0" + blanks(512) + blanks(48);
    EXPECT_EQ(characters(), plain);
    const std::pair<std::int32_t, const char *> numbers[] = {
        {7, "   7"},      {42, "  42"},   {4711, "4711"},  {-1, "  -1"}, {12345, "1234"},
        {-54321, "-543"}, {most, "2147"}, {least, "-214"}, {0, "   0"}};
    for (const auto & [number, shown] : numbers) {
        trigger.setTriggerWord168(number);
        EXPECT_EQ(characters(), with(plain, 168, shown));
    }
    for (std::size_t i = 0; i < 6; ++i) {
        const Field & field = trg.fields[i];
        field.set(trigger, " q ");
        EXPECT_EQ(characters(), with(plain, field.offset, " q"));
        field.set(trigger, string(field.width, 'f').c_str());
        EXPECT_EQ(characters(), with(plain, field.offset, string(field.width, 'f')));
        EXPECT_EQ(characters(i + 1), plain); // a text that can't be had is blank
        field.set(trigger, nullptr);
    }
    EXPECT_EQ(codes(trigger), "0:0");
    Recording recording;
    EXPECT_FALSE(trigger.copyOut(nullptr));
    EXPECT_EQ(recording.texts(), Texts{"ZebTrigger::copyOut (error): null pointer to ZBTMC2"});
    EXPECT_EQ(characters(), plain);
    EXPECT_EQ(codes(trigger), "2:6108");
    const Texts lines = recording.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "entry 31 57"), 6);
}

}
