// Sequences of operations on three channels, each against a plain model of what it holds.
#include "fuzz/step.hpp"
#include "support/checks.hpp"
#include "support/page_end.hpp"
#include "zebbase.hpp"

#include <array>
#include <cstddef>
#include <iterator>
#include <numeric>
#include <optional>

namespace {

using namespace support;
using std::size_t;
using std::string;
using Entry = std::optional<string>;
using Entries = std::vector<Entry>;

struct Channel : ZebChl {
    ::ZBCD & record() const { return *ZBCD(); }
    // All but what names the blocks behind the record: two counts, four arrays and the peer name.
    string rest() const {
        const string image(reinterpret_cast<const char *>(&record()), sizeof(::ZBCD));
        return with(with(with(image, 1508, zeros(8)), 1536, zeros(32)), 1720, zeros(12));
    }
};

// What there is of each exit, both in arrays of slots.
enum Part { name, data };
constexpr size_t slotWidths[] = {128, 32};
using Exit = std::array<string, 2>;
using Exits = std::vector<Exit>;

// The operations that there are twice, those on exits for each part of them; and where the record
// has the compressions.
struct Half {
    size_t (ZebChl::*count)() const;
    ZebStr (ZebChl::*readFirst[2])();
    bool (ZebChl::*read[2])(size_t, ZebStr * const[]);
    bool (ZebChl::*setFirst[2])(const char *);
    bool (ZebChl::*set[2])(size_t, const char * const[]);
    bool (ZebChl::*setStrings[2])(size_t, const ZebStr * const[]);
    bool (ZebChl::*setNull[2])(size_t, std::nullptr_t);
    char * ZBCD::*array[2];
    size_t (ZebChl::*compressionCount)() const;
    bool (ZebChl::*compression)(size_t, std::int32_t[]) const;
    bool (ZebChl::*setCompression)(size_t, const std::int32_t[]);
    size_t compressionAt, compressionSize;
};
#define HALF(way, Way, part, Part, at, size)                                                       \
    {                                                                                              \
        &ZebChl::way##ExitCount, {&ZebChl::way##ExitName, &ZebChl::way##UserData},                 \
            {&ZebChl::way##ExitNames, &ZebChl::way##UserData},                                     \
            {&ZebChl::set##Way##ExitName, &ZebChl::set##Way##UserData},                            \
            {&ZebChl::set##Way##ExitNames, &ZebChl::set##Way##UserData},                           \
            {&ZebChl::set##Way##ExitNames, &ZebChl::set##Way##UserData},                           \
            {&ZebChl::set##Way##ExitNames, &ZebChl::set##Way##UserData},                           \
            {&ZBCD::way##ExitNameArray, &ZBCD::way##UserDataArray},                                \
            &ZebChl::part##CompressionCount, &ZebChl::part##Compression,                           \
            &ZebChl::set##Part##Compression, at, size                                              \
    }
const Half halves[] = {HALF(receive, Receive, header, Header, 1792, 8),
                       HALF(send, Send, message, Message, 1800, 64)};

bool takeBlock() {
    return step.storage.strikes() ? throw std::bad_alloc() : true;
}

void obtain(Exits & list, size_t count) {
    list.clear();
    if (count != 0 && takeBlock() && takeBlock()) {
        list.assign(count, {zeros(slotWidths[name]), zeros(slotWidths[data])});
    }
}

// What a reader gives of a field: up to its first zero byte, without trailing blanks.
string stripped(const string & bytes) {
    string text = bytes.c_str();
    while (text.ends_with(' ')) {
        text.pop_back();
    }
    return text;
}

// A channel in plain terms. The receive list comes first, as in every order of steps.
struct Model : TracedCodes {
    std::array<Exits, 2> lists;
    Entry peer;
    string record; // all other bytes

    bool copy(string & field, const Entry & text, size_t width) {
        if ((width != 0 && !check(2, width, "ZebString::copy (error): target buffer error",
                                  ZBRC_TARGET_BUFFER_ERROR)) ||
            (text && !check(1, 1, "ZebString::copy (error): source buffer error",
                            ZBRC_SOURCE_BUFFER_ERROR))) {
            return false;
        }
        if (width != 0 && text.value_or("").size() > width) {
            traceCut("static ZebString::copy (warning): string truncated");
        }
        field = fitted(text.value_or(""), width, '\0');
        return true;
    }
    bool setField(size_t offset, size_t width, const Entry & text) {
        string field;
        return copy(field, text, width) && (record.replace(offset, width, field), true);
    }
    // A text is looked at only where it can be read, a string at once.
    bool isEmpty(const string & text, bool isString = false) {
        step.lines.insert(step.lines.end(), isString ? 0 : 1, "check 1 1");
        return (isString || !step.check.strikes()) && text.empty();
    }
    bool setNames(Exits & list, const Entries & texts, bool areStrings = false) {
        for (const Entry & text : texts) {
            if (!text || isEmpty(*text, areStrings)) {
                return report(text ? ZBRC_DATA_LENGTH_ERROR : ZBRC_NULL_POINTER);
            }
        }
        return set(list, name, texts);
    }
    // Names make the list and leave it without data.
    bool set(Exits & list, Part part, Entries texts) {
        if (part == data && texts.size() > list.size()) {
            return report(ZBRC_USER_DATA_COUNT_ERROR);
        }
        if (part == name && texts.size() != list.size()) {
            obtain(list, texts.size());
        }
        texts.resize(list.size());
        for (size_t i = 0; i < list.size(); ++i) {
            if ((part == name && !copy(list[i][name], texts[i], 128)) ||
                !copy(list[i][data], part == data ? texts[i] : Entry(), 32)) {
                return false;
            }
        }
        return true;
    }
    // Fills the strings that are there, each in a new block; those behind the list become empty.
    bool read(const Exits & list, Part part, Entries & strings) {
        bool isRead = true;
        for (size_t i = 0; i < strings.size(); ++i) {
            if (!strings[i] || i >= list.size()) {
                strings[i] = strings[i] ? Entry("") : Entry();
            } else if (!check(1, slotWidths[part],
                              "ZebError::checkReadPointer (error): buffer error",
                              ZBRC_BUFFER_ERROR)) {
                isRead = false;
            } else if (step.storage.strikes()) {
                isRead = trace("ZebString::setStorage (error): storage not available",
                               ZBRC_STORAGE_NOT_AVAILABLE);
            } else {
                strings[i] = list[i][part].c_str();
            }
        }
        return isRead;
    }
    bool setPeer(const Entry & text) {
        string block;
        if (text && !(copy(block, text, 0) && takeBlock() && copy(block, text, text->size()))) {
            return false;
        }
        peer = text;
        return true;
    }
    bool assign(const Model & source) {
        if (this == &source) {
            return true;
        }
        *this = source; // and then without what there is no storage for
        lists = {};
        peer.reset();
        for (const size_t half : {0U, 1U}) {
            obtain(lists[half], source.lists[half].size());
            lists[half] = source.lists[half];
        }
        if (source.peer) {
            takeBlock();
        }
        peer = source.peer;
        return true;
    }

    // A block with two owners would be released twice.
    void compareWith(const Channel & channel) const {
        const ::ZBCD & real = channel.record();
        CHECK(areThoseOf(channel));
        CHECK(channel.rest() == record);
        CHECK(textOf(channel.connectionName()) == stripped(record.substr(1024, 264)));
        for (const size_t at : {0U, 1U}) {
            const Half & half = halves[at];
            const Exits & list = lists[at];
            CHECK((channel.*half.count)() == list.size());
            for (const Part part : {name, data}) {
                string slots;
                for (const Exit & exit : list) {
                    slots += exit[part];
                }
                const char * const array = real.*half.array[part];
                CHECK((array == nullptr) == list.empty());
                CHECK(string(array, slots.size()) == slots);
            }
            const string entries = record.substr(half.compressionAt, half.compressionSize);
            CHECK((channel.*half.compressionCount)() ==
                  std::min(entries.find(word(-1)), entries.size()) / 4);
        }
        const string peerName = peer.value_or("");
        CHECK((real.sslPeerNamePointer != nullptr) == peer.has_value());
        CHECK(real.sslPeerNameLength == static_cast<std::int32_t>(peerName.size()));
        CHECK(string(real.sslPeerNamePointer, peerName.size()) == peerName);
        CHECK(textOf(channel.sslPeerName()) == stripped(peerName));
    }
};

struct Pair {
    std::unique_ptr<Channel> channel = std::make_unique<Channel>();
    Model model;

    // What has no accessor travels as well, and a pointer without an owner as a value.
    explicit Pair(char mark) {
        ::ZBCD & record = channel->record();
        std::memset(record.text32, mark, sizeof record.text32);
        std::memset(record.bytes1648, mark + 1, sizeof record.bytes1648);
        record.pointer1520 = &record;
        model.record = channel->rest();
    }
};

// A text or none, as long as some field or one byte off, with up to two blanks at its end.
Entry entryFrom(Input & input) {
    static constexpr size_t widths[] = {1, 3, 8, 12, 20, 32, 48, 64, 128, 264};
    const size_t byte = input.byte();
    if (byte < 8) {
        return {};
    }
    string text(widths[byte % 10] + byte / 10 % 3 - 1, ' ');
    const std::uint8_t first = input.byte();
    const size_t blanks = std::min<size_t>(text.size(), first % 3);
    std::iota(text.begin(), text.end() - static_cast<std::ptrdiff_t>(blanks),
              static_cast<char>(first));
    std::replace(text.begin(), text.end(), '\0', '0');
    return text;
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, size_t size) {
    Input input(bytes, size);
    std::array<Pair, 3> pairs{Pair('x'), Pair('X'), Pair('8')};
    while (!input.ended()) {
        const size_t which = input.byte(), where = input.byte();
        Pair & pair = pairs[where % 3];
        const Pair & other = pairs[where / 3 % 3];
        const size_t side = where >> 7;
        const Half & half = halves[side];
        const Part part = which >= 128 ? data : name;
        Model & model = pair.model;
        Channel & channel = *pair.channel;
        Exits & list = model.lists[side];
        std::unique_ptr<Channel> copy;

        Entries entries(input.byte() % 5);
        std::generate(entries.begin(), entries.end(), [&] { return entryFrom(input); });
        const size_t count = entries.size();
        std::vector<ZebStr> strings(count), targets(count, ZebStr("stale"));
        std::vector<const char *> texts(count + 1); // ends in a null
        std::vector<ZebStr *> stringPointers(count), targetPointers(count);
        Entries read(count);         // what the targets hold in the end
        Entries asStrings = entries; // an empty string has no text
        std::replace(asStrings.begin(), asStrings.end(), Entry(""), Entry());
        for (size_t i = 0; i < count; ++i) {
            if (entries[i]) {
                texts[i] = entries[i]->c_str();
                strings[i] = texts[i];
                stringPointers[i] = &strings[i];
                targetPointers[i] = &targets[i];
                read[i] = "stale";
            }
        }
        const char * const text = texts[0];
        const Entry first = count != 0 ? entries[0] : Entry();
        const size_t beyond = count > 2 ? SIZE_MAX : size_t{1} << 31; // no list has so many
        const size_t some = where % 2 == 0 ? beyond : count;

        // A caller's list of compressions, which ends with its memory.
        string held;
        for (const char value : input.bytes(input.byte() % 20)) {
            held += word(static_cast<std::uint8_t>(value) % 9 - 1);
        }
        const size_t length = held.size() / 4;
        const size_t taken = std::min(held.size(), half.compressionSize);
        const PageEnd memory(held);
        auto * const values =
            length != 0 ? reinterpret_cast<std::int32_t *>(memory.data()) : nullptr;

        const std::pair<Side, Side> operations[] = {
            {[&] { return (channel.*half.read[part])(count, targetPointers.data()); },
             [&] { return model.read(list, part, read); }},
            {[&] {
                 const char * const expected = list.empty() ? "" : list[0][part].c_str();
                 const ZebStr string = (channel.*half.readFirst[part])();
                 return string.completionCode() == 0 &&
                        std::strcmp(string.length() != 0 ? string.text() : "", expected) == 0;
             },
             [&] {
                 Entries one{""};
                 return model.read(list, part, one);
             }},
            {[&] { return (channel.*half.set[part])(count, texts.data()); },
             [&] {
                 return part == name ? model.setNames(list, entries)
                                     : model.set(list, part, entries);
             }},
            {[&] { return (channel.*half.setStrings[part])(count, stringPointers.data()); },
             [&] {
                 return part == name ? model.setNames(list, entries, true)
                                     : model.set(list, part, asStrings);
             }},
            {[&] { return (channel.*half.setFirst[part])(text); },
             [&] {
                 const bool isNone = part == name && (!first || model.isEmpty(*first));
                 return model.set(list, part, isNone ? Entries() : Entries{first});
             }},
            {[&] { return (channel.*half.set[part])(beyond, texts.data()); },
             [&] {
                 return model.report(part == name ? ZBRC_DATA_LENGTH_ERROR
                                                  : ZBRC_USER_DATA_COUNT_ERROR);
             }},
            {[&] { return (channel.*half.setNull[part])(some, nullptr); },
             [&] { // as with null entries; any count beyond the list is like the next one
                 const Entries nulls(std::min(some, list.size() + 1));
                 return part == name ? model.setNames(list, nulls) : model.set(list, part, nulls);
             }},
            {[&] {
                 return (channel.*half.read[part])(some, nullptr) &&
                        (channel.*half.setCompression)(count + 1, nullptr) &&
                        (channel.*half.compression)(some, nullptr);
             },
             [] { return true; }},
            {[&] { return channel.setSslPeerName(text); }, [&] { return model.setPeer(first); }},
            {[&] { return channel.setConnectionName(text); }, // a short field as well, set first
             [&] { return model.setField(192, 20, first) && model.setField(1024, 264, first); }},
            {[&] { return (channel.*half.setCompression)(length, values); },
             [&] {
                 model.record.replace(half.compressionAt, half.compressionSize,
                                      fitted(held.substr(0, taken), half.compressionSize, '\xFF'));
                 return true;
             }},
            {[&] { return (channel.*half.compression)(length, values); },
             [&] { return held.replace(0, taken, model.record, half.compressionAt, taken), true; }},
            {[&] { return channel = *other.channel, true; },
             [&] { return model.assign(other.model); }},
            {[&] { return copy.reset(new Channel(*other.channel)), true; },
             [&] {
                 takeBlock(); // for the object, and for its record
                 takeBlock();
                 Model made;
                 made.assign(other.model);
                 return model = made, true;
             }},
        };
        const auto & [real, plain] = operations[which % std::size(operations)];
        takeStep(real, plain);
        if (copy != nullptr) {
            pair.channel = std::move(copy);
        }
        CHECK(string(memory.data(), memory.size()) == held);
        for (size_t i = 0; i < count; ++i) {
            CHECK(textOf(targets[i]) == read[i].value_or("stale"));
        }
        for (const Pair & each : pairs) {
            each.model.compareWith(*each.channel);
        }
    }
    return 0;
}
