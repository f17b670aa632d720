#include "ZebGmo.hpp"
#include "ZebGmo3.hpp"

#include "support/failing_allocation.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using support::FailAllocations;

// Each of the two classes with its own facts, and open to a change of version.
struct Gmo : ZebGmo {
    using ZebGmo::setVersionSupported;
    static constexpr std::int32_t version = 2;
    static constexpr std::size_t blocks = 0;
};

struct Gmo3 : ZebGmo3 {
    using ZebGmo3::setVersionSupported;
    static constexpr std::int32_t version = 3;
    static constexpr std::size_t blocks = 1;
};

template <class Options> class OptionsTest : public testing::Test {};
using Forms = testing::Types<Gmo, Gmo3>;
TYPED_TEST_SUITE(OptionsTest, Forms);

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
    }
}

TYPED_TEST(OptionsTest, LeavesNothingWhereStorageFails) {
    const TypeParam source;
    const std::ptrdiff_t before = support::liveBlocks();
    for (std::size_t n = 1; n <= 2 * TypeParam::blocks; ++n) {
        const FailAllocations guard(1);
        EXPECT_THROW(n % 2 == 0 ? TypeParam() : TypeParam(source), std::bad_alloc);
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
