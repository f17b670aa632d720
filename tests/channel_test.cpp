#include "ZebChl.hpp"

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
#include <set>

namespace {

using support::FailAllocations;
using support::PageEnd;
using support::Recording;
using support::textOf;
using support::Texts;
using Integers = std::vector<std::int32_t>;

const std::string truncated = "static ZebString::copy (warning): string truncated";
const std::string badSource = "ZebString::copy (error): source buffer error";
const std::string badTarget = "ZebString::copy (error): target buffer error";

struct Channel : ZebChl {
    ::ZBCD & record() const { return *ZBCD(); }
    std::string image() const { return {reinterpret_cast<const char *>(&record()), 1888}; }
};

using Codes = std::pair<std::int32_t, std::int32_t>; // reason, completion
Codes codes(const ZebErr & object) {
    return {object.reasonCode(), object.completionCode()};
}

// A field or slot that holds this text.
std::string padded(const std::string & text, std::size_t width) {
    return support::fitted(text, width, '\0');
}

std::string defaultImage() {
    return Channel().image();
}

TEST(ChannelTest, WritesTheConnectionNameTwice) {
    Recording recording;
    for (const std::size_t length : {20U, 21U, 264U, 265U}) {
        SCOPED_TRACE(length);
        const std::size_t warnings = (length > 20 ? 1U : 0U) + (length > 264 ? 1U : 0U);
        const std::string name = std::string(19, 'c') + std::string(length - 19, 'd');
        Channel channel;
        recording.clear();
        EXPECT_TRUE(channel.setConnectionName(name.c_str()));
        EXPECT_EQ(recording.texts(), Texts(warnings, truncated));
        EXPECT_EQ(codes(channel), warnings != 0 ? Codes(6115, 1) : Codes(0, 0));
        std::string image = defaultImage().replace(192, 20, padded(name, 20));
        EXPECT_EQ(channel.image(), image.replace(1024, 264, padded(name, 264)));
        EXPECT_EQ(textOf(channel.connectionName()), name.substr(0, 264));
        EXPECT_TRUE(channel.setConnectionName(nullptr));
        EXPECT_EQ(channel.image(), defaultImage());
    }
    const std::string images[] = {defaultImage(), defaultImage().replace(192, 3, "abc")};
    for (const std::size_t check : {2U, 4U}) { // the source of either copy
        Channel channel;
        recording.clear();
        recording.refuseCheck(check);
        EXPECT_FALSE(channel.setConnectionName("abc"));
        EXPECT_EQ(recording.texts(), Texts{badSource});
        EXPECT_EQ(codes(channel), Codes(2145, 2));
        EXPECT_EQ(channel.image(), images[check / 4]);
    }
}

TEST(ChannelTest, HoldsAPeerNameOfAnyLength) {
    Channel channel;
    const ::ZBCD & record = channel.record();
    const std::pair<std::string, std::string> rows[] = {
        {std::string(300, 'p'), std::string(300, 'p')}, {"", ""}, {" CN=a  ", " CN=a"}};
    for (const auto & [name, reads] : rows) {
        const PageEnd text(std::string_view(name.c_str(), name.size() + 1));
        EXPECT_TRUE(channel.setSslPeerName(text.data()));
        EXPECT_EQ(record.sslPeerNameLength, static_cast<std::int32_t>(name.size()));
        EXPECT_EQ(std::string(record.sslPeerNamePointer, name.size()), name);
        EXPECT_EQ(textOf(channel.sslPeerName()), reads);
    }
    EXPECT_EQ(codes(channel), Codes(0, 0));

    // A text that ends nowhere is refused before anything counts it.
    const PageEnd endless(std::string_view("xyz"));
    const std::string kept = channel.image();
    const std::ptrdiff_t blocks = support::liveBlocks();
    {
        Recording recording;
        recording.refuseAddress(endless.data());
        EXPECT_FALSE(channel.setSslPeerName(endless.data()));
        EXPECT_EQ(codes(channel), Codes(2145, 2));
        recording.refuseCheck(2); // the one for writing
        EXPECT_FALSE(channel.setSslPeerName("new"));
        EXPECT_EQ(codes(channel), Codes(2146, 2));
        EXPECT_EQ(recording.texts(), (Texts{badSource, badTarget}));
    }
    EXPECT_EQ(support::liveBlocks(), blocks);
    EXPECT_EQ(channel.image(), kept) << "block and length are the old ones";
    EXPECT_EQ(textOf(channel.sslPeerName()), " CN=a");
    EXPECT_TRUE(channel.setSslPeerName(nullptr));
    EXPECT_EQ(channel.image(), defaultImage());
}

// All of a record travels, what has no accessor as well; a pointer without an owner as a value.
TEST(ChannelTest, CopiesTheWholeRecord) {
    Channel source, target;
    ::ZBCD & record = source.record();
    std::memset(record.text32, 'x', sizeof record.text32);
    std::memset(record.bytes1648, 0xEE, sizeof record.bytes1648);
    record.pointer1520 = &record;
    ASSERT_TRUE(source.setChannelName("MORE.THAN.20.CHARACTERS"));
    const ::ZBCD * const place = &target.record();
    target = source;
    for (const Channel & each : {target, Channel(source)}) {
        EXPECT_EQ(each.image(), source.image());
        EXPECT_EQ(codes(each), Codes(6115, 1));
    }
    EXPECT_EQ(&target.record(), place);
}

// ---- Exit lists: every test takes both directions -----------------------------------------------

struct Exit {
    std::string name, data;
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

