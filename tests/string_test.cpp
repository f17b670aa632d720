#include "ZebStr.hpp"
#include "ZebTrc.hpp"

#include "fuzz/input.hpp"
#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "support/page_end.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <climits>

namespace {

using std::string;
using std::string_literals::operator""s;
using support::FailAllocations;
using support::Recording;
using support::Texts;
using support::told;

// A string with `spare` bytes behind its text, and no block where there is neither.
struct Text : ZebStr {
    using ZebStr::assign;
    using ZebStr::operator=;
    explicit Text(const string & text, std::size_t spare = 0) : ZebStr(text.c_str()) {
        setStorage(spare != 0 || !text.empty() ? text.size() + 1 + spare : 0);
    }
};

// Puts codes on an object, by a set that is refused.
template <class String> String spoiled(String text) {
    text.set(nullptr, 1);
    return text;
}

// A new text in a block of its own length, or none.
string fresh(const string & text) {
    return text.empty() ? "-/0 0:0" : text + '/' + std::to_string(text.size() + 1) + " 0:0";
}

// All texts of up to `longest` characters of an alphabet.
std::vector<string> textsOf(const string & alphabet, std::size_t longest) {
    std::vector<string> texts{""};
    for (std::size_t i = 0; i != texts.size(); ++i) {
        for (const char character : texts[i].size() < longest ? alphabet : "") {
            texts.push_back(texts[i] + character);
        }
    }
    return texts;
}

constexpr const char * noStorage = "ZebString::setStorage (error): storage not available";
constexpr const char * notJoined = "ZebString::concatenate (warning): storage not available";
constexpr const char * notBuilt = "ZebString::ZebString (warning): storage not available";
constexpr const char * unreadable = "ZebError::checkReadPointer (error): buffer error";
constexpr const char * nullText = "ZebString::set (error): null pointer";

TEST(StringCases, EachStorageOperationLeavesThisBlockTheseCodesAndThisTrace) {
    const string noAppend = "ZebString::pasteIn (error): storage not available";
    const string nullAppend = "ZebString::pasteIn (error): null pointer";
    static const ZebStr other("de");
    // clang-format off
    const struct {
        bool (*act)(Text &); // on "abc" with 2 bytes to spare
        char fails;          // the first (c)heck or (s)torage request
        const char * outcome;
        Texts texts;
    } cases[] = {
        {[](Text & s) { return s.setStorage(6); }, 's', "1 abc/6 0:0", {}},
        {[](Text & s) { return s.setStorage(0); }, 's', "1 -/0 0:0", {}},
        {[](Text & s) { return s.setStorage(9); }, 's', "0 abc/6 2:2071", {noStorage}},
        {[](Text & s) { return s.setStorage(SIZE_MAX); }, '-', "0 abc/6 2:2071", {noStorage}},
        {[](Text & s) { return s.set(nullptr, 0); }, 'c', "1 -/0 0:0", {}},
        {[](Text & s) { return s.set(nullptr, 5); }, '-', "0 abc/6 2:6108", {nullText}},
        {[](Text & s) { return s.set("wxyz", 4); }, 'c', "0 abc/6 2:2004", {unreadable}},
        {[](Text & s) { return s.set("wxyz", 4); }, 's', "0 abc/6 2:2071", {noStorage}},
        {[](Text & s) { return s.pasteIn(nullptr, 0); }, 'c', "1 abc/6 0:0", {}},
        {[](Text & s) { return s.pasteIn(nullptr, 5); }, '-', "0 abc/6 2:6108", {nullAppend}},
        {[](Text & s) { return s.pasteIn("de", 2); }, 'c', "0 abc/6 2:2004", {unreadable}},
        {[](Text & s) { return s.pasteIn("de", 3); }, 's', "0 abc/6 2:2071", {noStorage}},
        {[](Text & s) { return s.pasteIn("x", SIZE_MAX - 3); }, '-', "0 abc/6 2:2071", {noAppend}},
        {[](Text & s) { return s.pasteIn("x", SIZE_MAX - 4); }, '-', "0 abc/6 2:2071", {noStorage}},
        {[](Text & s) { return s.assign(Text("x")); }, '-', "1 x/2 0:0", {}},
        {[](Text & s) { return s.assign(s); }, 's', "1 abc/6 0:0", {}},
        {[](Text & s) { return s += "de", s.completionCode() == 0; }, 's', "1 abc/4 0:0", {notBuilt}},
        {[](Text & s) { return s += other, s.completionCode() == 0; }, 's', "0 -/0 1:2071", {notJoined}},
    };
    // clang-format on
    for (const auto & row : cases) {
        const auto number = &row - cases;
        Text text("abc", 2);
        Recording recording;
        recording.refuseCheck(row.fails == 'c' ? 1 : 0);
        FailAllocations guard(row.fails == 's' ? 1 : 0);
        const bool result = row.act(text);
        guard.stop();
        EXPECT_EQ((result ? "1 " : "0 ") + told(text), row.outcome) << number;
        EXPECT_EQ(recording.texts(), row.texts) << number;
    }
}

TEST(StringCases, ConstructionAndAssignmentGiveTheseBlocks) {
    const char * const null = nullptr;
    // clang-format off
    const std::pair<ZebStr, const char *> made[] = {
        {ZebStr(), "-/0 0:0"}, {ZebStr('x'), "x/2 0:0"}, {ZebStr('\0'), "/2 0:0"}, {ZebStr(null), "-/0 0:0"}, {ZebStr(""), "-/0 0:0"},
        {ZebStr("word"), "word/5 0:0"}, {ZebStr("a\0b\0", 4), "a.b./5 0:0"}, {ZebStr(nullptr, 0), "-/0 0:0"}, {ZebStr(nullptr, 5), "-/0 2:6108"},
    };
    // clang-format on
    for (const auto & [object, outcome] : made) {
        EXPECT_EQ(told(object), outcome);
    }
    ZebStr field;
    ASSERT_TRUE(field.set("ab\0cd", 5));
    const ZebStr copy(spoiled(field));
    ZebStr assigned("longer text");
    assigned = copy;
    EXPECT_EQ(told(copy) + ' ' + told(assigned), "ab/5 2:6108 ab/5 2:6108");
    EXPECT_EQ(string(copy.text(), 5), "ab\0cd"s);
}

// The operations of the fuzz target, which holds each against its model: bytes set, a size for
// them, a failure, and then any operation.
TEST(StringScope, EveryOperationOnSmallBlocksIsThatOfTheModel) {
    for (const string & bytes : textsOf("a \0-09"s, 4)) {
        for (const int spare : {-1, 0, 2}) {
            for (char operation = 0; operation != 16; ++operation) {
                for (const char argument : "\1\2a -") { // and its null
                    const auto size = static_cast<char>(bytes.size());
                    const string given = "\0"s + size + bytes + '\4' +
                                         static_cast<char>(std::max(size + spare, 0)) + "\17\4"s;
                    const string input = given + operation + argument + "\2b\0 \t+5"s;
                    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()),
                                           input.size());
                }
            }
        }
    }
}

