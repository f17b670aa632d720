// Sequences of operations on strings, each against a plain model of its block and codes.
#include "fuzz/input.hpp"
#include "zebbase.hpp"

#include <array>
#include <limits>

namespace {

struct Model : Codes {
    std::string block;

    std::string text() const { return block.substr(0, block.find('\0')); }
    // What all operations do that build a text anew: no block for an empty one, no codes.
    void replace(const std::string & text) {
        block = text.empty() ? text : text + '\0';
        report(ZBRC_NONE, ZBCC_OK);
    }
    void set(const std::string & bytes) {
        block = bytes;
        if (!bytes.empty() && bytes.find('\0') == std::string::npos) {
            block += '\0';
        }
    }
    void append(std::string bytes) {
        std::replace(bytes.begin(), bytes.end(), '\0', '.');
        block = bytes.empty() ? block : text() + bytes + '\0';
    }
    void setStorage(std::size_t size) {
        block.resize(size);
        if (size != 0 && block.find('\0') == std::string::npos) {
            block.back() = '\0';
        }
    }
    bool matches(const ZebStr & string) const {
        return string.storage() == block.size() && (string.text() == nullptr) == block.empty() &&
               (block.empty() || std::memcmp(string.text(), block.data(), block.size()) == 0) &&
               string.length() == text().size() && areThoseOf(string);
    }
};

std::size_t behind(std::size_t place, const std::string & text) {
    return std::min(place, text.size());
}

// How many characters a number takes at the front, and the number.
std::size_t numberIn(const std::string & text, std::int32_t & number) {
    std::size_t at = behind(text.find_first_not_of(" \t"), text);
    const bool negative = text[at] == '-';
    at += negative || text[at] == '+' ? 1 : 0;
    const std::size_t end = behind(text.find_first_not_of("0123456789", at), text);
    if (end == at) {
        return 0;
    }
    std::int64_t value = 0;
    for (; at != end; ++at) {
        value = std::min<std::int64_t>(value * 10 + (text[at] - '0'), std::int64_t{1} << 40);
    }
    constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
    number = static_cast<std::int32_t>(std::clamp(negative ? -value : value, lowest, highest));
    return end;
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, std::size_t size) {
    Input input(bytes, size);
    std::array<ZebStr, 3> strings;
    std::array<Model, 3> models;
    while (!input.ended()) {
        const std::uint8_t operation = input.byte();
        ZebStr & string = strings[operation >> 6 & 1];
        Model & model = models[operation >> 6 & 1];
        const ZebStr & other = strings[operation >> 7];
        const std::string text = model.text();
        const std::size_t n = input.byte();
        const auto character = static_cast<char>(n);
        const bool odd = (operation & 1) != 0;
        switch (operation % 16) {
        case 0:
        case 1:
        case 2:
        case 3: { // from elsewhere, or from within its own block
            const bool own = operation % 16 > 1;
            const std::size_t from = own && !model.block.empty() ? n % model.block.size() : 0;
            const std::string data = own ? model.block.substr(from) : input.bytes(n);
            const auto block = exactBlock(data);
            const char * source = own ? string.text() + from : block.get();
            CHECK(odd ? string.pasteIn(source, data.size()) : string.set(source, data.size()));
            odd ? model.append(data) : model.set(data);
            break;
        }
        case 4:
            CHECK(string.setStorage(n));
            model.setStorage(n);
            break;
        case 5: {
            const Model source = models[operation >> 7];
            string = other;
            model = source;
            break;
        }
        case 6:
        case 7: {
            const std::string more = odd ? models[operation >> 7].text() : input.text(n);
            odd ? string += other : string += more.c_str();
            model.replace(text + more);
            break;
        }
        case 8: {
            const auto number = static_cast<std::int32_t>(n << 24);
            string += number;
            model.replace(text + std::to_string(number));
            break;
        }
        case 9:
            CHECK(string.pasteIn(static_cast<double>(n), n > 9 ? "%.2f|" : "") == (n > 9));
            model.replace(text + (n > 9 ? std::to_string(n) + ".00|" : "***"));
            break;
        case 10:
        case 11: { // a token; with a null delimiter that is all
            const std::size_t begin = behind(n == 0 ? 0 : text.find_first_not_of(character), text);
            const std::size_t end = behind(n == 0 ? begin : text.find(character, begin), text);
            std::size_t taken = begin == text.size() ? 0 : n == 0 ? text.size() : end;
            if (taken != 0) {
                models[2].replace(text.substr(begin, taken - begin));
            }
            if (odd && taken != 0) {
                if (n != 0 && character != ' ') {
                    taken = behind(text.find_first_not_of(character, taken), text);
                }
                model.replace(text.substr(taken));
            }
            CHECK((odd ? string.cutOut(strings[2], character)
                       : string.copyOut(strings[2], character)) == taken);
            break;
        }
        case 12:
        case 13: {
            std::int32_t number = 5, expectedNumber = 5;
            const std::size_t end = numberIn(text, expectedNumber);
            CHECK((odd ? string.cutOut(number) : string.copyOut(number)) == end);
            CHECK(number == expectedNumber);
            if (odd && end != 0) {
                model.replace(text.substr(end));
            }
            break;
        }
        case 14: {
            const auto end = std::find_if(text.rbegin(), text.rend(),
                                          [character](char each) { return each != character; });
            const auto stripped = n == 0 ? 0 : static_cast<std::size_t>(end - text.rbegin());
            CHECK(string.stripTrailing(character) == stripped);
            if (stripped != 0) {
                model.block[text.size() - stripped] = '\0';
            }
            break;
        }
        default: { // to a field, and then a failure
            std::string expected = text, field(n, '?');
            expected.resize(n, '~');
            CHECK(string.copyOut(field.data(), n, '~') && field == expected);
            CHECK(string.reasonCode() == (text.size() > n ? ZBRC_DATA_TRUNCATED : 0));
            CHECK(!string.set(nullptr, 1));
            model.report(ZBRC_NULL_POINTER);
        }
        }
        if (model.block.size() > 4096) { // doubled by itself again and again
            CHECK(string.setStorage(n));
            model.setStorage(n);
        }
        for (std::size_t i = 0; i != models.size(); ++i) {
            CHECK(models[i].matches(strings[i]));
        }
    }
    return 0;
}
