#include "ZebGmo.hpp"
#include "ZebGmo3.hpp"

#include "support/failing_allocation.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using support::FailAllocations;
using support::Recording;
using support::Texts;

std::string integer(std::int32_t value) {
    std::string bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(static_cast<std::uint32_t>(value) >> shift);
    }
    return bytes;
}

const std::string zeroWord(4, '\0');

std::string defaultImage(std::int32_t version) {
    return "GMO " + integer(version) + zeroWord + zeroWord + zeroWord + zeroWord +
           std::string(48, '\0') + integer(3) + "    ";
}

// Each of the two classes with its own facts, and open to a change of version.
struct Gmo : ZebGmo {
    using ZebErr::setErrorCodes;
    using ZebGmo::setVersionSupported;
    static constexpr std::int32_t version = 2;
    static constexpr std::size_t blocks = 0;
    static std::string image() { return defaultImage(version); }
};

struct Gmo3 : ZebGmo3 {
    using ZebErr::setErrorCodes;
    using ZebGmo3::setVersionSupported;
    static constexpr std::int32_t version = 3;
    static constexpr std::size_t blocks = 1;
    static std::string image() {
        return defaultImage(version) + std::string(16, '\0') + integer(-1);
    }
};

template <class Options> std::string imageOf(const Options & options) {
    return {reinterpret_cast<const char *>(&options.record()), sizeof options.record()};
}

template <class Options> class OptionsTest : public testing::Test {};
using Forms = testing::Types<Gmo, Gmo3>;
TYPED_TEST_SUITE(OptionsTest, Forms);

TYPED_TEST(OptionsTest, BeginsWithTheDefaults) {
    const TypeParam options;
    EXPECT_EQ(imageOf(options), TypeParam::image());
    EXPECT_FALSE(options.syncPointParticipation());
    EXPECT_EQ(options.resolvedQueueName().length(), 0U);
    EXPECT_EQ(options.reasonCode(), 0);
    EXPECT_EQ(options.completionCode(), 0);
}

TYPED_TEST(OptionsTest, MapsParticipationToBits) {
    const struct {
        std::int32_t options;
        bool reads;
        std::int32_t afterYes, afterNo;
    } rows[] = {
        {0, false, 2, 4},
        {2, true, 2, 4},
        {4, false, 2, 4},
        {6, true, 2, 4},
        {0x1000, true, 2, 4},
        {0x1004, true, 2, 4},
        {0x1002, true, 2, 4},
        {~0x1006, false, ~0x1004, ~0x1002},
        {-1, true, ~0x1004, ~0x1002},
    };
    for (const auto & row : rows) {
        SCOPED_TRACE(row.options);
        TypeParam options;
        options.setOptions(row.options);
        EXPECT_EQ(options.record().options, row.options);
        EXPECT_EQ(options.syncPointParticipation(), row.reads);
        options.setSyncPointParticipation(true);
        EXPECT_EQ(options.options(), row.afterYes);
        EXPECT_TRUE(options.syncPointParticipation());
        options.setOptions(row.options);
        options.setSyncPointParticipation(false);
        EXPECT_EQ(options.options(), row.afterNo);
        EXPECT_FALSE(options.syncPointParticipation());
        options.setOptions(0);
        EXPECT_EQ(imageOf(options), TypeParam::image());
    }
}

TYPED_TEST(OptionsTest, ReadsAndWritesTheQueueName) {
    const std::string full(48, 'Q');
    const struct {
        std::string field, reads;
    } rows[] = {
        {full, full},
        {"A B" + std::string(45, ' '), "A B"},
        {"A  " + std::string(45, '\0'), "A"},
        {" A" + std::string(1, '\0') + std::string(45, 'x'), " A"},
        {std::string(48, ' '), ""},
    };
    for (const auto & row : rows) {
        TypeParam options;
        std::memcpy(options.record().resolvedQueueName, row.field.data(), 48);
        const ZebStr name = options.resolvedQueueName();
        EXPECT_EQ(std::string(name.text(), name.length()), row.reads);
    }
    TypeParam options;
    const std::string around = TypeParam::image();
    options.setResolvedQueueName((full + "R").c_str());
    EXPECT_EQ(imageOf(options), around.substr(0, 24) + full + around.substr(72));
    options.setResolvedQueueName("ab ");
    EXPECT_EQ(imageOf(options),
              around.substr(0, 24) + "ab " + std::string(45, '\0') + around.substr(72));
    options.setResolvedQueueName(nullptr);
    EXPECT_EQ(imageOf(options), around);
    EXPECT_EQ(options.reasonCode(), 0);
}

