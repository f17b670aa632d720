// Sequences of operations on strings and byte strings, each carried out both on the library's
// classes and on plain models of them.
#include "fuzz/text_model.hpp"
#include "zebbase.hpp"

#include <array>
#include <iterator>

namespace {

using model::Text;
using std::size_t;
using std::string;

struct Bytes : model::Block {
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
        if (field == nullptr) {
            return width == 0 ||
                   trace("ZebBinary::copyOut (error): no destination buffer", ZBRC_NO_BUFFER);
        }
        return mayWrite(width) && (support::fitted(block, width, pad).copy(field, width), true);
    }
    bool isNull() const { return block == support::zeros(block.size()); }
    size_t dataLength() const { return block.size(); }
    const void * dataPointer() const { return data(); }
    bool isLike(const ZebBin & real) const {
        return isThatOf(real, real.dataPointer(), real.dataLength());
    }
};

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
template <class W>
bool (*const operations[])(W & w) = {
    [](W & w) { return w.text.set(w.source.data(), w.source.size()); },
    [](W & w) { return w.text.pasteIn(w.source.data(), w.source.size()); },
    [](W & w) { return w.text.set(w.ownText().data(), w.ownText().size()); },
    [](W & w) { return w.text.pasteIn(w.ownText().data(), w.ownText().size()); },
    [](W & w) { return w.text.setStorage(w.n); },
    [](W & w) { return w.text = w.other, true; },
    [](W & w) { return w.text += w.words, true; },
    [](W & w) { return w.text += w.other, true; },
    [](W & w) { return w.text.pasteIn(w.integer); },
    [](W & w) { return w.text.pasteIn(w.fraction, formats[w.n % std::size(formats)]); },
    [](W & w) { return w.count = w.text.copyOut(w.result, w.mark), true; },
    [](W & w) { return w.count = w.text.cutOut(w.result, w.mark), true; },
    [](W & w) { return w.count = w.text.copyOut(w.number), true; },
    [](W & w) { return w.count = w.text.cutOut(w.number), true; },
    [](W & w) { return w.count = w.text.stripTrailing(w.mark), true; },
    [](W & w) { return w.text.copyOut(w.field.data(), w.n, '~'); },
    [](W & w) { return w.text.copyOut(nullptr, w.n, '~'); },
    [](W & w) { return w.text.cleanUp(), true; },
    [](W & w) { return w.text.set(w.nothing, w.n); },
    [](W & w) { return w.text.pasteIn(w.nothing, w.n); },
    [](W & w) { return w.text.assign(w.other); },
    [](W & w) { return w.text += w.mark, true; },
    [](W & w) { return w.result = w.text + w.other, true; },
    [](W & w) { return w.result = w.text + w.words, true; },
    [](W & w) { return w.result = w.words + w.text, true; },
    [](W & w) { return w.result = w.text + w.mark, true; },
    [](W & w) { return w.result = w.text + w.integer, true; },
    [](W & w) { return w.result = w.text + w.fraction, true; },
    [](W & w) { return w.result = w.makeText(w.text), true; },
    [](W & w) { return w.result = w.makeText(w.words), true; },
    [](W & w) { return w.result = w.makeText(w.mark), true; },
    [](W & w) { return w.result = w.makeText(w.source.data(), w.source.size()), true; },
    [](W & w) { return w.result = w.text(w.low, w.high), true; },
    [](W & w) { return w.result = w.text.upperCase(), true; },
    [](W & w) { return w.count = w.text.stripLeading(w.mark), true; },
    [](W & w) { return w.number = w.text.compare(w.other), true; },
    [](W & w) { return w.text.find(w.other); },
    [](W & w) { return w.text.find(w.other, w.count); },
    [](W & w) { return w.text.copy(w.field.data(), w.n, w.text.text(), w.result, '~'); },
    [](W & w) { return w.text.copy(nullptr, w.n, w.text.text(), w.result, '~'); },
    [](W & w) { return w.text.copy(w.field.data(), w.n, w.text.text(), '~'); },
    [](W & w) { return w.text.copy(nullptr, w.n, w.text.text(), '~'); },
    [](W & w) { return w.bytes.set(w.source.data(), w.source.size()); },
    [](W & w) { return w.bytes.set(w.ownBytes().data(), w.ownBytes().size()); },
    [](W & w) { return w.bytes.setDataLength(w.n); },
    [](W & w) { return w.bytes = w.otherBytes, true; },
    [](W & w) { return w.bytes = w.makeBytes(w.otherBytes), true; },
    [](W & w) { return w.bytes = w.makeBytes(w.source.data(), w.source.size()), true; },
    [](W & w) { return w.bytes == w.otherBytes; },
    [](W & w) { return w.bytes.isNull(); },
    [](W & w) { return w.bytes.copyOut(w.field.data(), w.n, '~'); },
    [](W & w) { return w.bytes.copyOut(nullptr, w.n, '~'); },
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
        const size_t place = which % 64 % std::size(operations<Real>);
        const string taken = place < 2                  ? input.bytes(n)
                             : place == 6 || place > 15 ? input.bytes(input.byte() % 32)
                                                        : "";
        const auto block = exactBlock(taken);
        const Given given{n, {block.get(), taken.size()}, taken.empty() ? nullptr : taken.c_str()};
        Real real{given,      strings[here],  strings[there],
                  strings[2], binaries[here], binaries[there]};
        Plain plain{given,    texts[here],      texts[there],
                    texts[2], byteModels[here], byteModels[there]};
        takeStep([&] { return operations<Real>[place](real); },
                 [&] { return operations<Plain>[place](plain); });
        if (plain.text.storage() > 4096) { // doubled by itself again and again
            CHECK(real.text.setStorage(n) && plain.text.setStorage(n));
        }
        CHECK(real.count == plain.count && real.number == plain.number);
        CHECK(real.field == plain.field);
        CHECK(WhiteSpace(given.mark) == (n == 9 || n == 32));
        for (size_t i = 0; i != strings.size(); ++i) {
            CHECK(texts[i].isLike(strings[i]));
        }
        for (size_t i = 0; i != binaries.size(); ++i) {
            CHECK(byteModels[i].isLike(binaries[i]));
        }
    }
    OpenString::cleanUp();
    Text::cleanUp();
    return 0;
}
