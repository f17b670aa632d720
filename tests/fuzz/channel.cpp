// Sequences of operations on three channels, each against a plain model of what it holds.
#include "fuzz/text_model.hpp"
#include "support/page_end.hpp"
#include "zebbase.hpp"

#include <array>
#include <deque>
#include <iterator>
#include <numeric>
#include <optional>

namespace {

using namespace support;
using model::Text;
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
enum Part { exitName, userData };
constexpr size_t slotWidths[] = {128, 32};
using List = std::array<string, 2>; // all slots of each part

// What there is twice: the receive list comes first, as in every order of steps.
constexpr char * ZBCD::*arrays[][2] = {{&ZBCD::receiveExitNameArray, &ZBCD::receiveUserDataArray},
                                       {&ZBCD::sendExitNameArray, &ZBCD::sendUserDataArray}};
constexpr size_t compressionAt[] = {1792, 1800}, compressionSizes[] = {8, 64};

// What `channel` calls so for this half of it, and for this part of the exits.
#define OF_HALF(one, other, rest, ...)                                                             \
    (half == 0 ? channel.one##rest(__VA_ARGS__) : channel.other##rest(__VA_ARGS__))
#define OF_PART(one, other, name, data, ...)                                                       \
    (part == exitName ? OF_HALF(one, other, name, __VA_ARGS__)                                     \
                      : OF_HALF(one, other, data, __VA_ARGS__))

bool takeBlock() {
    return step.storage.strikes() ? throw std::bad_alloc() : true;
}

size_t countOf(const List & list) {
    return list[userData].size() / slotWidths[userData];
}

void obtain(List & list, size_t count) {
    list = {};
    if (count != 0 && takeBlock() && takeBlock()) {
        list = {zeros(count * slotWidths[exitName]), zeros(count * slotWidths[userData])};
    }
}

// What a reader gives of a field.
Text stripped(const string & field) {
    Text text;
    text.set(field.data(), field.size());
    text.stripTrailing(' ');
    return text;
}

// A channel in plain terms.
struct Model : TracedCodes {
    std::array<List, 2> lists;
    Entry peer;
    string record; // all other bytes

    bool copy(string & bytes, size_t at, size_t width, const Entry & text) {
        return Text::copy(bytes.data() + at, width, text ? text->c_str() : nullptr, *this, '\0');
    }
    // A text is looked at only where it can be read, a string at once.
    bool isEmpty(const string & text, bool isString = false) {
        step.lines.insert(step.lines.end(), isString ? 0 : 1, "check 1 1");
        return (isString || !step.check.strikes()) && text.empty();
    }
    bool set(List & list, Part part, Entries texts, bool areStrings = false) {
        for (Entry & text : texts) {
            if (part == exitName && (!text || isEmpty(*text, areStrings))) {
                return report(text ? ZBRC_DATA_LENGTH_ERROR : ZBRC_NULL_POINTER);
            }
            if (areStrings && text == "") {
                text.reset(); // an empty string has no text
            }
        }
        return fill(list, part, texts);
    }
    // Names make the list and leave it without data.
    bool fill(List & list, Part part, Entries texts) {
        if (part == userData && texts.size() > countOf(list)) {
            return report(ZBRC_USER_DATA_COUNT_ERROR);
        }
        if (part == exitName && texts.size() != countOf(list)) {
            obtain(list, texts.size());
        }
        texts.resize(countOf(list));
        for (size_t i = 0; i != texts.size(); ++i) {
            if ((part == exitName && !copy(list[exitName], i * 128, 128, texts[i])) ||
                !copy(list[userData], i * 32, 32, part == userData ? texts[i] : Entry())) {
                return false;
            }
        }
        return true;
    }
    // Those behind the list become empty.
    bool read(const List & list, Part part, const std::vector<Text *> & targets) {
        bool isRead = true;
        for (size_t i = 0; i != targets.size(); ++i) {
            const size_t at = std::min(i * slotWidths[part], list[part].size());
            const string slot = list[part].substr(at, slotWidths[part]);
            if (targets[i] != nullptr && !targets[i]->set(slot.data(), slot.size())) {
                isRead = report(targets[i]->reason);
            }
        }
        return isRead;
    }
    bool setPeer(const Entry & text) {
        string block = text.value_or("");
        if (text &&
            !(copy(block, 0, 0, text) && takeBlock() && copy(block, 0, block.size(), text))) {
            return false;
        }
        peer = text;
        return true;
    }
    bool assign(const Model & source) {
        if (this != &source) {
            *this = source; // and then without what there is no storage for
            lists = {};
            peer.reset();
            for (const size_t half : {0U, 1U}) {
                obtain(lists[half], countOf(source.lists[half]));
                lists[half] = source.lists[half];
            }
            peer = source.peer && takeBlock() ? source.peer : Entry();
        }
        return true;
    }

    // A block with two owners would be released twice.
    void compareWith(Channel & channel) const {
        const ::ZBCD & real = channel.record();
        CHECK(areThoseOf(channel));
        CHECK(channel.rest() == record);
        CHECK(stripped(record.substr(1024, 264)).isLike(channel.connectionName()));
        for (const size_t half : {0U, 1U}) {
            for (const Part part : {exitName, userData}) {
                const string & slots = lists[half][part];
                const char * const array = real.*arrays[half][part];
                CHECK((array == nullptr) == slots.empty());
                CHECK(string(array, slots.size()) == slots);
                CHECK(textOf(OF_PART(receive, send, ExitName, UserData)) ==
                      slots.substr(0, slotWidths[part]).c_str());
            }
            CHECK(OF_HALF(receive, send, ExitCount) == countOf(lists[half]));
            const string entries = record.substr(compressionAt[half], compressionSizes[half]);
            CHECK(OF_HALF(header, message, CompressionCount) ==
                  std::min(entries.find(word(-1)), entries.size()) / 4);
        }
        const string peerName = peer.value_or("");
        CHECK((real.sslPeerNamePointer != nullptr) == peer.has_value());
        CHECK(real.sslPeerNameLength == static_cast<std::int32_t>(peerName.size()));
        CHECK(string(real.sslPeerNamePointer, peerName.size()) == peerName);
        CHECK(stripped(peerName).isLike(channel.sslPeerName()));
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
std::optional<string> entryFrom(Input & input) {
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
        const size_t half = where >> 7;
        const Part part = which >= 128 ? userData : exitName;
        Model & model = pair.model;
        Channel & channel = *pair.channel;
        List & list = model.lists[half];
        std::unique_ptr<Channel> copy;

        Entries entries(input.byte() % 5);
        std::vector<const char *> texts;
        std::vector<ZebStr *> strings, targets;
        std::vector<Text *> plainTargets;
        std::deque<ZebStr> given;
        std::deque<std::pair<ZebStr, Text>> filled;
        for (Entry & entry : entries) {
            entry = entryFrom(input);
            auto & [target, plainTarget] = filled.emplace_back("stale", "stale");
            texts.push_back(entry ? entry->c_str() : nullptr);
            strings.push_back(entry ? &given.emplace_back(texts.back()) : nullptr);
            targets.push_back(entry ? &target : nullptr);
            plainTargets.push_back(entry ? &plainTarget : nullptr);
        }
        texts.push_back(nullptr);
        const size_t count = entries.size();
        const Entry first = count != 0 ? entries[0] : Entry();
        const size_t beyond = count > 2 ? SIZE_MAX : size_t{1} << 31; // no list has so many
        const size_t some = where % 2 == 0 ? beyond : count;

        // A caller's list of compressions, which ends with its memory.
        string numbers;
        for (const char value : input.bytes(input.byte() % 20)) {
            numbers += word(static_cast<std::uint8_t>(value) % 9 - 1);
        }
        const size_t length = numbers.size() / 4;
        const size_t at = compressionAt[half], width = compressionSizes[half];
        const size_t taken = std::min(numbers.size(), width);
        const PageEnd memory(numbers);
        auto * const values =
            length != 0 ? reinterpret_cast<std::int32_t *>(memory.data()) : nullptr;

        const auto set = [&](size_t number, auto from) { // texts, strings or a null
            return OF_PART(setReceive, setSend, ExitNames, UserData, number, from);
        };
        const std::pair<Side, Side> operations[] = {
            {[&] { return OF_PART(receive, send, ExitNames, UserData, count, targets.data()); },
             [&] { return model.read(list, part, plainTargets); }},
            {[&] { return OF_PART(receive, send, ExitName, UserData).completionCode() == ZBCC_OK; },
             [&] {
                 Text target;
                 return model.read(list, part, {&target});
             }},
            {[&] { return set(count, texts.data()); },
             [&] { return model.set(list, part, entries); }},
            {[&] { return set(count, strings.data()); },
             [&] { return model.set(list, part, entries, true); }},
            {[&] { return OF_PART(setReceive, setSend, ExitName, UserData, texts[0]); },
             [&] {
                 const bool isNone = part == exitName && (!first || model.isEmpty(*first));
                 return model.fill(list, part, isNone ? Entries() : Entries{first});
             }},
            {[&] { return set(beyond, texts.data()); },
             [&] {
                 return model.report(part == exitName ? ZBRC_DATA_LENGTH_ERROR
                                                      : ZBRC_USER_DATA_COUNT_ERROR);
             }},
            // As with null entries; any count beyond the list is like the next one.
            {[&] { return set(some, nullptr); },
             [&] { return model.set(list, part, Entries(std::min(some, countOf(list) + 1))); }},
            {[&] {
                 return OF_PART(receive, send, ExitNames, UserData, some, nullptr) &&
                        OF_HALF(setHeader, setMessage, Compression, count + 1, nullptr) &&
                        OF_HALF(header, message, Compression, some, nullptr);
             },
             [] { return true; }},
            {[&] { return channel.setSslPeerName(texts[0]); },
             [&] { return model.setPeer(first); }},
            // A short field as well, which comes first.
            {[&] { return channel.setConnectionName(texts[0]); },
             [&] {
                 return model.copy(model.record, 192, 20, first) &&
                        model.copy(model.record, 1024, 264, first);
             }},
            {[&] { return OF_HALF(setHeader, setMessage, Compression, length, values); },
             [&] { return model.record.replace(at, width, fitted(numbers, width, '\xFF')), true; }},
            {[&] { return OF_HALF(header, message, Compression, length, values); },
             [&] { return numbers.replace(0, taken, model.record, at, taken), true; }},
            {[&] { return channel = *other.channel, true; },
             [&] { return model.assign(other.model); }},
            {[&] { return copy.reset(new Channel(*other.channel)), true; },
             [&] {
                 Model made; // whose object and record are blocks as well
                 return takeBlock() && takeBlock() && made.assign(other.model) &&
                        (model = made, true);
             }},
        };
        const auto & [real, plain] = operations[which % std::size(operations)];
        takeStep(real, plain);
        if (copy != nullptr) {
            pair.channel = std::move(copy);
        }
        CHECK(string(memory.data(), memory.size()) == numbers);
        for (const auto & [target, plainTarget] : filled) {
            CHECK(plainTarget.isLike(target));
        }
        for (const Pair & each : pairs) {
            each.model.compareWith(*each.channel);
        }
    }
    return 0;
}
