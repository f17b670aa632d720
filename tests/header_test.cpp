#include "fuzz/record_model.hpp"
#include "headers/ZBDLH_layout.hpp"
#include "headers/ZBHIH_layout.hpp"
#include "headers/ZBRMH_layout.hpp"
#include "headers/ZBTIH_layout.hpp"
#include "headers/ZBTM_layout.hpp"
#include "headers/ZBWIH_layout.hpp"
#include "message/ZBMD_layout.hpp"
#include "options/ZBCD_layout.hpp"
#include "options/ZBGMO3_layout.hpp"
#include "support/failing_allocation.hpp"
#include "support/page_end.hpp"
#include "support/recording_zbcommon.hpp"

#include <array>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace {

using namespace support;
using model::reference;
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

// Memory as whatever a setter takes.
struct Memory {
    const char * bytes;
    operator const char *() const { return bytes; }
    operator const unsigned char *() const {
        return reinterpret_cast<const unsigned char *>(bytes);
    }
    operator std::int32_t() const { return wordAt(bytes); }
    operator char() const { return bytes != nullptr ? *bytes : '\0'; }
};

// A field of a record's layout and its accessors.
struct Field : zeb::FieldLayout {
    string (*get)(const ZebErr &);
    const char * setter = nullptr;
    void (*set)(ZebErr &, Memory) = nullptr;
    bool (*setValue)(ZebErr &, const ZebBin &) = nullptr;

    // The names of setters have their first letter in upper case.
    bool isNamed(const string & setterName) const {
        return string(name).substr(1) == setterName.substr(1);
    }
    // Its accessors look at other fields as well, or change them.
    bool isPartOfMore() const {
        const Texts names{"version", "connectionName", "sendExitCount", "receiveExitCount"};
        return std::find(names.begin(), names.end(), name) != names.end();
    }

    bool isText() const { return pad != zeb::FieldPad::none; }
    char fill() const { return pad == zeb::FieldPad::blank ? ' ' : '\0'; }
    // One text keeps its trailing blanks though zero bytes are its pad.
    string read(string bytes) const {
        bytes = isText() ? bytes.c_str() : bytes;
        const bool isStripped = pad == zeb::FieldPad::zero && name != "authenticator"s;
        while (isStripped && bytes.ends_with(' ')) {
            bytes.pop_back();
        }
        return bytes;
    }
};

template <class Value> string shown(const Value & value) {
    if constexpr (std::is_same_v<Value, ZebStr>) {
        return textOf(value);
    } else if constexpr (std::is_same_v<Value, ZebBin>) {
        return bytesOf(value);
    } else {
        return string(reinterpret_cast<const char *>(&value), sizeof value);
    }
}

struct Class : model::Kind {
    std::vector<Field> fields;
    std::unique_ptr<ZebErr> (*makeAnew)();
    void (*assign)(ZebErr &, const ZebErr &);
    string (*imageOf)(const ZebErr &);
    void (*load)(ZebErr &, const string &, const string & format);
    string image = {}; // of a new object

