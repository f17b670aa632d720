#ifndef FUZZ_TEXT_MODEL_HPP
#define FUZZ_TEXT_MODEL_HPP

#include "ZebStr.hpp"
#include "fuzz/step.hpp"
#include "support/checks.hpp"

#include <string_view>

namespace model {

using std::size_t;
using std::string;
using support::fitted;

/// A block with codes, which is obtained anew where its size changes.
struct Block : TracedCodes {
    const char * const refusal;
    string block;

    explicit Block(const char * words) : refusal(words) {}
    Block(const Block & source) : Block(source.refusal) { *this = source; }
    Block & operator=(const Block & source) {
        TracedCodes::operator=(source);
        take(source.block);
        return *this;
    }
    bool take(const string & bytes, const char * warning = nullptr) {
        if (bytes.size() != block.size() && !bytes.empty() && step.storage.strikes()) {
            return trace(warning != nullptr ? warning : refusal, ZBRC_STORAGE_NOT_AVAILABLE,
                         warning != nullptr ? ZBCC_WARNING : ZBCC_FAILED);
        }
        block = bytes;
        return true;
    }
    const char * data() const { return block.empty() ? nullptr : block.data(); }
    // A block with two owners would show as one that changes with another.
    bool isThatOf(const ZebErr & real, const void * bytes, size_t size) const {
        return areThoseOf(real) && (bytes == nullptr) == block.empty() &&
               std::string_view(static_cast<const char *>(bytes), size) == block;
    }
};

/// A string in plain terms, under the names of the real one.
struct Text : Block {
    Text() : Block("ZebString::setStorage (error): storage not available") {}
    Text(char character) : Text() { take({character, '\0'}, notBuilt); }
    Text(const char * text) : Text() { take(ended(text != nullptr ? text : ""), notBuilt); }
    Text(const void * bytes, size_t length) : Text() { pasteIn(bytes, length); }
    bool assign(const Text & source) { return take(source.block); }

    // With a null behind it where it has none, unless it is empty.
    static string ended(const string & text) {
        return text.empty() || text.find('\0') != string::npos ? text : text + '\0';
    }
    string view() const { return block.c_str(); } // up to the first null
    const char * text() const { return data(); }
    size_t storage() const { return block.size(); }
    bool isLike(const ZebStr & real) const {
        return isThatOf(real, real.text(), real.storage()) && real.length() == view().size();
    }
    bool setStorage(size_t size) {
        string bytes = fitted(block, size, '\0');
        if (size != 0 && bytes.find('\0') == string::npos) {
            bytes.back() = '\0';
        }
        return take(bytes);
    }
    bool set(const char * text, size_t length) {
        return isThere(text, length, "ZebString::set (error): null pointer") && mayRead(length) &&
               take(ended(string(text, length)));
    }
    bool pasteIn(const void * bytes, size_t length) {
        if (!isThere(bytes, length, "ZebString::pasteIn (error): null pointer") ||
            !mayRead(length) || length == 0) {
            return length == 0;
        }
        string added(static_cast<const char *>(bytes), length);
        std::replace(added.begin(), added.end(), '\0', '.');
        return take(view() + added + '\0');
    }
    bool pasteIn(std::int32_t number) { return *this += std::to_string(number).c_str(), true; }
    bool pasteIn(double number, const char * format) {
        char printed[1000] = "";
        std::snprintf(printed, sizeof printed, format != nullptr ? format : "", number);
        const bool isLong = std::strlen(printed) > 511;
        Text large; // what is long is printed to a block of its own
        if (*printed == '\0' || (isLong && !large.take(ended(printed)))) {
            return *this += "***", false;
        }
        return isLong ? *this += large : *this += printed, true;
    }

    std::int16_t compare(const Text & other) const {
        return view() < other.view() ? -1 : view() == other.view() ? 0 : 1;
    }
    bool find(const Text & target) const { return view().find(target.view()) != string::npos; }
    bool find(const Text & target, size_t & offset) const {
        const string here = view(), wanted = target.view();
        const bool reachesPast = offset > here.size() || wanted.size() > here.size() - offset;
        const size_t place = here.find(wanted, offset);
        if (!wanted.empty() && !reachesPast) {
            offset = std::min(place, here.size() - wanted.size() + 1);
        }
        return wanted.empty() || place != string::npos;
    }
    Text operator()(size_t offset, size_t length) const {
        Text piece;
        const string here = view();
        if (offset < here.size() && length <= here.size() - offset) {
            piece.take(here.substr(offset, length != 0 ? length : string::npos) + '\0');
        }
        return piece;
    }
    Text upperCase() const {
        Text upper(*this);
        for (char * at = upper.block.data(); *at != '\0'; ++at) {
            *at = *at >= 'a' && *at <= 'z' ? static_cast<char>(*at - 'a' + 'A') : *at;
        }
        return upper;
    }
    size_t stripLeading(char mark) {
        inform(mark, "ZebString::stripLeading (information): cannot strip nulls");
        return dropFront(std::min(view().find_first_not_of(mark), view().size()));
    }
    size_t stripTrailing(char mark) {
        inform(mark, "ZebString::stripTrailing (information): cannot strip nulls");
        const size_t size = view().size(), last = view().find_last_not_of(mark);
        const size_t end = last == string::npos ? 0 : last + 1;
        block[end] = '\0';
        return size - end;
    }