TEST(StringScope, OwnBytesAreTakenAsIfCopiedOutFirst) {
    for (const string & bytes : {"abcdef\0"s, "ab\0de\0"s, "a\0"s}) {
        for (std::size_t from = 0; from != bytes.size(); ++from) {
            for (std::size_t length = 1; length <= bytes.size() - from; ++length) {
                for (const bool sets : {true, false}) {
                    const auto act = [&](ZebStr & text, const char * at) {
                        ASSERT_TRUE(sets ? text.set(at, length) : text.pasteIn(at, length));
                    };
                    ZebStr plain, own;
                    ASSERT_TRUE(plain.set(bytes.data(), bytes.size()));
                    own = plain;
                    act(plain, bytes.substr(from, length).data());
                    act(own, own.text() + from);
                    EXPECT_EQ(told(own), told(plain)) << from << ' ' << length;
                    EXPECT_EQ(std::memcmp(own.text(), plain.text(), own.storage()), 0);
                }
            }
        }
    }
}

// One copy into a field, in its three forms: reporting on an object, on nobody, and under the lock.
enum class Form { object, nobody, locked };

void expectCopy(Form form, const char * source, std::size_t width, bool toNull,
                std::size_t refused) {
    Texts lines;
    string field = "######", codes = "0:0";
    const string text = source != nullptr ? source : "";
    const std::size_t n = std::min(width, text.size());
    const auto isUsable = [&](const string & check) {
        lines.push_back(check);
        return lines.size() != refused;
    };
    const auto report = [&](const string & words, const char * both) {
        lines.push_back("text " + words);
        codes = both;
        return both[0] != '2';
    };
    const bool checked = form == Form::object;
    const auto wanted = [&] {
        if (!toNull && width != 0 && !isUsable("check 2 " + std::to_string(width))) {
            return checked ? report("ZebString::copy (error): target buffer error", "2:2146")
                           : report("ZebString::copy (error): buffer error", "2:2004");
        }
        if (checked && source != nullptr && !isUsable("check 1 1")) {
            return report("ZebString::copy (error): source buffer error", "2:2145");
        }
        if (toNull && width != 0) {
            return report("static ZebString::copy (error): no destination buffer", "2:6108");
        }
        field.replace(0, width, text.substr(0, n) + string(width - n, '-'));
        return width >= text.size() || (checked && width == 0) ||
               report("static ZebString::copy (warning): string truncated", "1:6115");
    }();
    if (form == Form::locked) {
        lines.insert(lines.begin(), {"entry 31 57", "exit 31 57 1"});
        lines.insert(lines.end(), {"entry 31 58", "exit 31 58 1"});
    }
    support::PageEnd page(std::string_view("######"));
    char * const target = toNull ? nullptr : page.data();
    ZebStr object = form == Form::locked ? spoiled(ZebStr(source)) : ZebStr();
    Recording recording;
    recording.refuseCheck(refused);
    const bool result = form == Form::object   ? ZebStr::copy(target, width, source, object, '-')
                        : form == Form::nobody ? ZebStr::copy(target, width, source, '-')
                                               : object.copyOut(target, width, '-');
    const string where = '"' + text + "\" in " + std::to_string(width) + ", form " +
                         std::to_string(static_cast<int>(form));
    EXPECT_EQ(result, wanted) << where;
    EXPECT_EQ(recording.lines(), lines) << where;
    EXPECT_EQ(string(page.data(), 6), field) << where;
    if (form != Form::nobody) {
        EXPECT_EQ(told(object).substr(told(object).find(' ') + 1), codes) << where;
    }
}