    std::size_t count() const { return GET(ExitCount, ()); }
    ZebStr name() const { return GET(ExitName, ()); }
    ZebStr data() const { return GET(UserData, ()); }
    bool names(std::size_t n, ZebStr * const s[]) const { return GET(ExitNames, (n, s)); }
    bool data(std::size_t n, ZebStr * const s[]) const { return GET(UserData, (n, s)); }
    bool setName(const char * text) const { return SET(ExitName, (text)); }
    bool setData(const char * text) const { return SET(UserData, (text)); }
    bool setNames(std::size_t n, auto array) const { return SET(ExitNames, (n, array)); }
    bool setData(std::size_t n, auto array) const { return SET(UserData, (n, array)); }
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
        for (std::size_t i = 0; i < exits.size(); ++i) {
            ASSERT_EQ(std::string(nameArray() + 128 * i, 128), padded(exits[i].name, 128));
            ASSERT_EQ(std::string(dataArray() + 32 * i, 32), padded(exits[i].data, 32));
        }
    }
};

class ExitListTest : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        const char * names[] = {"one", "two ", "three"};
        const char * data[] = {"a", " ", "c"};
        ASSERT_TRUE(way.setNames(3, names) && way.setData(3, data));
    }
    void TearDown() override { Way{channel, !way.sends}.expect({}); }

    Channel channel;
    const Way way{channel, GetParam()};
};

INSTANTIATE_TEST_SUITE_P(BothWays, ExitListTest, testing::Bool());

TEST_P(ExitListTest, FindsFaultsInOrderAndChangesNothing) {
    const Recording recording;
    const auto fails = [&](bool result, std::int32_t reason) {
        EXPECT_FALSE(result);
        EXPECT_EQ(codes(channel), Codes(reason, 2));
        channel.clearErrorCodes();
    };
    const char * const one[] = {"x"};
    fails(way.setNames(2, nullptr), 6108);
    fails(way.setNames(SIZE_MAX, nullptr), 6108);
    fails(way.setNames(std::size_t{1} << 31, one), 2010);
    fails(way.setNames(SIZE_MAX, one), 2010);
    fails(way.setData(4, one), 2316);
    fails(way.setData(SIZE_MAX, nullptr), 2316);
    EXPECT_EQ(recording.lines(), Texts{}) << "nothing is said and nothing checked";
    way.expect({{"one", "a"}, {"two ", " "}, {"three", "c"}});
    EXPECT_TRUE(way.setData(0, nullptr));
    way.expect({{"one", ""}, {"two ", ""}, {"three", ""}});
    EXPECT_TRUE(way.setNames(0, nullptr) && way.setData(0, nullptr));
    fails(way.setData("x"), 2316);
    way.expect({});
}