    bool isItem() const { return !format.empty(); }
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
// A row of a record's layout, where the class has an accessor of the field's name.
#define FIELD(name, offset, width, kind, pad)                                                      \
    if constexpr (requires(const C & object) { object.name(); }) {                                 \
        const auto get = [](const ZebErr & o) { return shown(dynamic_cast<const C &>(o).name()); };\
        fields.push_back({ZEB_LAYOUT_ROW(name, offset, width, kind, pad) get});                    \
    }
#define FIELDS(record)                                                                             \
    []<class C>(C *) {                                                                             \
        std::vector<Field> fields;                                                                 \
        record##_LAYOUT(FIELD)                                                                     \
        return fields;                                                                             \
    }
// The setters of a name go with its field, where the class has them.
#define SET(Name)                                                                                  \
    if constexpr (requires(C & object, Memory v) { object.set##Name(v); }) {                       \
        if (field.isNamed(#Name)) {                                                                \
            field.setter = "set" #Name;                                                            \
            field.set = [](ZebErr & o, Memory v) { dynamic_cast<C &>(o).set##Name(v); };           \
            if constexpr (requires(C & object, ZebBin v) { object.set##Name(v); }) {               \
                field.setValue =                                                                   \
                    [](ZebErr & o, const ZebBin & v) { return dynamic_cast<C &>(o).set##Name(v); };\
            }                                                                                      \
        }                                                                                          \
    }
template <class C> void addSetters(Field & field) {
    SET(ADSDescriptor) SET(AccountingToken) SET(ApplicationId) SET(ApplicationIdData)
    SET(ApplicationOriginData) SET(AttentionIdentifier) SET(Authenticator) SET(BatchHeartBeat)
    SET(BridgeCancelCode) SET(ChannelName) SET(CharacterSet) SET(ConversationalTask)
    SET(CorrelationId) SET(CursorPosition) SET(DeadLetterWord124) SET(DeadLetterWord8)
    SET(DestinationQueueManagerName) SET(DestinationQueueName) SET(Encoding) SET(EnvironmentData)
    SET(FacilityKeepTime) SET(FacilityLike) SET(FacilityToken) SET(Feedback) SET(Format)
    SET(GetWaitInterval) SET(GroupId) SET(HeaderFlags) SET(HeartBeatInterval) SET(InstanceId)
    SET(KeepAliveInterval) SET(LinkType) SET(LocalAddress) SET(LogicalTerminalOverride)
    SET(MaximumMessageLength) SET(MessageFormatServicesMapName) SET(MessageId) SET(MessageToken)
    SET(ModeName) SET(Options) SET(OutputDataLength) SET(Password) SET(ProcessName)
    SET(PutApplicationName) SET(PutDate) SET(PutTime) SET(QueueName) SET(ReferenceType)
    SET(ReplyToFormat) SET(ReplyToQueueManagerName) SET(ReplyToQueueName) SET(ResolvedQueueName)
    SET(SecurityExitName) SET(SecurityUserData) SET(ServiceName) SET(ServiceStep) SET(SpareArea)
    SET(SpareText1) SET(SpareText2) SET(SpareText3) SET(SpareText4) SET(SpareText5) SET(SpareWord1)
    SET(SpareWord2) SET(SslCipherSpecification) SET(SslClientAuthentication) SET(StartCode)
    SET(TailByte1) SET(TailByte2) SET(TailByte3) SET(TailByte4) SET(TailWord1) SET(TailWord2)
    SET(TailWord3) SET(TransactionIdentifier) SET(TransactionInstanceId) SET(TransactionProgramName)
    SET(TransportType) SET(TriggerData) SET(TriggerWord168) SET(UOWControl) SET(UserData)
    SET(UserId)
}
// clang-format on

template <class C, class Fields> Class classOf(const model::Kind & kind, const Fields & fieldsOf) {
    Class row{kind, fieldsOf(static_cast<C *>(nullptr)), {}, {}, {}, {}};
    std::erase_if(row.fields, [](const Field & field) { return field.isPartOfMore(); });
    for (Field & field : row.fields) {
        addSetters<C>(field);
    }
    row.makeAnew = [] { // in memory that was used before, for other things each time
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
            return model::imageOf(copy);
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
    row.image = row.imageOf(*row.makeAnew());
    return row;
}

#define NO_LAYOUT(FIELD) // a value has no record
const std::vector<Class> classes = {
    classOf<ZebDlh>(model::kinds[0], FIELDS(ZBDLH)),
    classOf<ZebTih>(model::kinds[1], FIELDS(ZBTIH)),
    classOf<ZebHih>(model::kinds[2], FIELDS(ZBHIH)),
    classOf<ZebWih>(model::kinds[3], FIELDS(ZBWIH)),
    classOf<ZebRfh>(model::kinds[4], FIELDS(ZBRMH)),
    classOf<ZebTrg>(model::kinds[5], FIELDS(ZBTM)),
    classOf<ZebStr>(model::kinds[6], FIELDS(NO)),
    classOf<ZebBin>(model::kinds[7], FIELDS(NO)),
    classOf<Message>({.name = "ZebMessageTracker", .id = "MD  "}, FIELDS(ZBMD)),
    classOf<ZebGmo>({.name = "ZebGetMessageOptions", .id = "GMO "}, FIELDS(ZBGMO)),
    classOf<ZebGmo3>({.name = "ZebGetMessageOptions", .id = "GMO "}, FIELDS(ZBGMO3)),
    classOf<Channel>({}, FIELDS(ZBCD)),
};
const std::vector<Class> items(classes.begin(), classes.begin() + 8);
constexpr std::size_t recordItems = 6; // come first, and then the two values
const Class &tih = items[1], &rfh = items[4], &trg = items[5];

void setTexts(ZebRfh & header, const Texts & texts) {
    header.setSourceEnvironment(texts[0].c_str());
    header.setSourceName(texts[1].c_str());
    header.setDestinationEnvironment(texts[2].c_str());
    header.setDestinationName(texts[3].c_str());
}

// Everything that has a setter, set to a pattern of its own.
std::unique_ptr<ZebErr> dressed(const Class & c) {
    auto object = c.makeAnew();
    char letter = 'A';
    for (const Field & field : c.fields) {
        if (field.set != nullptr) {
            field.set(*object, {string(field.width, letter++).c_str()});
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
        EXPECT_EQ(c.imageOf(*c.makeAnew()), c.image); // in other memory
        const auto object = dressed(c), changed = dressed(c);
        const string image = c.imageOf(*object);
        EXPECT_NE(image, c.image);
        struct Coded : ZebErr {
            Coded() { setErrorCodes(6117, 2); }
        };
        static_cast<ZebErr &>(*object) = Coded();
        const auto target = c.makeAnew();
        c.assign(*target, *object);
        c.assign(*object, *object);
        c.assign(*changed, *c.makeAnew());
        EXPECT_EQ(c.imageOf(*changed), c.image);
        for (const ZebErr * each : {object.get(), target.get()}) {
            EXPECT_EQ(c.imageOf(*each), image);
            EXPECT_EQ(codes(*each), "2:6117");
        }
    }
}

TEST(Records, FieldsAreCutPaddedAndReadInTheirPlaceAlone) {
    const string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHI";
    std::size_t shown = 0, set = 0, setByValue = 0;
    for (const Class & c : classes) {
        const bool reports = c.id.empty(); // the one class whose setters tell of trouble
        for (const Field & field : c.fields) {
            SCOPED_TRACE(c.id + " at " + std::to_string(field.offset));
            ++shown;
            set += field.set != nullptr ? 1 : 0;
            setByValue += field.setValue != nullptr ? 1 : 0;
            const bool isText = field.isText();
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
                const auto object = c.makeAnew();
                const PageEnd page(value + '\0');
                field.set(*object, {page.data()});
                holds(*object, fitted(value, field.width, field.fill()));
                const bool isCut = isText && reports && value.size() > field.width;
                EXPECT_EQ(codes(*object), isCut ? "1:6115" : "0:0");
                const string kept = c.imageOf(*object);
                for (std::size_t check = 1; isText && check <= (reports ? 2 : 1); ++check) {
                    const string side = !reports ? "" : check == 1 ? "target " : "source ";
                    Recording recording;
                    recording.refuseCheck(check);
                    field.set(*object, {"new"});
                    EXPECT_EQ(recording.texts(),
                              Texts{"ZebString::copy (error): " + side + "buffer error"});
                    EXPECT_EQ(recording.lines()[0], "check 2 " + std::to_string(field.width));
                    EXPECT_EQ(codes(*object), !reports ? "0:0" : check == 1 ? "2:2146" : "2:2145");
                    recording.refuseCheck(0);
                    EXPECT_EQ(c.imageOf(*object), kept);
                }
                field.set(*object, {nullptr});
                holds(*object, string(field.width, field.fill()));
                EXPECT_EQ(codes(*object), reports && isText ? "2:2145" : "0:0");
            }
            for (const string & value : {full, "q  "s, "q\0z "s, "  "s, "\0zz"s}) {
                const auto object = c.makeAnew();
                const string bytes = fitted(value, field.width, isText ? ' ' : '\x7F');
                if (c.isItem() && field.name == "format"s) {
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
                const auto object = c.makeAnew();
                field.set(*object, {string(field.width, 'o').c_str()});
                const string value = letters.substr(0, length);
                const bool isTaken = length == 0 || length == field.width;
                const ZebBin bytes(value.data(), length);
                Recording recording;
                FailAllocations noStorage(1, FailAllocations::fromThere);
                EXPECT_EQ(field.setValue(*object, bytes), isTaken);
                noStorage.stop();
                EXPECT_EQ(codes(*object), isTaken ? "0:0" : "2:6111");
                const bool isSilent = isTaken || field.name == "spareArea"s;
                const bool isLine = c.id == "TIH " || c.id == "WIH ";
                const string refusal = c.name + "::" + field.setter +
                                       " (error): binary data length error" + (isLine ? "\n" : "");
                EXPECT_EQ(recording.texts(), isSilent ? Texts{} : Texts{refusal});
                holds(*object,
                      isTaken ? fitted(value, field.width, '\0') : string(field.width, 'o'));
            }
        }
    }
    // None is left out because of its name.
    EXPECT_EQ(shown, 118U);
    EXPECT_EQ(set, 110U);
    EXPECT_EQ(setByValue, 10U);
}

// ---- Reading ------------------------------------------------------------------------------------

TEST(Reading, DamagedRecordsOfAllClassesAtTheEndOfAPageGoTheModelsWay) {
    std::mt19937 random(4711);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const std::int32_t edges[] = {0,   1,   2,   3,   -1,   4,     107,
                                  108, 109, 164, 180, most, least, most - 108};
    std::array<std::size_t, recordItems> accepted{}, refused{};
    for (int round = 0; round < 20000; ++round) {
        const std::size_t which = below(recordItems);
        const Class & c = items[which];
        const auto made = [&] { return below(2) == 0 ? c.makeAnew() : dressed(c); };
        string data = c.imageOf(*made()) + string(below(20), 'b');
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
        const auto object = made();
        auto & reader = dynamic_cast<ZebItm &>(*object);
        // Only the texts of a reference need storage: a description is handed on without it. Its
        // record is taken without a check of the target.
        const bool lean = &c != &rfh && below(2) == 0, isRefused = &c != &rfh && below(8) == 0;
        Recording recording;
        const auto pasteIn = [&] {
            recording.refuseCheck(isRefused ? 1 : 0);
            const FailAllocations noStorage(lean ? 1 : 0, FailAllocations::fromThere);
            const bool result = reader.pasteIn(message);
            recording.refuseCheck(0);
            return result;
        };
        const auto outcome = model::read(c, message, reader, pasteIn, isRefused);
        ASSERT_EQ(recording.texts(), outcome.traces) << c.name << " in round " << round;
        ++(outcome.reason == 0 ? accepted : refused)[which];
    }
    EXPECT_GT(*std::min_element(accepted.begin(), accepted.end()), 400);
    EXPECT_GT(*std::min_element(refused.begin(), refused.end()), 400);
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
    if (c.descriptionAt == 0) {
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
        record = with(record, c.descriptionAt,
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
        const auto object = below(2) == 0 ? c.makeAnew() : dressed(c);
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
        receiver.setFormat(c.descriptionAt != 0 ? record.substr(c.descriptionAt + 8, 8).c_str()
                                                : "");
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
            if (c.descriptionAt == 0) {
                twin.clearMessage();
            }
            ASSERT_EQ(stateOf(message), c.descriptionAt != 0 ? before : stateOf(twin));
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
    std::size_t failing = 0;
    for (const Field & field : trg.fields) {
        if (!field.isText()) {
            continue;
        }
        field.set(trigger, {" q "});
        EXPECT_EQ(characters(), with(plain, field.offset, " q"));
        field.set(trigger, {string(field.width, 'f').c_str()});
        EXPECT_EQ(characters(), with(plain, field.offset, string(field.width, 'f')));
        EXPECT_EQ(characters(++failing), plain); // a text that can't be had is blank
        field.set(trigger, {nullptr});
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