TEST(StringScope, EveryCopyFillsItsFieldAndReportsAsTold) {
    ZebTrc::traceMessage("set up");
    for (const Form form : {Form::object, Form::nobody, Form::locked}) {
        for (const char * source :
             {static_cast<const char *>(nullptr), "", "a", "abcd", "abcdefg"}) {
            for (const std::size_t width : {0U, 1U, 4U, 6U}) {
                for (const std::size_t refused : {0U, 1U, 2U}) {
                    expectCopy(form, source, width, false, refused);
                    expectCopy(form, source, width, true, refused);
                }
            }
        }
    }
}

TEST(StringScope, EveryPairOfSmallTextsComparesIsFoundAndJoined) {
    for (const string & a : textsOf("a\xC3 ", 3)) {
        for (const string & b : textsOf("a\xC3 ", 3)) {
            for (const std::size_t spare : {0U, 2U}) {
                const string pair = a + '|' + b;
                const Text left(a, spare), right(b, spare);
                const int sign = a.compare(b);
                ASSERT_EQ(left.compare(right), (sign > 0) - (sign < 0)) << pair;
                ASSERT_EQ(left.find(right), a.find(b) != string::npos) << pair;
                for (const std::size_t offset : {0UL, 1UL, 2UL, 3UL, 4UL, SIZE_MAX, SIZE_MAX - 2}) {
                    const bool past = offset > a.size() || b.size() > a.size() - offset;
                    const std::size_t at = a.find(b, offset);
                    const std::size_t end = b.empty() || past   ? offset
                                            : at < string::npos ? at
                                                                : a.size() - b.size() + 1;
                    std::size_t place = offset;
                    ASSERT_EQ(left.find(right, place), b.empty() || at != string::npos) << pair;
                    ASSERT_EQ(place, end) << pair << offset;
                }
                Text withString = spoiled(left), withText = spoiled(left);
                withString += static_cast<const ZebStr &>(right);
                withText += b.c_str();
                const ZebStr self = spoiled(left);
                for (const ZebStr & joined :
                     {static_cast<ZebStr>(withString), static_cast<ZebStr>(withText), self + right,
                      self + b.c_str(), a.c_str() + right}) {
                    ASSERT_EQ(told(joined), fresh(a + b)) << pair;
                }
            }
        }
    }
}

TEST(StringScope, EverySmallTextGivesThesePiecesAndStrippings) {
    const auto ends = {0UL, 1UL, 2UL, 3UL, 4UL, 5UL, 6UL, SIZE_MAX};
    for (const string & text : textsOf("a ,", 5)) {
        const Text bad = spoiled(Text(text, 2));
        for (const std::size_t offset : ends) {
            for (const std::size_t length : ends) {
                const bool past = offset > text.size() || length > text.size() - offset;
                const std::size_t count = length != 0 ? length : string::npos;
                ASSERT_EQ(told(bad(offset, length)), fresh(past ? "" : text.substr(offset, count)))
                    << text << offset << ' ' << length;
            }
        }
        for (const char mark : {'a', ' ', 'x', '\0'}) {
            const std::size_t other = std::min(text.find_first_not_of(mark), text.size());
            const std::size_t begin = mark != '\0' ? other : 0;
            Text front = bad;
            ASSERT_EQ(front.stripLeading(mark), begin) << text << mark;
            ASSERT_EQ(told(front), begin != 0 ? fresh(text.substr(begin)) : told(bad));
            ZebStr token = spoiled(ZebStr("old"));
            bad.copyOut(token, mark);
            ASSERT_EQ(token.reasonCode(), other != text.size() ? 0 : 6108) << text << mark;
        }
    }
}

