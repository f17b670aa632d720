#include "ZebGmo.hpp"
#include "ZebGmo3.hpp"
#include "support/checks.hpp"

#include <gtest/gtest.h>

namespace {

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

template <class Options> struct Versioned : Options { using Options::setVersionSupported; };

// The versions of an object, of its copy and of one that it was assigned to, and of new objects of
// both classes, when its class has got another version since the first.
template <class Options> std::vector<std::int32_t> versionsAround(std::int32_t usual) {
    const Options older;
    Versioned<Options>::setVersionSupported(7);
    const Options copy(older);
    Options assigned;
    assigned = older;
    const ZebGmo gmo;
    const ZebGmo3 gmo3;
    Versioned<Options>::setVersionSupported(usual);
    return {older.record().version, copy.record().version, assigned.record().version,
            gmo.record().version, gmo3.record().version};
}

TEST(Options, TakeTheVersionOfTheirClassAlone) {
    EXPECT_EQ(versionsAround<ZebGmo>(2), (std::vector{2, 2, 2, 7, 3}));
    EXPECT_EQ(versionsAround<ZebGmo3>(3), (std::vector{3, 3, 3, 2, 7}));
}

// The version of the record's form stands ahead of the pointer to the record.
TEST(Options, KeepTheLayoutOfTheirObjects) {
    EXPECT_EQ(sizeof(ZebGmo), sizeof(ZebErr) + 80);
    EXPECT_EQ(sizeof(ZebGmo3), sizeof(ZebErr) + 16);
    const ZebGmo3 options, copy(options);
    for (const ZebGmo3 * object : {&options, &copy}) {
        const char * const own = reinterpret_cast<const char *>(object) + sizeof(ZebErr);
        EXPECT_EQ(support::wordAt(own), 3);
        const ZBGMO3 * const record = &object->record();
        EXPECT_EQ(std::memcmp(own + 8, &record, sizeof record), 0);
    }
}

}