TEST_P(ExitListTest, StopsAtARefusedEntry) {
    const char * const names[] = {"1", "2"};
    const Exits left[] = {{{"", ""}, {"", ""}}, {{"1", ""}, {"", ""}}, {{"1", ""}, {"2", ""}}};
    Recording recording;
    for (std::size_t check = 1; check <= 6; ++check) { // target, source, data; and again
        SCOPED_TRACE(check);
        const bool isSource = check % 3 == 2;
        EXPECT_TRUE(way.setName(nullptr));
        recording.clear();
        recording.refuseCheck(check);
        EXPECT_FALSE(way.setNames(2, names));
        EXPECT_EQ(codes(channel), Codes(isSource ? 2145 : 2146, 2));
        Texts lines = {"check 2 128", "check 1 1", "check 2 32"};
        lines.insert(lines.end(), {"check 2 128", "check 1 1", "check 2 32"});
        lines.resize(check);
        lines.push_back("text " + (isSource ? badSource : badTarget));
        EXPECT_EQ(recording.lines(), lines);
        way.expect(left[check / 3]);
    }
    EXPECT_TRUE(way.setNames(2, names));
    const char * const data[] = {"x", "y"};
    recording.refuseAddress(data[1]);
    EXPECT_FALSE(way.setData(2, data));
    way.expect({{"1", "x"}, {"2", ""}});
}

TEST_P(ExitListTest, ReadsWhatStandsInTheSlots) {
    ZebStr strings[5] = {"old", "old", "old", "old", "old"};
    ZebStr * pointers[] = {&strings[0], nullptr, &strings[2], &strings[3], nullptr};
    const auto reads = [&](bool result, const Texts & texts) {
        EXPECT_TRUE(result);
        for (std::size_t i = 0; i < 5; ++i) {
            EXPECT_EQ(textOf(strings[i]), texts[i]);
        }
    };
    reads(way.names(0, pointers) && way.data(3, nullptr), {"old", "old", "old", "old", "old"});
    reads(way.names(1, pointers), {"one", "old", "old", "old", "old"});
    reads(way.data(5, pointers), {"a", "old", "c", "", "old"});
    pointers[1] = &strings[1];
    reads(way.names(4, pointers), {"one", "two ", "three", "", "old"});
    EXPECT_EQ(textOf(way.name()) + textOf(way.data()), "onea");
    EXPECT_EQ(codes(channel), Codes(0, 0));

    Recording recording;
    recording.refuseCheck(2);
    reads(!way.data(4, pointers), {"a", "two ", "c", "", "old"});
    EXPECT_EQ(codes(channel), Codes(2004, 2));
    recording.refuseCheck(1);
    EXPECT_EQ(codes(way.data()), Codes(2004, 2));
    EXPECT_EQ(codes(channel), Codes(2004, 2));
}

// ---- Compression lists --------------------------------------------------------------------------

// One list, with `given` entries of memory of its own for the caller's.
void walkCompression(bool isHeader, std::size_t given, std::size_t ending) {
    const std::size_t capacity = isHeader ? 2 : 16, taken = std::min(given, capacity);
    Channel channel;
    const auto write = [&](std::size_t count, const std::int32_t * list) {
        ASSERT_TRUE(isHeader ? channel.setHeaderCompression(count, list)
                             : channel.setMessageCompression(count, list));
    };
    const auto read = [&](std::size_t count, std::int32_t * list) {
        ASSERT_TRUE(isHeader ? channel.headerCompression(count, list)
                             : channel.messageCompression(count, list));
    };
    Integers values(20, 77);
    values[ending] = -1;
    const PageEnd memory(given * 4);
    auto * const entries = reinterpret_cast<std::int32_t *>(memory.data());
    std::copy_n(values.begin(), given, entries);
    std::string image = defaultImage();
    for (std::size_t i = 0; i < taken; ++i) {
        image = support::with(image, (isHeader ? 1792 : 1800) + 4 * i, support::word(values[i]));
    }
    write(16, Integers(16, 5).data());
    write(given, entries);
    ASSERT_EQ(channel.image(), image);
    ASSERT_EQ(isHeader ? channel.headerCompressionCount() : channel.messageCompressionCount(),
              std::min(taken, ending));
    std::fill_n(entries, given, 99);
    read(given, entries);
    std::fill(values.begin() + static_cast<std::ptrdiff_t>(taken), values.end(), 99);
    ASSERT_TRUE(std::equal(entries, entries + given, values.begin()));
    write(given + 1, nullptr);
    read(given, nullptr);
    ASSERT_EQ(channel.image(), image);
    write(0, nullptr);
    ASSERT_EQ(channel.image(), defaultImage());
}