TEST(StringCases, NullMarksAreToldInTheTrace) {
    const char * unwise =
        "ZebString::copyOut/cutOut (information): null string delimiter is not advised";
    const char * leading = "ZebString::stripLeading (information): cannot strip nulls";
    const char * trailing = "ZebString::stripTrailing (information): cannot strip nulls";
    Recording recording;
    ZebStr empty, text("ab"), token;
    EXPECT_EQ(empty.copyOut(token, '\0'), 0U);
    EXPECT_EQ(empty.cutOut(token, '\0'), 0U);
    EXPECT_EQ(text.stripLeading('\0'), 0U);
    EXPECT_EQ(text.stripTrailing('\0'), 0U);
    EXPECT_EQ(text.cutOut(token, '\0'), 2U); // ends in a strip, which speaks as well
    EXPECT_EQ(recording.texts(), (Texts{unwise, unwise, leading, trailing, unwise, leading}));
}

TEST(StringCases, NumbersStopAtTheirBounds) {
    const std::tuple<const char *, std::size_t, std::int32_t> cases[] = {
        {"2147483647", 10, INT32_MAX},
        {"2147483648", 10, INT32_MAX},
        {"-2147483648", 11, INT32_MIN},
        {"-2147483649", 11, INT32_MIN},
        {"99999999999999999999", 20, INT32_MAX},
        {"\t+90/", 4, 90},
        {"5\xB2", 1, 5},
        {"8:", 1, 8},
        {"\n5", 0, 7},
    };
    for (const auto & [text, passed, expected] : cases) {
        std::int32_t number = 7;
        EXPECT_EQ(ZebStr(text).copyOut(number), passed) << text;
        EXPECT_EQ(number, expected) << text;
    }
    for (int c = CHAR_MIN; c <= CHAR_MAX; ++c) {
        EXPECT_EQ(WhiteSpace(static_cast<char>(c)), c == 9 || c == 32) << c;
    }
}

TEST(StringCases, CharactersAndNumbersAreAppendedWhole) {
    const auto joined = [](auto operand) {
        ZebStr text("n=");
        text += operand;
        EXPECT_EQ(told(text), told(ZebStr("n=") + operand));
        return told(text);
    };
    EXPECT_EQ(joined(std::int32_t{-42}), fresh("n=-42"));
    EXPECT_EQ(joined(INT32_MIN), fresh("n=-2147483648"));
    EXPECT_EQ(joined(1.5), fresh("n=1.500000"));
    EXPECT_EQ(joined(-1e308).size(), fresh("n=-").size() + 309 + 7 + 2);
    EXPECT_EQ(joined('x'), fresh("n=x"));
    EXPECT_EQ(joined('\0'), fresh("n="));
    const std::tuple<const char *, bool, string> cases[] = {
        {"%.2f", true, "n=2.50"},
        {"", false, "n=***"},
        {nullptr, false, "n=***"},
        {"%900.1f", true, "n=" + string(897, ' ') + "2.5"}};
    for (const auto & [format, result, expected] : cases) {
        ZebStr text = spoiled(ZebStr("n="));
        EXPECT_EQ(text.pasteIn(2.5, format), result);
        EXPECT_EQ(told(text), fresh(expected));
    }
    const Text lower = spoiled(Text("a-\xE4z", 4));
    EXPECT_EQ(told(lower.upperCase()), "A-\xE4Z/9 2:6108");
    EXPECT_EQ(told(lower), "a-\xE4z/9 2:6108");
    EXPECT_EQ(told(ZebStr().upperCase()), "-/0 0:0");
}

TEST(StringStorage, ASemaphoreThatCannotBeMadeIsAFailureOfTheCopyAlone) {
    ZebStrCleanUp();
    ZebTrc::traceMessage("this thread is set up");
    ZebStr text("abc");
    char field[] = "####";
    {
        Recording recording;
        FailAllocations guard(1);
        const bool result = text.copyOut(field, 4, ' ');
        guard.stop();
        EXPECT_FALSE(result);
        EXPECT_EQ(recording.lines(), (Texts{"entry 31 57", "exit 31 57 0"}));
    }
    EXPECT_EQ(told(text) + ' ' + field, "abc/4 2:2195 ####");
    EXPECT_TRUE(text.copyOut(field, 4, ' '));
    EXPECT_EQ(told(text) + ' ' + field, "abc/4 0:0 abc ");
}

}
