#include "ZebStr.hpp"
#include "ZebTrc.hpp"
#include "frame/report.hpp"
#include "frame/storage.hpp"
#include "values/text_copy.hpp"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

constexpr zeb::Report noStorageToConcatenate{
    "ZebString::concatenate (warning): storage not available", ZBRC_STORAGE_NOT_AVAILABLE,
    ZBCC_WARNING};

std::string_view viewOf(const ZebStr & string) {
    return {string.text() != nullptr ? string.text() : "", string.length()};
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

} // namespace

bool WhiteSpace(char character) {
    return character == '\t' || character == ' ';
}

// A string that takes over a temporary's block needs no storage of its own for it.
void ZebStr::replaceBy(ZebStr & source) {
    ZebItm::operator=(source);
    adopt(source.text_, source.storageSize_);
    source.text_ = nullptr;
    source.storageSize_ = 0;
}

std::int16_t ZebStr::compare(const ZebStr & other) const {
    const int order = viewOf(*this).compare(viewOf(other));
    return static_cast<std::int16_t>((order > 0) - (order < 0));
}

bool ZebStr::find(const ZebStr & target) const {
    std::size_t offset = 0;
    return find(target, offset);
}

bool ZebStr::find(const ZebStr & target, std::size_t & offset) const {
    const std::string_view here = viewOf(*this);
    const std::string_view wanted = viewOf(target);
    if (wanted.empty()) {
        return true;
    }
    if (wanted.size() > here.size() || offset > here.size() - wanted.size()) {
        return false;
    }
    const std::size_t place = here.find(wanted, offset);
    const bool found = place != std::string_view::npos;
    offset = found ? place : here.size() - wanted.size() + 1;
    return found;
}

ZebStr ZebStr::operator()(std::size_t offset, std::size_t length) const {
    ZebStr piece;
    const std::size_t end = this->length();
    if (offset >= end) {
        return piece;
    }
    if (length == 0) {
        length = end - offset;
    }
    char * block = nullptr;
    if (length > end - offset || !piece.obtain(length + 1, block)) {
        return piece;
    }
    std::memcpy(block, text_ + offset, length);
    block[length] = '\0';
    piece.adopt(block, length + 1);
    return piece;
}

ZebStr ZebStr::upperCase() const {
    ZebStr upper(*this);
    const std::size_t length = upper.length();
    std::transform(upper.text_, upper.text_ + length, upper.text_, [](char character) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    });
    return upper;
}

std::size_t ZebStr::stripLeading(char character) {
    if (character == '\0') {
        ZebTrc::traceMessage("ZebString::stripLeading (information): cannot strip nulls");
        return 0;
    }
    const std::string_view here = viewOf(*this);
    const std::size_t count = std::min(here.find_first_not_of(character), here.size());
    if (count != 0) {
        ZebStr rest = (*this)(count, 0);
        replaceBy(rest);
    }
    return count;
}

std::size_t ZebStr::stripTrailing(char character) {
    if (character == '\0') {
        ZebTrc::traceMessage("ZebString::stripTrailing (information): cannot strip nulls");
        return 0;
    }
    const std::size_t end = length();
    const std::size_t stripped = zeb::strippedEnd(text_, end, character);
    if (stripped != end) {
        text_[stripped] = '\0';
    }
    return end - stripped;
}

std::size_t ZebStr::copyOut(ZebStr & token, char delimiter) const {
    if (delimiter == '\0') {
        ZebTrc::traceMessage(
            "ZebString::copyOut/cutOut (information): null string delimiter is not advised");
    }
    const std::string_view here = viewOf(*this);
    const std::size_t begin = here.find_first_not_of(delimiter);
    if (begin == std::string_view::npos) {
        return 0;
    }
    const std::size_t end = std::min(here.find(delimiter, begin), here.size());
    ZebStr piece = (*this)(begin, end - begin);
    token.replaceBy(piece);
    return end;
}