TEST(CompressionTest, StaysWithinItsListAndTheCallers) {
    for (std::size_t at = 0; at < 2 * 21 * 18; ++at) {
        SCOPED_TRACE(at);
        ASSERT_NO_FATAL_FAILURE(walkCompression(at % 2 == 0, at / 2 % 21, at / 42));
    }
}

// ---- Random walk --------------------------------------------------------------------------------

enum class Outcome { no, yes, thrown };
using Entry = std::optional<std::string>;
using Entries = std::vector<Entry>;

// A channel in plain terms. The receive list comes first, as in every order of steps.
struct Model {
    std::array<Exits, 2> lists;
    Entry peer;
    Codes codes{0, 0};
};

struct World {
    std::size_t failAt = 0;
    Texts trace;

    bool hasBlock() { return failAt == 0 || --failAt != 0; }

    static Outcome fail(Model & model, std::int32_t reason) {
        model.codes = {reason, 2};
        return Outcome::no;
    }
    std::string cut(Model & model, const Entry & text, std::size_t width) {
        if (text.value_or("").size() > width) {
            model.codes = {6115, 1};
            trace.push_back(truncated);
        }
        return text.value_or("").substr(0, width);
    }
    bool obtain(Exits & list, std::size_t count) {
        list.clear();
        const bool isThere = count == 0 || (hasBlock() && hasBlock());
        list.resize(isThere ? count : 0);
        return isThere;
    }
    Outcome setNames(Model & model, Exits & list, const Entries & names) {
        for (const Entry & name : names) {
            if (!name || name->empty()) {
                return fail(model, name ? 2010 : 6108);
            }
        }
        if (names.size() != list.size() && !obtain(list, names.size())) {
            return Outcome::thrown;
        }
        for (std::size_t i = 0; i < names.size(); ++i) {
            list[i] = {cut(model, names[i], 128), ""};
        }
        return Outcome::yes;
    }
    Outcome setData(Model & model, Exits & list, const Entries & data) {
        if (data.size() > list.size()) {
            return fail(model, 2316);
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            list[i].data = i < data.size() ? cut(model, data[i], 32) : "";
        }
        return Outcome::yes;
    }
    Outcome setPeer(Model & model, const Entry & peer) {
        if (peer && !hasBlock()) {
            return Outcome::thrown;
        }
        model.peer = peer;
        return Outcome::yes;
    }
    Outcome assign(Model & model, const Model & source) {
        if (&model == &source) {
            return Outcome::yes;
        }
        model = Model();
        model.codes = source.codes;
        for (const std::size_t side : {0U, 1U}) {
            if (!obtain(model.lists[side], source.lists[side].size())) {
                return Outcome::thrown;
            }
            model.lists[side] = source.lists[side];
        }
        return setPeer(model, source.peer);
    }
    Outcome copy(Model & model, const Model & source) {
        Model made; // two blocks more: the object and its record
        const bool isThere = hasBlock() && hasBlock();
        const Outcome outcome = isThere ? assign(made, source) : Outcome::thrown;
        if (outcome == Outcome::yes) {
            model = made;
        }
        return outcome;
    }
};

class Walk {
public:
    explicit Walk(unsigned seed) : random_(seed) {
        for (auto & channel : channels_) {
            channel = std::make_unique<Channel>();
        }
    }

