// Sequences of operations on strings and byte strings, each carried out both on the library's
// classes and on plain models of them.
#include "fuzz/step.hpp"
#include "support/checks.hpp"
#include "zebbase.hpp"

#include <array>
#include <iterator>
#include <string_view>

namespace {

using std::size_t;
using std::string;
using support::fitted;

// A block with codes, which is obtained anew where its size changes.
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
    bool mayRead(size_t size) {
        return size == 0 || check(1, size, "ZebError::checkReadPointer (error): buffer error",
                                  ZBRC_BUFFER_ERROR);
    }
    const char * data() const { return block.empty() ? nullptr : block.data(); }
};

struct Bytes : Block {
    Bytes() : Block("ZebBinary::setDataLength (error): storage not available") {}
    Bytes(const void * data, size_t length) : Bytes() { set(data, length); }
    bool operator==(const Bytes & other) const { return block == other.block; }
    bool set(const void * data, size_t length) {
        const string bytes(static_cast<const char *>(data), length);
        return mayRead(length) && take(bytes);
    }
    bool setDataLength(size_t length) {
        return length == block.size() || take(string(length, '\0'));
    }
    bool copyOut(char * field, size_t width, char pad) {
        const char * const unwritable = "ZebError::checkWritePointer (error): buffer error";
        if (width != 0 && field == nullptr) {
            return trace("ZebBinary::copyOut (error): no destination buffer", ZBRC_NO_BUFFER);
        }
        if (width != 0 && !check(2, width, unwritable, ZBRC_BUFFER_ERROR)) {
            return false;
        }
        fitted(block, width, pad).copy(field, width);
        return true;
    }
    bool isNull() const { return block == support::zeros(block.size()); }
    size_t dataLength() const { return block.size(); }
    const void * dataPointer() const { return data(); }
};

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
        const string here = view(), there = other.view();
        return here < there ? -1 : here == there ? 0 : 1;
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
        const size_t count = std::min(view().find_first_not_of(mark), view().size());
        return mark != '\0' ? dropFront(count)
                            : inform("ZebString::stripLeading (information): cannot strip nulls");
    }
    size_t stripTrailing(char mark) {
        if (mark == '\0') {
            return inform("ZebString::stripTrailing (information): cannot strip nulls");
        }
        const size_t size = view().size(), end = view().find_last_not_of(mark) + 1;
        block[end] = '\0';
        return size - end;
    }

    size_t copyOut(Text & token, char mark) const {
        if (mark == '\0') {
            inform("ZebString::copyOut/cutOut (information): null string delimiter is not advised");
        }
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
        joined.take(ended(view() + right.view()), notJoined);
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
    static constexpr auto notJoined = "ZebString::concatenate (warning): storage not available";
    static inline bool hasLock = false;

    bool isThere(const void * bytes, size_t size, const char * words) {
        return bytes != nullptr || size == 0 || trace(words, ZBRC_NULL_POINTER);
    }
    static size_t inform(const string & words) {
        step.lines.push_back("text " + words);
        return 0;
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

// A block with two owners would show as one that changes with another.
void compare(const ZebErr & real, const void * data, size_t size, const Block & plain) {
    CHECK(plain.areThoseOf(real));
    CHECK((data == nullptr) == plain.block.empty());
    CHECK(std::string_view(static_cast<const char *>(data), size) == plain.block);
}

size_t half(size_t part) {
    return part < 13 ? part : SIZE_MAX - 15 + part;
}

// What the input says of a step: some bytes, and a number in many forms.
struct Given {
    size_t n;
    std::string_view source;
    const char * words;             // the same as a text, or null
    const char * nothing = nullptr; // as the compiler need not know
    size_t low = half(n % 16), high = half(n / 16);
    char mark = static_cast<char>(n);
    std::int32_t integer = static_cast<std::int32_t>(n << 24);
    double fraction = n == 0 ? -1e308 : static_cast<double>(n) / 8;
};
const char * const formats[] = {"%.2f|", "%.0f", "", nullptr, "%511.1f", "%512.1f", "%900.1f"};

// The objects of a step, and what it gives besides them.
template <class String, class Binary> struct World : Given {
    String & text;
    const String & other;
    String & result;
    Binary & bytes;
    const Binary & otherBytes;
    size_t count = low;
    std::int32_t number = 5;
    string field = string(n + 8, '?'); // 8 of which are never to be touched

    static String makeText(const auto &... from) { return String(from...); }
    static Binary makeBytes(const auto &... from) { return Binary(from...); }
    std::string_view ownText() const { return own(text.text(), text.storage()); }
    std::string_view ownBytes() const { return own(bytes.dataPointer(), bytes.dataLength()); }
    std::string_view own(const void * block, size_t size) const {
        const std::string_view all(static_cast<const char *>(block), size);
        return all.substr(std::min(low, size), high);
    }
};

// With what only derived classes may do.
struct OpenString : ZebStr {
    using ZebStr::assign;
    using ZebStr::ZebStr;
    using ZebStr::operator=;
    static void cleanUp() { ZebStrCleanUp(); }
};
using Real = World<OpenString, ZebBin>;
using Plain = World<Text, Bytes>;

// What is done to both.
struct Operation {
    template <class Act> Operation(Act act) : real(act), plain(act) {}
    bool (*real)(Real & world);
    bool (*plain)(Plain & world);
};
const Operation operations[] = {
    [](auto & w) { return w.text.set(w.source.data(), w.source.size()); },
    [](auto & w) { return w.text.pasteIn(w.source.data(), w.source.size()); },
    [](auto & w) { return w.text.set(w.ownText().data(), w.ownText().size()); },
    [](auto & w) { return w.text.pasteIn(w.ownText().data(), w.ownText().size()); },
    [](auto & w) { return w.text.setStorage(w.n); },
    [](auto & w) { return w.text = w.other, true; },
    [](auto & w) { return w.text += w.words, true; },
    [](auto & w) { return w.text += w.other, true; },
    [](auto & w) { return w.text.pasteIn(w.integer); },
    [](auto & w) { return w.text.pasteIn(w.fraction, formats[w.n % std::size(formats)]); },
    [](auto & w) { return w.count = w.text.copyOut(w.result, w.mark), true; },
    [](auto & w) { return w.count = w.text.cutOut(w.result, w.mark), true; },
    [](auto & w) { return w.count = w.text.copyOut(w.number), true; },
    [](auto & w) { return w.count = w.text.cutOut(w.number), true; },
    [](auto & w) { return w.count = w.text.stripTrailing(w.mark), true; },
    [](auto & w) { return w.text.copyOut(w.field.data(), w.n, '~'); },
    [](auto & w) { return w.text.copyOut(nullptr, w.n, '~'); },
    [](auto & w) { return w.text.cleanUp(), true; },
    [](auto & w) { return w.text.set(w.nothing, w.n); },
    [](auto & w) { return w.text.pasteIn(w.nothing, w.n); },
    [](auto & w) { return w.text.assign(w.other); },
    [](auto & w) { return w.text += w.mark, true; },
    [](auto & w) { return w.result = w.text + w.other, true; },
    [](auto & w) { return w.result = w.text + w.words, true; },
    [](auto & w) { return w.result = w.words + w.text, true; },
    [](auto & w) { return w.result = w.text + w.mark, true; },
    [](auto & w) { return w.result = w.text + w.integer, true; },
    [](auto & w) { return w.result = w.text + w.fraction, true; },
    [](auto & w) { return w.result = w.makeText(w.text), true; },
    [](auto & w) { return w.result = w.makeText(w.words), true; },
    [](auto & w) { return w.result = w.makeText(w.mark), true; },
    [](auto & w) { return w.result = w.makeText(w.source.data(), w.source.size()), true; },
    [](auto & w) { return w.result = w.text(w.low, w.high), true; },
    [](auto & w) { return w.result = w.text.upperCase(), true; },
    [](auto & w) { return w.count = w.text.stripLeading(w.mark), true; },
    [](auto & w) { return w.number = w.text.compare(w.other), true; },
    [](auto & w) { return w.text.find(w.other); },
    [](auto & w) { return w.text.find(w.other, w.count); },
    [](auto & w) { return w.text.copy(w.field.data(), w.n, w.text.text(), w.result, '~'); },
    [](auto & w) { return w.text.copy(nullptr, w.n, w.text.text(), w.result, '~'); },
    [](auto & w) { return w.text.copy(w.field.data(), w.n, w.text.text(), '~'); },
    [](auto & w) { return w.text.copy(nullptr, w.n, w.text.text(), '~'); },
    [](auto & w) { return w.bytes.set(w.source.data(), w.source.size()); },
    [](auto & w) { return w.bytes.set(w.ownBytes().data(), w.ownBytes().size()); },
    [](auto & w) { return w.bytes.setDataLength(w.n); },
    [](auto & w) { return w.bytes = w.otherBytes, true; },
    [](auto & w) { return w.bytes = w.makeBytes(w.otherBytes), true; },
    [](auto & w) { return w.bytes = w.makeBytes(w.source.data(), w.source.size()), true; },
    [](auto & w) { return w.bytes == w.otherBytes; },
    [](auto & w) { return w.bytes.isNull(); },
    [](auto & w) { return w.bytes.copyOut(w.field.data(), w.n, '~'); },
    [](auto & w) { return w.bytes.copyOut(nullptr, w.n, '~'); },
};

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, size_t size) {
    Input input(bytes, size);
    std::array<OpenString, 3> strings; // the last for results
    std::array<Text, 3> texts;
    std::array<ZebBin, 2> binaries;
    std::array<Bytes, 2> byteModels;
    while (!input.ended()) {
        const size_t which = input.byte(), n = input.byte();
        const size_t here = which >> 6 & 1, there = which >> 7;
        const size_t place = which % 64 % std::size(operations);
        const string taken = place < 2                  ? input.bytes(n)
                             : place == 6 || place > 15 ? input.bytes(input.byte() % 32)
                                                        : "";
        const auto block = exactBlock(taken);
        const Given given{n, {block.get(), taken.size()}, taken.empty() ? nullptr : taken.c_str()};
        Real real{given,      strings[here],  strings[there],
                  strings[2], binaries[here], binaries[there]};
        Plain plain{given,    texts[here],      texts[there],
                    texts[2], byteModels[here], byteModels[there]};
        takeStep([&] { return operations[place].real(real); },
                 [&] { return operations[place].plain(plain); });
        if (plain.text.storage() > 4096) { // doubled by itself again and again
            step = Step();
            CHECK(real.text.setStorage(n) && plain.text.setStorage(n));
        }
        CHECK(real.count == plain.count && real.number == plain.number);
        CHECK(real.field == plain.field);
        CHECK(WhiteSpace(given.mark) == (n == 9 || n == 32));
        for (size_t i = 0; i != strings.size(); ++i) {
            compare(strings[i], strings[i].text(), strings[i].storage(), texts[i]);
            CHECK(strings[i].length() == texts[i].view().size());
        }
        for (size_t i = 0; i != binaries.size(); ++i) {
            compare(binaries[i], binaries[i].dataPointer(), binaries[i].dataLength(),
                    byteModels[i]);
        }
    }
    OpenString::cleanUp();
    Text::cleanUp();
    return 0;
}
