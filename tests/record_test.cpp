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
#include "support/faulty_steps.hpp"
#include "support/page_end.hpp"

#include <array>
#include <limits>

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
// Alone a tracker has no record: what it gives to that of a message, and takes from one.
struct Tracker : ZebMtr {
    ZBMD record() const {
        ZebMsg message;
        static_cast<ZebMtr &>(message) = *this;
        return message.descriptor();
    }
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

// A field of a class's record and its accessors.
template <class C> struct Field : zeb::FieldLayout {
    string (*get)(const C &);
    void (*set)(C &, Memory) = nullptr;
    bool (*setValue)(C &, const ZebBin &) = nullptr;

    // The names of setters have their first letter in upper case.
    string setter() const {
        return string("set") + static_cast<char>(std::toupper(name[0])) + (name + 1);
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

// A value in plain bytes; of a record these are its image.
template <class Value> string shown(const Value & value) {
    if constexpr (std::is_same_v<Value, ZebStr>) {
        return textOf(value);
    } else if constexpr (std::is_same_v<Value, ZebBin>) {
        return bytesOf(value);
    } else {
        return string(reinterpret_cast<const char *>(&value), sizeof value);
    }
}

void fill(ZebMsg & message, const string & format, const string & data, std::int32_t encoding = 546,
          std::int32_t characterSet = 0) {
    message.setFormat(format.c_str());
    message.setEncoding(encoding);
    message.setCharacterSet(characterSet);
    message.write(data.size(), data.data());
    message.setDataOffset(0);
}

template <class... Values> string words(Values... values) {
    return (word(values) + ...);
}

template <class C> string imageOf(const C & object) {
    C copy(object);
    EXPECT_EQ(codes(copy), codes(object));
    if constexpr (std::is_base_of_v<ZebItm, C>) {
        return model::imageOf(copy);
    } else {
        return shown(copy.record());
    }
}

template <class C> void load(C & object, const string & bytes, const string & format) {
    if constexpr (std::is_base_of_v<ZebItm, C>) {
        ZebMsg message;
        fill(message, format, bytes);
        EXPECT_TRUE(object.pasteIn(message));
    } else if constexpr (std::is_same_v<C, Tracker>) {
        Message message;
        load(message, bytes, format);
        static_cast<ZebMtr &>(object) = message;
    } else {
        std::memcpy(&object.record(), bytes.data(), bytes.size());
    }
}

// A new object in memory that was used before, for other things each time.
template <class C> std::unique_ptr<C> anew() {
    static int used = 0xA5;
    void * const memory = ZebErr::operator new(sizeof(C));
    std::memset(memory, used ^= 0xFF, sizeof(C));
    return std::unique_ptr<C>(::new (memory) C);
}

template <class C> struct Class : model::Kind {
    std::vector<Field<C>> fields = {};
    string image = imageOf(*anew<C>()); // of a new object
};

// clang-format off
// A row of a record's layout, where the class has an accessor of the field's name.
#define FIELD(name, offset, width, kind, pad)                                                      \
    if constexpr (requires(const C & object) { object.name(); }) {                                 \
        fields.push_back({ZEB_LAYOUT_ROW(name, offset, width, kind, pad)                           \
                          [](const C & object) { return shown(object.name()); }});                 \
    }
#define FIELDS(record)                                                                             \
    []<class C>(std::vector<Field<C>> & fields) {                                                  \
        record##_LAYOUT(FIELD)                                                                     \
    }
// The setters of a name go with its field, where the class has them.
#define SET(Name)                                                                                  \
    if constexpr (requires(C & object, Memory v) { object.set##Name(v); }) {                       \
        if (field.setter() == "set" #Name) {                                                       \
            field.set = [](C & object, Memory v) { object.set##Name(v); };                         \
            if constexpr (requires(C & object, ZebBin v) { object.set##Name(v); }) {               \
                field.setValue = [](C & o, const ZebBin & v) { return o.set##Name(v); };           \
            }                                                                                      \
        }                                                                                          \
    }
template <class C> void addSetters(Field<C> & field) {
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

template <class C> Class<C> classOf(const model::Kind & kind, const auto & addFields) {
    Class<C> result{kind};
    addFields(result.fields);
    std::erase_if(result.fields, [](const Field<C> & field) {
        // Their accessors look at other fields as well, or change them.
        const Texts names{"version", "connectionName", "sendExitCount", "receiveExitCount"};
        return std::find(names.begin(), names.end(), field.name) != names.end();
    });
    std::for_each(result.fields.begin(), result.fields.end(), addSetters<C>);
    return result;
}

const std::tuple
    classes(classOf<ZebDlh>(model::kinds[0], FIELDS(ZBDLH)),
            classOf<ZebTih>(model::kinds[1], FIELDS(ZBTIH)),
            classOf<ZebHih>(model::kinds[2], FIELDS(ZBHIH)),
            classOf<ZebWih>(model::kinds[3], FIELDS(ZBWIH)),
            classOf<ZebRfh>(model::kinds[4], FIELDS(ZBRMH)),
            classOf<ZebTrg>(model::kinds[5], FIELDS(ZBTM)), Class<ZebStr>{model::kinds[6]},
            Class<ZebBin>{model::kinds[7]},
            classOf<Message>({.name = "ZebMessageTracker", .id = "MD  "}, FIELDS(ZBMD)),
            classOf<Tracker>({.name = "ZebMessageTracker", .id = "MD  "}, FIELDS(ZBMD)),
            classOf<ZebGmo>({.name = "ZebGetMessageOptions", .id = "GMO "}, FIELDS(ZBGMO)),
            classOf<ZebGmo3>({.name = "ZebGetMessageOptions", .id = "GMO "}, FIELDS(ZBGMO3)),
            classOf<Channel>({}, FIELDS(ZBCD)));

template <class Visit> void forEachClass(const Visit & visit) {
    std::apply([&visit](const auto &... each) { (visit(each), ...); }, classes);
}

void setTexts(ZebRfh & header, const std::array<const char *, 4> & texts) {
    header.setSourceEnvironment(texts[0]);
    header.setSourceName(texts[1]);
    header.setDestinationEnvironment(texts[2]);
    header.setDestinationName(texts[3]);
}

// Everything that has a setter, set to a pattern of its own.
template <class C> std::unique_ptr<C> dressed(const Class<C> & c) {
    auto object = anew<C>();
    char letter = 'A';
    for (const Field<C> & field : c.fields) {
        if (field.set != nullptr) {
            field.set(*object, {string(field.width, letter++).c_str()});
        }
    }
    if constexpr (std::is_same_v<C, ZebRfh>) {
        setTexts(*object, {"source", "s", "", "destination"});
    } else if constexpr (requires { object->set("bytes", 6); }) {
        object->set("bytes", 6);
    }
    return object;
}

// ---- Records and accessors ----------------------------------------------------------------------

TEST(Records, BeginWithTheirImageAndTravelWholeWithTheCodes) {
    forEachClass([]<class C>(const Class<C> & c) {
        SCOPED_TRACE(c.id + c.name);
        EXPECT_EQ(imageOf(*anew<C>()), c.image); // in other memory
        const auto object = dressed(c), changed = dressed(c), target = anew<C>();
        const string image = imageOf(*object);
        EXPECT_NE(image, c.image);
        struct Coded : ZebErr {
            Coded() { setErrorCodes(6117, 2); }
        };
        static_cast<ZebErr &>(*object) = Coded();
        *target = *object;
        *object = static_cast<const C &>(*object);
        *changed = *anew<C>();
        EXPECT_EQ(imageOf(*changed), c.image);
        for (const auto & each : {object.get(), target.get()}) {
            EXPECT_EQ(imageOf(*each), image);
            EXPECT_EQ(codes(*each), "2:6117");
        }
    });
}

TEST(Records, FieldsAreCutPaddedAndReadInTheirPlaceAlone) {
    std::array<std::size_t, 3> found{}; // fields, those that can be set, and by a value
    const auto tryField = [&found]<class C>(const Class<C> & c, const Field<C> & field) {
        SCOPED_TRACE(c.id + " at " + std::to_string(field.offset));
        const bool reports = c.id.empty(); // the one class whose setters tell of trouble
        const bool isText = field.isText();
        const string full = isText ? string(field.width - 1, 'x') + 'y'
                                   : "\xF0\0\1\x92"s + string(field.width, '\x81');
        const auto holds = [&](const C & object, const string & bytes) {
            EXPECT_EQ(imageOf(object), with(c.image, field.offset, bytes));
            EXPECT_EQ(field.get(object), field.read(bytes));
        };
        ++found[0];
        for (const string & value : {full, "q  "s, "q\0z "s, "  "s, "\0zz"s}) {
            if (!c.format.empty() && field.name == "format"s) {
                continue; // a format ends at its first zero byte when it is written again
            }
            C object;
            const string bytes = fitted(value, field.width, isText ? ' ' : '\x7F');
            load(object, with(c.image, field.offset, bytes), c.format);
            holds(object, bytes);
            EXPECT_EQ(codes(object), "0:0");
        }
        if (field.set == nullptr) {
            return;
        }
        ++found[1];
        for (const string & value : {full, "ab"s, " a  "s, full + 'z', ""s}) {
            if (!isText && value != full) {
                continue;
            }
            C object;
            const PageEnd page(value + '\0');
            field.set(object, {page.data()});
            holds(object, fitted(value, field.width, field.fill()));
            const bool isCut = isText && reports && value.size() > field.width;
            EXPECT_EQ(codes(object), isCut ? "1:6115" : "0:0");
            const string kept = imageOf(object);
            for (std::size_t check = 1; isText && check <= (reports ? 2 : 1); ++check) {
                const string side = !reports ? "" : check == 1 ? "target " : "source ";
                Recording recording;
                recording.refuseCheck(check);
                field.set(object, {"new"});
                EXPECT_EQ(recording.texts(),
                          Texts{"ZebString::copy (error): " + side + "buffer error"});
                EXPECT_EQ(recording.lines()[0], "check 2 " + std::to_string(field.width));
                EXPECT_EQ(codes(object), !reports ? "0:0" : check == 1 ? "2:2146" : "2:2145");
                recording.refuseCheck(0);
                EXPECT_EQ(imageOf(object), kept);
            }
            field.set(object, {nullptr});
            holds(object, string(field.width, field.fill()));
            EXPECT_EQ(codes(object), reports && isText ? "2:2145" : "0:0");
        }
        if (field.setValue == nullptr) {
            return;
        }
        ++found[2];
        // Bytes come in their width or not at all.
        for (const std::size_t length :
             {field.width, field.width - 1, field.width + 1, std::size_t(1), std::size_t(0)}) {
            C object, fresh;
            EXPECT_FALSE(field.setValue(fresh, ZebBin("x", 1)));
            holds(fresh, c.image.substr(field.offset, field.width));
            field.set(object, {string(field.width, 'o').c_str()});
            const string value = "abcdefghijklmnopqrstuvwxyzABCDEFGHI"s.substr(0, length);
            const ZebBin bytes(value.data(), length);
            const bool isTaken = length == 0 || length == field.width;
            Recording recording;
            FailAllocations noStorage(1, FailAllocations::fromThere);
            EXPECT_EQ(field.setValue(object, bytes), isTaken);
            noStorage.stop();
            EXPECT_EQ(codes(object), isTaken ? "0:0" : "2:6111");
            const bool isSilent = isTaken || field.name == "spareArea"s;
            const bool isLine = c.id == "TIH " || c.id == "WIH ";
            const string refusal = c.name + "::" + field.setter() +
                                   " (error): binary data length error" + (isLine ? "\n" : "");
            EXPECT_EQ(recording.texts(), isSilent ? Texts{} : Texts{refusal});
            holds(object, isTaken ? fitted(value, field.width, '\0') : string(field.width, 'o'));
        }
    };
    forEachClass([&](const auto & c) {
        std::for_each(c.fields.begin(), c.fields.end(),
                      [&](const auto & field) { tryField(c, field); });
    });
    // None is left out because of its name.
    EXPECT_EQ(found, (std::array<std::size_t, 3>{123, 115, 14}));
}

template <class C> struct Versioned : C { using C::setVersionSupported; };

// New objects have the version last supported in their class, and others that of their source.
TEST(Records, TakeTheVersionOfTheirClassAlone) {
    const auto versions = [] {
        const ZebMsg message;
        const ZebGmo gmo;
        const ZebGmo3 gmo3;
        return std::array{message.descriptor().version, gmo.record().version,
                          gmo3.record().version};
    };
    const std::array usual{2, 2, 3};
    const auto tryClass = [&]<class C>(const C & older, std::size_t which) {
        const string image = imageOf(older);
        auto changed = usual;
        changed[which] = 7;
        Versioned<C>::setVersionSupported(7);
        C assigned;
        assigned = older;
        EXPECT_EQ(versions(), changed);
        EXPECT_EQ(imageOf(C(older)), image);
        EXPECT_EQ(imageOf(assigned), image);
        Versioned<C>::setVersionSupported(usual[which]);
        EXPECT_EQ(versions(), usual);
    };
    Message carrier;
    carrier.setCarriedWord(INT64_MIN);
    EXPECT_EQ(ZebMsg(carrier).carriedWord(), INT64_MIN);
    tryClass(carrier, 0);
    tryClass(ZebGmo(), 1);
    tryClass(ZebGmo3(), 2);
}

// ---- Reading ------------------------------------------------------------------------------------

TEST(Reading, DamagedChainsGoTheModelsWay) {
    // Of each kind one that is new and one in which everything is set, with another of its kind to
    // come behind a header.
    std::vector<std::array<string, 2>> images;
    forEachClass([&images]<class C>(const Class<C> & c) {
        if constexpr (std::is_base_of_v<ZebItm, C>) {
            images.push_back({c.image, imageOf(*dressed(c))});
            for (string & image : images.back()) {
                if (c.descriptionAt != 0) {
                    image.replace(c.descriptionAt, 16, words(546, 1208) + c.format);
                }
            }
        }
    });
    walkUnderFaults(60000, [&images] {
        const std::size_t which = pick(images.size());
        const model::Kind & kind = model::kinds[which];
        const string first = pick(2) == 0 ? images[which][pick(2)] : "";
        string data = images[which][pick(4) == 0 ? 0 : 1] + string(pick(20), 'b');
        for (std::size_t damage = pick(4); damage > 0; --damage) {
            const auto size = static_cast<std::int32_t>(data.size());
            const std::int32_t values[] = {
                0,     1,          2,        3,    -1,       4,
                107,   108,        109,      164,  180,      most,
                least, most - 108, size - 1, size, size + 1, std::int32_t(pick(SIZE_MAX))};
            if (pick(4) == 0) {
                data.resize(pick(pick(2) == 0 ? 12 : data.size() + 2), 'c');
            } else {
                data.replace(std::min(data.size(), 4 * pick(32)), 4,
                             word(values[pick(std::size(values))]));
            }
        }
        ZebMsg message;
        fill(message, pick(20) == 0 ? "ZBHREF x" : kind.format, "", pick(20) == 0 ? 273 : 546,
             1208);
        const std::size_t stranger = pick(2) == 0 ? which : pick(8);
        return static_cast<char>(pick(2) << 5 | stranger << 2 | pick(4)) +
               shown(message.descriptor()) + first + data;
    });
}

// ---- Writing ------------------------------------------------------------------------------------

// A body that stays in its buffer is read where it was, one that moves to a new one where it is.
TEST(Writing, ChecksEveryRangeWhereItLies) {
    for (const bool grows : {true, false}) {
        ZebDlh header;
        ZebMsg message;
        message.resizeBuffer(grows ? 4 : 200);
        fill(message, "OLD", "body");
        const Recording recording;
        EXPECT_TRUE(header.copyOut(message));
        const std::vector<const void *> ranges = recording.pointers();
        EXPECT_EQ(recording.lines(), (Texts{"check 1 8", "check 2 8", "check 2 8", "check 1 172",
                                            "check 2 172", "check 1 4", "check 2 4"}));
        const char * const format = message.descriptor().format;
        const char * const record = static_cast<const char *>(ranges[3]);
        const char *const front = message.bufferPointer(), *const body = front + 172;
        EXPECT_EQ(ranges, (std::vector<const void *>{format, record + 116, format, record, front,
                                                     grows ? body : front, body}));
    }
}

// A header of an application's own kind: the protocol goes through the virtual operations.
struct Spy : ZebDlh {
    mutable string calls;
    bool nameless = false;

    std::int32_t characterSet() const override { return calls += "c", ZebDlh::characterSet(); }
    std::int32_t encoding() const override { return calls += "e", ZebDlh::encoding(); }
    ZebStr format() const override { return calls += "f", nameless ? ZebStr() : ZebDlh::format(); }
    std::int32_t headerFlags() const override { return 77; }
    void setCharacterSet(std::int32_t value) override {
        calls += 'C', ZebDlh::setCharacterSet(value);
    }
    void setEncoding(std::int32_t value) override { calls += 'E', ZebDlh::setEncoding(value); }
    void setFormat(const char * v) override { calls += "F:"s + v + ':', ZebDlh::setFormat(v); }
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
    load(plain, imageOf(ZebDlh()), "ZBDEAD");
    EXPECT_EQ(plain.headerFlags(), 5);
}

// One of the application's own that changes the message while it is written in front of it.
struct Clearing : ZebDlh {
    ZebMsg * message = nullptr;
    std::size_t room = 0;

    void setEncoding(std::int32_t) override {
        room = message->bufferLength();
        message->clearMessage();
    }
};

TEST(Writing, LosesNothingWhateverTheApplicationsSettersDo) {
    const string refusal = "ZebCache::resizeBuffer (error): storage not available";
    // Room for the header, the body aside, and room for the body.
    for (std::size_t n = 0; n <= 3; ++n) {
        SCOPED_TRACE(n);
        ZebMsg message;
        fill(message, "OLD", "0123456789");
        const ZBMD former = message.descriptor();
        Clearing header;
        header.message = &message;
        const Recording recording;
        FailAllocations noStorage(n);
        EXPECT_EQ(header.copyOut(message), n == 0);
        noStorage.stop();
        EXPECT_EQ(recording.texts(), n == 0 ? Texts{} : Texts{refusal});
        EXPECT_EQ(codes(header) + ' ' + codes(message), n == 0 ? "0:0 0:0" : "2:2071 2:2071");
        const bool isBegun = n == 0 || n == 3;
        EXPECT_EQ(header.room, isBegun ? 172U : 0U);
        EXPECT_EQ(shown(message.descriptor()) == shown(former), !isBegun);
        EXPECT_EQ(string(message.bufferPointer(), message.messageLength()),
                  (isBegun ? imageOf<ZebDlh>(header) : "") + (n == 3 ? "" : "0123456789"));
    }
    ZebMsg message;
    fill(message, "OLD", "0123456789");
    Clearing header;
    header.message = &message;
    Recording recording;
    recording.refuseCheck(4); // of the record, behind the format's on both sides
    EXPECT_FALSE(header.copyOut(message));
    EXPECT_EQ(recording.texts(), Texts{"ZebError::checkReadPointer (error): buffer error"});
    EXPECT_EQ(codes(header) + ' ' + codes(message), "2:2004 2:2004");
    EXPECT_EQ(message.messageLength(), 0U);
}

// ---- What one class has alone -------------------------------------------------------------------

TEST(Tih, VersionsOutsideAreRefusedInSilenceAndTheTailStaysUnderVersion1) {
    const string image = imageOf(ZebTih());
    ZebTih header, assigned;
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
    const string first = with(with(image, 4, word(1)), 8, word(164)).substr(0, 164);
    EXPECT_EQ(imageOf(header), first);
    // Copies have the tail, a record of version 1 leaves it, and the written length follows the
    // version back.
    assigned = header;
    ZebTih reader(header);
    EXPECT_TRUE(reader.setVersion(2));
    load(reader, first + "body", "ZBTPMX");
    for (ZebTih each : {header, assigned, reader}) {
        EXPECT_EQ(each.version(), 1);
        EXPECT_TRUE(each.setVersion(2));
        EXPECT_EQ(imageOf(each), with(image, 164, words(7, 0, 0, 8)));
    }
    EXPECT_EQ(recording.texts(), Texts{});
}

TEST(Rfh, TextsAreTakenOverAndLackStorageEachForItself) {
    ZebRfh source;
    setTexts(source, {"a", nullptr, "c", "d"});
    const Texts taken{"a/2 0:0", "-/0 0:0", "c/2 0:0", "d/2 0:0"};
    for (std::size_t n = 1; n <= 6; ++n) {
        SCOPED_TRACE(n);
        ZebRfh target;
        setTexts(target, {"four", "four", "four", "four"});
        // Two blocks for each text: that of a passing copy, without which nothing is left to take
        // over, and the text's own.
        constexpr std::size_t order[] = {2, 3, 0};
        Texts expected = taken;
        expected[order[(n - 1) / 2]] = n % 2 == 1 ? "-/0 1:2071" : "four/5 2:2071";
        FailAllocations noStorage(n);
        target = source;
        noStorage.stop();
        Texts held;
        for (const ZebStr & text : model::textsOf(target)) {
            held.push_back(told(text));
        }
        EXPECT_EQ(held, expected);
        EXPECT_EQ(codes(target), "0:0");
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
    for (const auto & field : std::get<Class<ZebTrg>>(classes).fields) {
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

TEST(Options, MapParticipationToBits) {
    const auto expectMapping = [](auto options, std::int32_t bits, std::int32_t others) {
        for (const bool participates : {true, false}) {
            options.setOptions(others | bits);
            EXPECT_EQ(options.syncPointParticipation(), (bits & 0x1002) != 0) << bits;
            options.setSyncPointParticipation(participates);
            EXPECT_EQ(options.options(), others | (participates ? 2 : 4)) << bits;
            EXPECT_EQ(options.syncPointParticipation(), participates);
        }
    };
    for (const std::int32_t bits : {0, 2, 4, 6, 0x1000, 0x1002, 0x1004, 0x1006}) {
        for (const std::int32_t others : {0, ~0x1006}) {
            expectMapping(ZebGmo(), bits, others);
            expectMapping(ZebGmo3(), bits, others);
        }
    }
}

// The version of the record's form stands ahead of the pointer to the record.
TEST(Options, KeepTheVersionOfTheirForm) {
    const ZebGmo3 options, copy(options);
    for (const ZebGmo3 * object : {&options, &copy}) {
        const char * const own = reinterpret_cast<const char *>(object) + sizeof(ZebErr);
        const ZBGMO3 * const record = &object->record();
        EXPECT_EQ(wordAt(own), 3);
        EXPECT_EQ(std::memcmp(own + 8, &record, sizeof record), 0);
    }
}

}