    void step() {
        World world{.failAt = pick(3) == 0 ? 1 + pick(7) : 0, .trace = {}};
        const std::size_t at = pick(3), from = pick(3), side = pick(2);
        Channel & channel = *channels_[at];
        Model & model = models_[at];
        Exits & list = model.lists[side];
        const Way way{channel, side == 1};
        const Entries entries = randomEntries();
        const std::size_t count = entries.size();
        std::vector<ZebStr> strings(count);
        std::vector<const char *> texts(count + 1); // ends in a null
        std::vector<const ZebStr *> pointers(count);
        for (std::size_t i = 0; i < count; ++i) {
            texts[i] = entries[i] ? entries[i]->c_str() : nullptr;
            strings[i] = texts[i];
            pointers[i] = entries[i] ? &strings[i] : nullptr;
        }
        const char * const text = texts[0];
        const Entry first = text != nullptr ? entries[0] : Entry();
        const Entries only = text != nullptr && *text != '\0' ? Entries{first} : Entries();
        std::unique_ptr<Channel> copy;
        const auto names = [&] { return world.setNames(model, list, entries); };
        const auto data = [&] { return world.setData(model, list, entries); };
        const struct {
            std::function<bool()> real;
            std::function<Outcome()> plain;
        } operations[] = {
            {[&] { return way.setNames(count, texts.data()); }, names},
            {[&] { return way.setNames(count, pointers.data()); }, names},
            {[&] { return way.setName(text); }, [&] { return world.setNames(model, list, only); }},
            {[&] { return way.setData(count, texts.data()); }, data},
            {[&] { return way.setData(count, pointers.data()); }, data},
            {[&] { return way.setData(text); },
             [&] { return world.setData(model, list, {first}); }},
            {[&] { return channel.setSslPeerName(text); },
             [&] { return world.setPeer(model, first); }},
            {[&] { return channel = *channels_[from], true; },
             [&] { return world.assign(model, models_[from]); }},
            {[&] { return copy.reset(new Channel(*channels_[from])), true; },
             [&] { return world.copy(model, models_[from]); }},
        };
        const auto & operation = operations[pick(std::size(operations))];
        Outcome outcome = Outcome::thrown;
        const Recording recording;
        try {
            const FailAllocations guard(world.failAt);
            outcome = operation.real() ? Outcome::yes : Outcome::no;
        } catch (const std::bad_alloc &) {
        }
        ASSERT_EQ(outcome, operation.plain());
        ASSERT_EQ(recording.texts(), world.trace);
        if (copy != nullptr) {
            channels_[at] = std::move(copy);
        }
        check();
    }

private:
    std::size_t pick(std::size_t below) { return random_() % below; }

    Entries randomEntries() {
        static constexpr std::size_t lengths[] = {0, 1, 3, 31, 32, 33, 127, 128, 129, 300};
        Entries entries(pick(5));
        const bool isSound = pick(3) != 0;
        for (Entry & entry : entries) {
            if (isSound || pick(4) != 0) {
                const std::size_t length = lengths[isSound ? 1 + pick(9) : pick(10)];
                entry = std::string(length, static_cast<char>('a' + pick(26)));
            }
        }
        return entries;
    }

    // Every channel is what its model says, and each block has one owner.
    void check() {
        std::multiset<const void *> blocks;
        for (std::size_t at = 0; at < channels_.size(); ++at) {
            const Model & model = models_[at];
            const ::ZBCD & record = channels_[at]->record();
            ASSERT_EQ(codes(*channels_[at]), model.codes);
            for (const std::size_t side : {0U, 1U}) {
                const Way way{*channels_[at], side == 1};
                ASSERT_NO_FATAL_FAILURE(way.expect(model.lists[side]));
                blocks.insert({way.nameArray(), way.dataArray()});
            }
            const std::string peer = model.peer.value_or("");
            ASSERT_EQ(record.sslPeerNamePointer != nullptr, model.peer.has_value());
            ASSERT_EQ(record.sslPeerNameLength, static_cast<std::int32_t>(peer.size()));
            ASSERT_TRUE(!model.peer || std::string(record.sslPeerNamePointer, peer.size()) == peer);
            blocks.insert(record.sslPeerNamePointer);
        }
        blocks.erase(nullptr);
        ASSERT_EQ(blocks.size(), std::set<const void *>(blocks.begin(), blocks.end()).size());
    }

    std::mt19937 random_;
    std::array<std::unique_ptr<Channel>, 3> channels_;
    std::array<Model, 3> models_;
};

TEST(ChannelWalk, FollowsTheModelWhateverFails) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        // The walk's own traces make the test library keep blocks: a first look goes before.
        SCOPED_TRACE(seed);
        std::ptrdiff_t before = 0;
        for (const int steps : {1, 500}) {
            before = support::liveBlocks();
            Walk walk(seed);
            for (int step = 0; step < steps && !HasFatalFailure(); ++step) {
                walk.step();
            }
        }
        ASSERT_EQ(support::liveBlocks(), before);
    }
}

} // namespace