std::size_t ZebStr::cutOut(ZebStr & token, char delimiter) {
    const std::size_t count = copyOut(token, delimiter);
    if (count == 0) {
        return 0;
    }
    ZebStr rest = (*this)(count, 0);
    replaceBy(rest);
    return delimiter == ' ' ? count : count + stripLeading(delimiter);
}

std::size_t ZebStr::numberEnd(std::int32_t & number) const noexcept {
    constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
    if (text_ == nullptr) {
        return 0;
    }
    const char * at = text_;
    while (WhiteSpace(*at)) {
        ++at;
    }
    const bool negative = *at == '-';
    if (negative || *at == '+') {
        ++at;
    }
    if (!isDigit(*at)) {
        return 0;
    }
    std::int64_t value = 0;
    for (; isDigit(*at); ++at) {
        // Held one past the lowest number, so that any run of digits stays in range.
        value = std::min(value * 10 + (*at - '0'), -lowest);
    }
    number = static_cast<std::int32_t>(negative ? -value : std::min(value, highest));
    return static_cast<std::size_t>(at - text_);
}

std::size_t ZebStr::copyOut(std::int32_t & number) const {
    return numberEnd(number);
}

std::size_t ZebStr::cutOut(std::int32_t & number) {
    const std::size_t count = numberEnd(number);
    if (count != 0) {
        ZebStr rest = (*this)(count, 0);
        replaceBy(rest);
    }
    return count;
}

bool ZebStr::pasteIn(std::int32_t number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%ld", static_cast<long>(number));
    *this += digits;
    return true;
}

bool ZebStr::pasteIn(double number, const char * format) {
    char local[512];
    const int length = format != nullptr ? std::snprintf(local, sizeof local, format, number) : 0;
    if (length <= 0) {
        *this += "***";
        return false;
    }
    const std::size_t size = static_cast<std::size_t>(length) + 1;
    if (size <= sizeof local) {
        *this += local;
        return true;
    }
    ZebStr converted;
    if (!converted.setStorage(size)) {
        *this += "***";
        return false;
    }
    std::snprintf(converted.text_, size, format, number);
    *this += converted;
    return true;
}

const ZebStr ZebStr::concatenate(const ZebStr & left, const ZebStr & right) const {
    const std::string_view first = viewOf(left);
    const std::string_view second = viewOf(right);
    ZebStr joined;
    if (first.empty() && second.empty()) {
        return joined;
    }
    const std::size_t size = first.size() + second.size() + 1;
    char * const block = zeb::obtainBlock(size);
    if (block == nullptr) {
        zeb::report(joined, noStorageToConcatenate);
        return joined;
    }
    std::memcpy(block, first.data(), first.size());
    std::memcpy(block + first.size(), second.data(), second.size());
    block[size - 1] = '\0';
    joined.adopt(block, size);
    return joined;
}

ZebStr ZebStr::operator+(const ZebStr & right) const {
    return concatenate(*this, right);
}

ZebStr ZebStr::operator+(char right) const {
    return concatenate(*this, ZebStr(right));
}

ZebStr ZebStr::operator+(const char * right) const {
    ZebStr joined(*this);
    joined += right;
    return joined;
}

ZebStr ZebStr::operator+(std::int32_t right) const {
    ZebStr joined(*this);
    joined += right;
    return joined;
}

ZebStr ZebStr::operator+(double right) const {
    ZebStr joined(*this);
    joined += right;
    return joined;
}

void ZebStr::operator+=(const ZebStr & right) {
    ZebStr joined = *this + right;
    replaceBy(joined);
}

void ZebStr::operator+=(char right) {
    *this += ZebStr(right);
}

void ZebStr::operator+=(const char * right) {
    *this += ZebStr(right);
}

void ZebStr::operator+=(std::int32_t right) {
    pasteIn(right);
}

void ZebStr::operator+=(double right) {
    pasteIn(right, "%f");
}
