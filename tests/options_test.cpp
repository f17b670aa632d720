#include "ZebGmo.hpp"
#include "ZebGmo3.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// Each of the two classes with its own facts, and open to a change of version.
struct Gmo : ZebGmo {
    using ZebGmo::setVersionSupported;
    static constexpr std::int32_t version = 2;
};

struct Gmo3 : ZebGmo3 {
    using ZebGmo3::setVersionSupported;
    static constexpr std::int32_t version = 3;
};

template <class Options> class OptionsTest : public testing::Test {};
using Forms = testing::Types<Gmo, Gmo3>;
TYPED_TEST_SUITE(OptionsTest, Forms);

TYPED_TEST(OptionsTest, MapsParticipationToBits) {
    for (const std::int32_t others : {0, ~0x1006}) {
        for (const std::int32_t bits : {0, 2, 4, 6, 0x1000, 0x1002, 0x1004, 0x1006}) {
            SCOPED_TRACE(others | bits);
            for (const bool participates : {true, false}) {
                TypeParam options;
                options.setOptions(others | bits);
                EXPECT_EQ(options.record().options, others | bits);
                EXPECT_EQ(options.syncPointParticipation(), (bits & 0x1002) != 0);
                options.setSyncPointParticipation(participates);
                EXPECT_EQ(options.options(), others | (participates ? 2 : 4));
                EXPECT_EQ(options.syncPointParticipation(), participates);
            }
        }
    }
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
