#include "ZebBin.hpp"
#include "ZebTrc.hpp"

#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "support/page_end.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using std::string;
using support::FailAllocations;
using support::Recording;
using support::Texts;
using Bin = ZebBin;

string told(const ZebBin & value) {
    string line = support::told(value);
    std::replace(line.begin(), line.end(), '\0', '0');
    return line;
}

TEST(BinaryCases, EachOperationLeavesTheseBytesCodesAndCalls) {
    const string noStorage = "text ZebBinary::setDataLength (error): storage not available";
    const string unreadable = "text ZebError::checkReadPointer (error): buffer error";
    const string unwritable = "text ZebError::checkWritePointer (error): buffer error";
    const string noTarget = "text ZebBinary::copyOut (error): no destination buffer";
#define DO(what) [](Bin & v, [[maybe_unused]] char * t) -> bool { return what; }
    const struct {
        bool (*act)(Bin &, char * target); // on "abcd" and a target of 6 bytes
        char fails;                        // the first (c)heck or (s)torage request
        const char * outcome;              // result, value, codes and target
        Texts lines;
    } cases[] = {
        {DO(v.set("xy", 2)), '-', "1 xy 0:0 ######", {"check 1 2"}},
        {DO(v.set(nullptr, 0)), 's', "1  0:0 ######", {}},
        {DO(v.set("wxyz", 4)), 's', "1 wxyz 0:0 ######", {"check 1 4"}},
        {DO(v.set("wxyz", 4)), 'c', "0 abcd 2:2004 ######", {"check 1 4", unreadable}},
        {DO(v.set("xy", 2)), 's', "0 abcd 2:2071 ######", {"check 1 2", noStorage}},
        {DO(v.setDataLength(4)), 's', "1 abcd 0:0 ######", {}},
        {DO(v.setDataLength(6)), '-', "1 000000 0:0 ######", {}},
        {DO(v.setDataLength(0)), 's', "1  0:0 ######", {}},
        {DO(v.setDataLength(5)), 's', "0 abcd 2:2071 ######", {noStorage}},
        {DO(v.setDataLength(SIZE_MAX)), '-', "0 abcd 2:2071 ######", {noStorage}},
        {DO(v.copyOut(t, 2, '-')), '-', "1 abcd 0:0 ab####", {"check 2 2"}},
        {DO(v.copyOut(t, 6, '-')), '-', "1 abcd 0:0 abcd--", {"check 2 6"}},
        {DO(v.copyOut(t, 6, '-')), 'c', "0 abcd 2:2004 ######", {"check 2 6", unwritable}},
        {DO(v.copyOut(nullptr, 0, '-')), 'c', "1 abcd 0:0 ######", {}},
        {DO(v.copyOut(nullptr, 1, '-')), '-', "0 abcd 2:6110 ######", {noTarget}},
        {DO((v = Bin(), v.copyOut(t, 2, '-'))), '-', "1  0:0 --####", {"check 2 2"}},
        {DO((v = Bin(), v.copyOut(nullptr, 1, '-'))), '-', "0  2:6110 ######", {noTarget}},
    };
#undef DO
    ZebTrc::traceMessage("set up");
    for (const auto & row : cases) {
        const auto number = &row - cases;
        support::PageEnd target(std::string_view("######"));
        ZebBin value("abcd", 4);
        Recording recording;
        recording.refuseCheck(row.fails == 'c' ? 1 : 0);
        FailAllocations guard(row.fails == 's' ? 1 : 0);
        const bool result = row.act(value, target.data());
        guard.stop();
        EXPECT_EQ((result ? "1 " : "0 ") + told(value) + ' ' + string(target.data(), 6),
                  row.outcome)
            << number;
        EXPECT_EQ(recording.lines(), row.lines) << number;
    }
}

TEST(BinaryScope, EveryPairOfSmallValuesComparesAssignsAndCopies) {
    const std::ptrdiff_t before = support::liveBlocks();
    for (unsigned a = 0; a != 31; ++a) {
        for (unsigned b = 0; b != 31; ++b) {
            // Numbers as texts of up to four bytes, of which each is zero or not.
            const auto bytesOf = [](unsigned number) {
                string bytes;
                for (; number != 0; number = (number - 1) / 2) {
                    bytes += number % 2 != 0 ? '\0' : 'x';
                }
                return bytes;
            };
            const string one = bytesOf(a), other = bytesOf(b);
            ZebBin left(one.data(), one.size()), right(other.data(), other.size());
            ASSERT_EQ(left == right, a == b);
            ASSERT_EQ(left.isNull(), one.find('x') == string::npos);
            EXPECT_FALSE(right.copyOut(nullptr, 1, ' '));
            left = right;
            left = static_cast<const ZebBin &>(left);
            const ZebBin copy(right);
            ASSERT_EQ(told(left) + told(copy), told(right) + told(right));
            ASSERT_TRUE(b == 0 || (left.dataPointer() != right.dataPointer() &&
                                   copy.dataPointer() != right.dataPointer()));
        }
    }
    EXPECT_EQ(support::liveBlocks(), before);

    const ZebBin source("xyz", 3);
    ZebBin target("abcd", 4);
    FailAllocations guard(1);
    target = source;
    guard.stop();
    EXPECT_EQ(told(target), "abcd 2:2071");
}

}