// Every byte travels, into the record that is there; nothing is shared afterwards.
TYPED_TEST(OptionsTest, CopiesTheWholeRecord) {
    TypeParam source;
    std::memset(&source.record(), 0x5A, sizeof source.record());
    const std::string pattern(sizeof source.record(), 0x5A);
    source.setErrorCodes(6111, 2);
    TypeParam target;
    const void * const place = &target.record();
    target = source;
    EXPECT_EQ(&target.record(), place);
    TypeParam & same = target;
    target = same;
    const TypeParam copy(target);
    EXPECT_EQ(target.completionCode(), 2);
    EXPECT_EQ(copy.reasonCode(), 6111);
    target.record().gmoWord12 = 1;
    EXPECT_EQ(imageOf(copy), pattern);
    EXPECT_EQ(imageOf(source), pattern);
    EXPECT_NE(imageOf(target), pattern);
}

TYPED_TEST(OptionsTest, LeavesNothingWhereStorageFails) {
    const TypeParam source;
    const std::ptrdiff_t before = support::liveBlocks();
    for (std::size_t n = 1; n <= TypeParam::blocks; ++n) {
        const FailAllocations guard(n);
        EXPECT_THROW({ const TypeParam copy(source); }, std::bad_alloc);
    }
    for (std::size_t n = 1; n <= TypeParam::blocks; ++n) {
        const FailAllocations guard(n);
        EXPECT_THROW({ const TypeParam fresh; }, std::bad_alloc);
    }
    const support::AllocationTally tally;
    {
        const TypeParam copy(source);
        EXPECT_EQ(tally.count(), TypeParam::blocks);
    }
    EXPECT_EQ(support::liveBlocks(), before);
}

TYPED_TEST(OptionsTest, TakesTheVersionOfItsClassAlone) {
    const TypeParam older;
    TypeParam::setVersionSupported(1);
    const TypeParam newer;
    const TypeParam copy(older);
    TypeParam assigned;
    assigned = older;
    const Gmo gmo;
    const Gmo3 gmo3;
    TypeParam::setVersionSupported(TypeParam::version);
    EXPECT_EQ(newer.record().version, 1);
    for (const TypeParam * options : {&older, &copy, &std::as_const(assigned)}) {
        EXPECT_EQ(options->record().version, TypeParam::version);
    }
    EXPECT_EQ(gmo.record().version, (std::is_same_v<TypeParam, Gmo> ? 1 : 2));
    EXPECT_EQ(gmo3.record().version, (std::is_same_v<TypeParam, Gmo3> ? 1 : 3));
}

TEST(MessageToken, IsAlwaysSixteenBytes) {
    unsigned char bytes[17];
    for (unsigned char i = 0; i < 17; ++i) {
        bytes[i] = static_cast<unsigned char>(0xF0 + i);
    }
    const ZebBin full(bytes, 16);
    const std::string image = Gmo3::image();
    const std::string set = image.substr(0, 80) + std::string(bytes, bytes + 16) + image.substr(96);

    Gmo3 options;
    EXPECT_EQ(options.messageToken().dataLength(), 16U);
    EXPECT_TRUE(options.messageToken().isNull());
    for (const std::size_t length : {0U, 1U, 15U, 16U, 17U}) {
        SCOPED_TRACE(length);
        const bool isGood = length == 0 || length == 16;
        options.setMessageToken(bytes);
        EXPECT_EQ(imageOf(options), set);
        options.clearErrorCodes();
        const Recording recording;
        EXPECT_EQ(options.setMessageToken(ZebBin(bytes, length)), isGood);
        EXPECT_EQ(imageOf(options), length == 0 ? image : set);
        const Texts texts =
            isGood
                ? Texts{}
                : Texts{"ZebGetMessageOptions::setMessageToken (error): binary data length error"};
        EXPECT_EQ(recording.texts(), texts);
        EXPECT_EQ(options.reasonCode(), isGood ? 0 : 6111);
        EXPECT_EQ(options.completionCode(), isGood ? 0 : 2);
    }
    EXPECT_TRUE(options.setMessageToken(full));
    EXPECT_TRUE(options.messageToken() == full);
    EXPECT_EQ(options.reasonCode(), 6111) << "a success leaves the codes";
    options.setMessageToken(nullptr);
    EXPECT_EQ(imageOf(options), image);
}

// The version of the record's form stands ahead of the pointer to the record.
TEST(GetOptionsObject, KeepsItsLayout) {
    EXPECT_EQ(sizeof(ZebGmo), sizeof(ZebErr) + 80);
    EXPECT_EQ(sizeof(ZebGmo3), sizeof(ZebErr) + 16);
    Gmo3 options;
    for (const Gmo3 & object : {options, Gmo3(options)}) {
        std::int32_t recordVersion = 0;
        std::memcpy(&recordVersion, reinterpret_cast<const char *>(&object) + sizeof(ZebErr), 4);
        EXPECT_EQ(recordVersion, 3);
        const ZBGMO3 * record = nullptr;
        std::memcpy(&record, reinterpret_cast<const char *>(&object) + sizeof(ZebErr) + 8, 8);
        EXPECT_EQ(record, &object.record());
    }
}

} // namespace
