#include "ZebBin.hpp"
#include "ZebStr.hpp"

#include "support/checks.hpp"
#include "support/faulty_steps.hpp"

namespace {

using namespace support;
using std::string;
using std::string_literals::operator""s;

// Under the address sanitizer all takes far longer: there the scope ends a character earlier.
#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t longestOfPair = 2, longestAlone = 3;
#else
constexpr std::size_t longestOfPair = 3, longestAlone = 4;
#endif

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

// Rows of the fuzz target's table, and how many there are.
enum Operation { set, setStorage = 4, addText = 6, fail = 18, setBytes = 42, operationCount = 52 };

// Every operation with each of these numbers on two texts, the first with codes and perhaps a
// longer block, and on the same as byte strings.
void tryAll(const string & first, const string & second, std::size_t spare,
            const string & numbers) {
    string input;
    const auto add = [&input](int operation, std::size_t number, const string & bytes = "") {
        input += {static_cast<char>(operation), static_cast<char>(number)};
        input += bytes;
    };
    const auto sized = [](const string & text) { return static_cast<char>(text.size()) + text; };
    add(0x40 | set, second.size(), second); // of the second object
    add(0x40 | setBytes, 0, sized(second));
    for (int operation = 0; operation != operationCount; ++operation) {
        for (const char each : numbers) {
            const auto number = static_cast<std::uint8_t>(each);
            add(set, first.size(), first);
            add(setStorage, first.size() + spare);
            add(fail, 1, sized(""));
            add(setBytes, 0, sized(first));
            add(0x80 | operation, number, // of the first and the second
                operation < 2                            ? string(number, 'x')
                : operation == addText || operation > 15 ? sized(second)
                                                         : "");
        }
    }
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
}

TEST(StringScope, EveryOperationOnSmallTextsIsThatOfTheModel) {
    for (const string & first : textsOf("a\xC3 ", longestOfPair)) {
        for (const string & second : textsOf("a\xC3 ", longestOfPair)) {
            tryAll(first, second, 2, "\0\1\2\3\x0F"s);
        }
    }
    for (const string & text : textsOf("a \0-09"s, longestAlone)) {
        tryAll(text, "b", 0, " -a");
    }
    string all(256, '\0');
    std::iota(all.begin(), all.end(), '\0');
    const string texts[] = {
        "2147483647", "2147483648", "-2147483648", "-2147483649", "\t+90/",
        "5\xB2",      "8:",         "\n5",         "+-5",         " , a,,b",
        "az{`AZ",     "ab\0de\0"s,  "abcdefabc",   "ab",          "99999999999999999999"};
    for (const string & text : texts) {
        tryAll(text, "ab", 2, all);
    }
}

TEST(StringWalk, FollowsTheModelWhateverFails) {
    walkUnderFaults(200, 10000, [] {
        return pick(2) == 0 ? pick(256) : static_cast<unsigned char>("\0\1\2\4\7 ab-+9"[pick(11)]);
    });
}

TEST(StringCases, NoBlockIsLongerThanStorageCanBe) {
    ZebStr text("abc");
    ZebBin bytes("abc", 3);
    Recording recording;
    EXPECT_FALSE(text.setStorage(SIZE_MAX));
    EXPECT_FALSE(text.pasteIn("x", SIZE_MAX - 4)); // with the text and a null all that there is
    EXPECT_FALSE(text.pasteIn("x", SIZE_MAX - 3));
    EXPECT_FALSE(bytes.setDataLength(SIZE_MAX));
    EXPECT_EQ(told(text) + ' ' + told(bytes), "abc/4 2:2071 abc 2:2071");
    EXPECT_EQ(recording.texts(),
              (Texts{"ZebString::setStorage (error): storage not available",
                     "ZebString::setStorage (error): storage not available",
                     "ZebString::pasteIn (error): storage not available",
                     "ZebBinary::setDataLength (error): storage not available"}));
}

}
