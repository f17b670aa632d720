#include "ZebChl.hpp"
#include "ZebTrc.hpp"

#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "support/page_end.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <random>

namespace {

using namespace support;
using std::size_t;
using std::string;

struct Channel : ZebChl {
    ::ZBCD & record() const { return *ZBCD(); }
    string image() const { return {reinterpret_cast<const char *>(&record()), 1888}; }
    // All but what names the blocks behind the record: two counts, four arrays and the peer name.
    string rest() const {
        return with(with(with(image(), 1508, zeros(8)), 1536, zeros(32)), 1720, zeros(12));
    }
};

struct Exit {
    string name, data;
};
using Exits = std::vector<Exit>;

#define GET(form, arguments)                                                                       \
    (sends ? channel.send##form arguments : channel.receive##form arguments)
#define SET(form, arguments)                                                                       \
    (sends ? channel.setSend##form arguments : channel.setReceive##form arguments)

// One direction's operations and fields.
struct Way {
    Channel & channel;
    bool sends;

    size_t count() const { return GET(ExitCount, ()); }
    ZebStr name() const { return GET(ExitName, ()); }
    ZebStr data() const { return GET(UserData, ()); }
    bool names(size_t n, ZebStr * const s[]) const { return GET(ExitNames, (n, s)); }
    bool data(size_t n, ZebStr * const s[]) const { return GET(UserData, (n, s)); }
    bool setName(const char * text) const { return SET(ExitName, (text)); }
    bool setData(const char * text) const { return SET(UserData, (text)); }
    bool setNames(size_t n, auto array) const { return SET(ExitNames, (n, array)); }
    bool setData(size_t n, auto array) const { return SET(UserData, (n, array)); }
    const char * nameArray() const {
        return sends ? channel.record().sendExitNameArray : channel.record().receiveExitNameArray;
    }
    const char * dataArray() const {
        return sends ? channel.record().sendUserDataArray : channel.record().receiveUserDataArray;
    }

    void expect(const Exits & exits) const {
        ASSERT_EQ(count(), exits.size());
        ASSERT_EQ(nameArray() == nullptr, exits.empty());
        ASSERT_EQ(dataArray() == nullptr, exits.empty());
        for (size_t i = 0; i < exits.size(); ++i) {
            ASSERT_EQ(string(nameArray() + 128 * i, 128), fitted(exits[i].name, 128, '\0'));
            ASSERT_EQ(string(dataArray() + 32 * i, 32), fitted(exits[i].data, 32, '\0'));
        }
    }
};

TEST(ChannelLists, FaultsAreFoundInOrderAndChangeNothing) {
    const char * const names[] = {"one", "two ", "three"};
    const char * const data[] = {"a", " ", "c"};
    for (const bool sends : {false, true}) {
        Channel channel;
        const Way way{channel, sends};
        const auto fails = [&](bool result, const char * codesThen) {
            EXPECT_FALSE(result);
            EXPECT_EQ(codes(channel), codesThen);
            channel.clearErrorCodes();
        };
        ASSERT_TRUE(way.setNames(3, names) && way.setData(3, data));
        Recording recording;
        fails(way.setNames(2, nullptr), "2:6108");
        fails(way.setNames(SIZE_MAX, nullptr), "2:6108");
        fails(way.setNames(size_t{1} << 31, names), "2:2010");
        fails(way.setNames(SIZE_MAX, names), "2:2010");
        fails(way.setData(SIZE_MAX, nullptr), "2:2316");
        EXPECT_TRUE(way.names(3, nullptr) && way.data(3, nullptr));
        EXPECT_TRUE(channel.setHeaderCompression(1, nullptr) &&
                    channel.setMessageCompression(1, nullptr));
        EXPECT_TRUE(channel.headerCompression(3, nullptr) &&
                    channel.messageCompression(3, nullptr));
        EXPECT_EQ(recording.lines(), Texts{}) << "nothing is said and nothing checked";
        EXPECT_EQ(channel.rest(), Channel().image());
        way.expect({{"one", "a"}, {"two ", " "}, {"three", "c"}});
        EXPECT_EQ(textOf(way.name()) + textOf(way.data()), "onea");
        recording.refuseCheck(1);
        EXPECT_EQ(codes(way.data()), "2:2004");
        EXPECT_EQ(codes(channel), "2:2004");
        EXPECT_TRUE(way.setData(3, nullptr));
        way.expect({{"one", ""}, {"two ", ""}, {"three", ""}});
        EXPECT_TRUE(way.setNames(0, nullptr));
        EXPECT_EQ(textOf(way.name()) + textOf(way.data()), "");
    }
}

TEST(ChannelPeerName, IsCheckedBeforeItIsCounted) {
    const PageEnd endless(std::string_view("xyz"));
    Channel channel;
    Recording recording;
    recording.refuseAddress(endless.data());
    EXPECT_FALSE(channel.setSslPeerName(endless.data()));
    EXPECT_EQ(codes(channel), "2:2145");
    EXPECT_EQ(channel.image(), Channel().image());
}

// ---- Random walk --------------------------------------------------------------------------------

using Entry = std::optional<string>;
using Entries = std::vector<Entry>;

// What goes wrong in a step, counted from 1, and the calls that it is to make.
struct Step {
    size_t failedBlock = 0, refusedCheck = 0;
    Texts lines = {};
} step;

void takeBlock() {
    if (step.failedBlock != 0 && --step.failedBlock == 0) {
        throw std::bad_alloc();
    }
}

bool mayUse(int mode, size_t length) {
    step.lines.push_back("check " + std::to_string(mode) + ' ' + std::to_string(length));
    return step.refusedCheck == 0 || --step.refusedCheck != 0;
}

void obtain(Exits & list, size_t count) {
    list.clear();
    if (count != 0) {
        takeBlock();
        takeBlock();
    }
    list.resize(count);
}

// A channel in plain terms. The receive list comes first, as in every order of steps.
struct Model {
    std::array<Exits, 2> lists;
    Entry peer;
    string connectionHead = zeros(20), connection = zeros(264);
    std::array<string, 2> compression = {string(8, '\xFF'), string(64, '\xFF')};
    string rest, codes = "0:0"; // all other bytes of the record

    bool fail(const char * newCodes, const char * text = nullptr) {
        codes = newCodes;
        if (text != nullptr) {
            step.lines.push_back(string("text ") + text);
        }
        return false;
    }
    bool copy(string & field, const Entry & text, size_t width) {
        if (width != 0 && !mayUse(2, width)) {
            return fail("2:2146", "ZebString::copy (error): target buffer error");
        }
        if (text && !mayUse(1, 1)) {
            return fail("2:2145", "ZebString::copy (error): source buffer error");
        }
        if (width != 0 && text.value_or("").size() > width) {
            fail("1:6115", "static ZebString::copy (warning): string truncated");
        }
        field = fitted(text.value_or(""), width, '\0');
        return true;
    }
    bool setNames(Exits & list, const Entries & names) {
        for (const Entry & name : names) {
            if (!name || name->empty()) {
                return fail(name ? "2:2010" : "2:6108");
            }
        }
        if (names.size() != list.size()) {
            obtain(list, names.size());
        }
        for (size_t i = 0; i < names.size(); ++i) {
            if (!copy(list[i].name, names[i], 128) || !copy(list[i].data, {}, 32)) {
                return false;
            }
        }
        return true;
    }
    bool setData(Exits & list, Entries data) {
        if (data.size() > list.size()) {
            return fail("2:2316");
        }
        data.resize(list.size());
        for (size_t i = 0; i < list.size(); ++i) {
            if (!copy(list[i].data, data[i], 32)) {
                return false;
            }
        }
        return true;
    }
    // Fills the strings that are there; those behind the list become empty.
    bool read(const Exits & list, string Exit::*part, size_t width, Entries & strings) {
        bool isRead = true;
        for (size_t i = 0; i < strings.size(); ++i) {
            if (strings[i] && i < list.size() && !mayUse(1, width)) {
                isRead = fail("2:2004", "ZebError::checkReadPointer (error): buffer error");
            } else if (strings[i]) {
                strings[i] = i < list.size() ? (list[i].*part).c_str() : "";
            }
        }
        return isRead;
    }
    bool setPeer(const Entry & name) {
        if (string block; name) {
            if (!copy(block, name, 0)) {
                return false;
            }
            takeBlock();
            if (!copy(block, name, name->size())) {
                return false;
            }
        }
        peer = name;
        return true;
    }
    bool assign(const Model & source) {
        if (this == &source) {
            return true;
        }
        *this = source; // and then without what there is no storage for
        lists = {};
        peer.reset();
        for (const size_t side : {0U, 1U}) {
            obtain(lists[side], source.lists[side].size());
            lists[side] = source.lists[side];
        }
        if (source.peer) {
            takeBlock();
        }
        peer = source.peer;
        return true;
    }
};

std::optional<bool> outcomeOf(const std::function<bool()> & operation) {
    try {
        return operation();
    } catch (const std::bad_alloc &) {
        return {};
    }
}

class Walk {
public:
    explicit Walk(unsigned seed) : random_(seed) {
        for (size_t at = 0; at < channels_.size(); ++at) {
            channels_[at] = std::make_unique<Channel>();
            // What has no accessor travels as well, and a pointer without an owner as a value.
            ::ZBCD & record = channels_[at]->record();
            std::memset(record.text32, static_cast<int>('x' + at), sizeof record.text32);
            std::memset(record.bytes1648, static_cast<int>('X' + at), sizeof record.bytes1648);
            record.pointer1520 = &record;
            models_[at].rest = channels_[at]->rest();
        }
    }

    void go() {
        step = {.refusedCheck = pick(4) == 0 ? 1 + pick(8) : 0};
        const size_t at = pick(3), from = pick(3), side = pick(2);
        Channel & channel = *channels_[at];
        Model & model = models_[at];
        Exits & list = model.lists[side];
        const Way way{channel, side == 1};
        const Entries entries = randomEntries();
        const size_t count = entries.size();
        std::vector<ZebStr> strings(count);
        std::vector<const char *> texts(count + 1); // ends in a null
        std::vector<ZebStr *> pointers(count);
        for (size_t i = 0; i < count; ++i) {
            texts[i] = entries[i] ? entries[i]->c_str() : nullptr;
            strings[i] = texts[i];
            pointers[i] = entries[i] ? &strings[i] : nullptr;
        }
        const char * const text = texts[0];
        const Entry first = text != nullptr ? entries[0] : Entry();
        const Entries only = text != nullptr && *text != '\0' ? Entries{first} : Entries();
        Entries read = entries;      // what the strings hold in the end
        Entries asStrings = entries; // an empty string has no text
        std::replace(asStrings.begin(), asStrings.end(), Entry(""), Entry());
        std::unique_ptr<Channel> copy;

        // A caller's list of compressions, which ends with its memory.
        const size_t length = pick(20);
        string & slots = model.compression[side];
        const size_t taken = 4 * std::min(length, slots.size() / 4);
        const PageEnd memory(4 * length);
        auto * const values =
            length != 0 ? reinterpret_cast<std::int32_t *>(memory.data()) : nullptr;
        std::generate_n(values, length, [&] { return static_cast<std::int32_t>(pick(9)) - 1; });
        string held(memory.data(), memory.size());

        const auto names = [&] { return model.setNames(list, entries); };
        const struct {
            std::function<bool()> real, plain;
        } operations[] = {
            {[&] { return way.names(count, pointers.data()); },
             [&] { return model.read(list, &Exit::name, 128, read); }},
            {[&] { return way.data(count, pointers.data()); },
             [&] { return model.read(list, &Exit::data, 32, read); }},
            {[&] { return way.setNames(count, texts.data()); }, names},
            {[&] { return way.setNames(count, pointers.data()); }, names},
            {[&] { return way.setName(text); }, [&] { return model.setNames(list, only); }},
            {[&] { return way.setData(count, texts.data()); },
             [&] { return model.setData(list, entries); }},
            {[&] { return way.setData(count, pointers.data()); },
             [&] { return model.setData(list, asStrings); }},
            {[&] { return way.setData(text); }, [&] { return model.setData(list, {first}); }},
            {[&] { return channel.setSslPeerName(text); }, [&] { return model.setPeer(first); }},
            {[&] { return channel.setConnectionName(text); },
             [&] {
                 return model.copy(model.connectionHead, first, 20) &&
                        model.copy(model.connection, first, 264);
             }},
            {[&] {
                 return side == 0 ? channel.setHeaderCompression(length, values)
                                  : channel.setMessageCompression(length, values);
             },
             [&] { return slots = fitted(held.substr(0, taken), slots.size(), '\xFF'), true; }},
            {[&] {
                 return side == 0 ? channel.headerCompression(length, values)
                                  : channel.messageCompression(length, values);
             },
             [&] { return held.replace(0, taken, slots, 0, taken), true; }},
            {[&] { return channel = *channels_[from], true; },
             [&] { return model.assign(models_[from]); }},
            {[&] { return copy.reset(new Channel(*channels_[from])), true; },
             [&] {
                 takeBlock(); // for the object, and for its record
                 takeBlock();
                 Model made;
                 made.assign(models_[from]);
                 return model = made, true;
             }},
        };
        const size_t which = pick(std::size(operations));
        // Readers give strings, which see to their storage on their own.
        step.failedBlock = which > 1 && pick(3) == 0 ? 1 + pick(7) : 0;
        Recording recording;
        recording.refuseCheck(step.refusedCheck);
        FailAllocations guard(step.failedBlock);
        const std::optional<bool> outcome = outcomeOf(operations[which].real);
        guard.stop();
        recording.refuseCheck(0);
        ASSERT_EQ(outcome, outcomeOf(operations[which].plain));
        ASSERT_EQ(recording.lines(), step.lines);
        ASSERT_EQ(string(memory.data(), memory.size()), held);
        for (size_t i = 0; i < count; ++i) {
            ASSERT_EQ(textOf(strings[i]), read[i].value_or(""));
        }
        if (copy != nullptr) {
            channels_[at] = std::move(copy);
        }
        check();
    }

private:
    size_t pick(size_t below) { return random_() % below; }

    Entries randomEntries() {
        static constexpr size_t lengths[] = {0,  1,   3,   20,  21,  31,  32,
                                             33, 127, 128, 129, 264, 265, 300};
        Entries entries(pick(5));
        const bool isSound = pick(3) != 0;
        for (Entry & entry : entries) {
            if (isSound || pick(4) != 0) {
                entry = string(lengths[isSound ? 1 + pick(13) : pick(14)], ' ');
                const size_t letters = entry->size() - std::min(entry->size(), pick(3));
                std::generate_n(entry->begin(), letters, [&] { return 'a' + pick(26); });
            }
        }
        return entries;
    }

    // Every channel is what its model says; a block with two owners would be released twice.
    void check() {
        const auto stripped = [](const string & text) {
            return string(text.c_str()).substr(0, text.find_last_not_of(string(" \0", 2)) + 1);
        };
        const auto compressions = [](const string & slots) {
            return std::min(slots.find("\xFF\xFF\xFF\xFF"), slots.size()) / 4;
        };
        for (size_t at = 0; at < channels_.size(); ++at) {
            Channel & channel = *channels_[at];
            const Model & model = models_[at];
            const ::ZBCD & record = channel.record();
            ASSERT_EQ(codes(channel), model.codes);
            const string rest = with(model.rest, 192, model.connectionHead);
            ASSERT_EQ(channel.rest(), with(with(rest, 1024, model.connection), 1792,
                                           model.compression[0] + model.compression[1]));
            ASSERT_EQ(textOf(channel.connectionName()), stripped(model.connection));
            ASSERT_EQ(channel.headerCompressionCount(), compressions(model.compression[0]));
            ASSERT_EQ(channel.messageCompressionCount(), compressions(model.compression[1]));
            for (const size_t side : {0U, 1U}) {
                ASSERT_NO_FATAL_FAILURE((Way{channel, side == 1}.expect(model.lists[side])));
            }
            const string peer = model.peer.value_or("");
            ASSERT_EQ(record.sslPeerNamePointer != nullptr, model.peer.has_value());
            ASSERT_EQ(record.sslPeerNameLength, static_cast<std::int32_t>(peer.size()));
            ASSERT_TRUE(!model.peer || string(record.sslPeerNamePointer, peer.size()) == peer);
            ASSERT_EQ(textOf(channel.sslPeerName()), stripped(peer));
        }
    }

    std::mt19937 random_;
    std::array<std::unique_ptr<Channel>, 3> channels_;
    std::array<Model, 3> models_;
};

TEST(ChannelWalk, FollowsTheModelWhateverFails) {
    ZebTrc::traceMessage("the thread is set up before");
    for (unsigned seed = 1; seed <= 20; ++seed) {
        // The walk's own traces make the test library keep blocks: a first look goes before.
        SCOPED_TRACE(seed);
        std::ptrdiff_t before = 0;
        for (const int steps : {1, 500}) {
            step = Step();
            before = liveBlocks();
            Walk walk(seed);
            for (int done = 0; done < steps && !HasFatalFailure(); ++done) {
                walk.go();
            }
        }
        step = Step();
        ASSERT_EQ(liveBlocks(), before);
    }
}

} // namespace