    size_t copyOut(Text & token, char mark) const {
        inform(mark,
               "ZebString::copyOut/cutOut (information): null string delimiter is not advised");
        const string here = view();
        const size_t begin = here.find_first_not_of(mark);
        if (begin == string::npos) {
            return 0;
        }
        const size_t end = std::min(here.find(mark, begin), here.size());
        token.become((*this)(begin, end - begin));
        return end;
    }
    size_t cutOut(Text & token, char mark) {
        const size_t end = dropFront(copyOut(token, mark));
        return end == 0 || mark == ' ' ? end : end + stripLeading(mark);
    }
    size_t copyOut(std::int32_t & number) const {
        const string here = view();
        char * end = nullptr;
        const long long value = std::strtoll(here.c_str(), &end, 10);
        const auto count = static_cast<size_t>(end - here.c_str());
        // That function passes over all white space.
        if (count == 0 || here.find_first_of("\n\v\f\r") < count) {
            return 0;
        }
        number = static_cast<std::int32_t>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
        return count;
    }
    size_t cutOut(std::int32_t & number) { return dropFront(copyOut(number)); }

    Text operator+(const Text & right) const {
        Text joined;
        joined.take(ended(view() + right.view()),
                    "ZebString::concatenate (warning): storage not available");
        return joined;
    }
    Text operator+(char right) const { return *this + Text(right); }
    Text operator+(const auto & right) const {
        Text joined(*this);
        joined += right;
        return joined;
    }
    friend Text operator+(const char * left, const Text & right) { return Text(left) + right; }
    void operator+=(const Text & right) { become(*this + right); }
    void operator+=(char right) { become(*this + right); }
    void operator+=(std::int32_t right) { pasteIn(right); }
    void operator+=(double right) { pasteIn(right, "%f"); }

    // Without an object to report on, less is checked.
    static bool copy(char * field, size_t width, const char * source, TracedCodes & error, char pad,
                     bool isLax = false) {
        const char * const refused = isLax ? "ZebString::copy (error): buffer error"
                                           : "ZebString::copy (error): target buffer error";
        if (field != nullptr && width != 0 &&
            !error.check(2, width, refused, isLax ? ZBRC_BUFFER_ERROR : ZBRC_TARGET_BUFFER_ERROR)) {
            return false;
        }
        if (source != nullptr && !isLax &&
            !error.check(1, 1, "ZebString::copy (error): source buffer error",
                         ZBRC_SOURCE_BUFFER_ERROR)) {
            return false;
        }
        if (field == nullptr && width != 0) {
            return error.trace("static ZebString::copy (error): no destination buffer",
                               ZBRC_NULL_POINTER);
        }
        const string text = source != nullptr ? source : "";
        fitted(text, width, pad).copy(field, width);
        return text.size() <= width || (width == 0 && !isLax) ||
               error.traceCut("static ZebString::copy (warning): string truncated");
    }
    static bool copy(char * field, size_t width, const char * source, char pad) {
        TracedCodes nobody;
        return copy(field, width, source, nobody, pad, true);
    }
    bool copyOut(char * field, size_t width, char pad) {
        hasLock = hasLock || !step.storage.strikes();
        step.lines = {"entry 31 57", hasLock ? "exit 31 57 1" : "exit 31 57 0"};
        report(hasLock ? ZBRC_NONE : ZBRC_UNEXPECTED_ERROR, hasLock ? ZBCC_OK : ZBCC_FAILED);
        if (hasLock) {
            copy(field, width, text(), *this, pad, true);
            step.lines.insert(step.lines.end(), {"entry 31 58", "exit 31 58 1"});
        }
        return completion != ZBCC_FAILED;
    }
    static void cleanUp() {
        step.lines.assign(hasLock ? 1 : 0, "text Releasing ZebString resources");
        hasLock = false;
    }

private:
    static constexpr auto notBuilt = "ZebString::ZebString (warning): storage not available";
    static inline bool hasLock = false;

    bool isThere(const void * bytes, size_t size, const char * words) {
        return bytes != nullptr || size == 0 || trace(words, ZBRC_NULL_POINTER);
    }
    // No text has a null in it that could be stripped or looked for.
    static void inform(char mark, const string & words) {
        if (mark == '\0') {
            step.lines.push_back("text " + words);
        }
    }
    void become(const Text & source) {
        TracedCodes::operator=(source);
        block = source.block;
    }
    size_t dropFront(size_t count) {
        if (count != 0) {
            become((*this)(count, 0));
        }
        return count;
    }
};

}

#endif
