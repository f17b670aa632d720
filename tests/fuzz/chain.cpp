// A message as a receiver gets it: any descriptor, any data. The chain of headers in it is read to
// its end, then written again around its body. A plain reading of the same bytes says beforehand
// what each step must come to.
#include "fuzz/input.hpp"
#include "zebbase.hpp"

#include <cstddef>
#include <vector>

namespace {

constexpr std::int32_t longestGrowth = 1 << 16;

struct Kind {
    const char * structureId; // null: a value, which is all data from the cursor on
    const char * format;
    std::size_t length;
    std::size_t characterSetAt; // 0: no header
    std::size_t formatAt;
    std::unique_ptr<ZebItm> (*make)(const ZebItm * source); // null: a new one
};

template <class Item> std::unique_ptr<ZebItm> make(const ZebItm * source) {
    return source == nullptr ? std::make_unique<Item>()
                             : std::make_unique<Item>(static_cast<const Item &>(*source));
}
template <class Item, class Record>
Kind header(const char * structureId, const char * format, std::size_t length) {
    return {structureId, format, length, offsetof(Record, characterSet), offsetof(Record, format),
            make<Item>};
}

const Kind kinds[] = {
    header<ZebDlh, ZBDLH>("DLH ", "ZBDEAD  ", 172), header<ZebTih, ZBTIH>("TIH ", "ZBTPMX  ", 180),
    header<ZebHih, ZBHIH>("HIH ", "ZBHSX   ", 84),  header<ZebWih, ZBWIH>("WIH ", "ZBHWIH  ", 120),
    header<ZebRfh, ZBRMH>("RMH ", "ZBHREF  ", 108), {"TM  ", "ZBTRIG  ", 684, 0, 0, make<ZebTrg>},
    {nullptr, "ZBSTR   ", 0, 0, 0, make<ZebStr>},   {nullptr, "        ", 0, 0, 0, make<ZebBin>},
};
const Kind & tpmx = kinds[1];
const Kind & reference = kinds[4];
const Kind & text = kinds[6];

std::int32_t wordAt(const std::string & data, std::size_t offset) {
    std::int32_t word = 0;
    std::memcpy(&word, data.data() + offset, sizeof word);
    return word;
}
void setWord(std::string & data, std::size_t offset, std::size_t value) {
    const auto word = static_cast<std::int32_t>(value);
    std::memcpy(data.data() + offset, &word, sizeof word);
}
std::string upToNull(const std::string & bytes) {
    return bytes.substr(0, bytes.find('\0'));
}

// What reading from `data` must come to: a reason, the bytes taken, and the bytes that writing the
// item again must give.
struct Outcome {
    std::int32_t reason = 0;
    std::size_t taken = 0;
    std::string written;
};
Outcome refusal(std::int32_t reason) {
    return {reason, 0, {}};
}

Outcome readReference(const std::string & data, bool mayGrow) {
    const std::size_t lengths[] = {
        offsetof(ZBRMH, sourceEnvironmentLength), offsetof(ZBRMH, sourceNameLength),
        offsetof(ZBRMH, destinationEnvironmentLength), offsetof(ZBRMH, destinationNameLength)};
    std::string written = data.substr(0, reference.length);
    std::int64_t end = 108;
    for (const std::size_t at : lengths) {
        const std::int64_t length = wordAt(data, at), offset = wordAt(data, at + 4);
        std::string field;
        if (length > 0) {
            if (offset < 0 || offset + length > static_cast<std::int64_t>(data.size())) {
                return refusal(ZBRC_INSUFFICIENT_DATA);
            }
            end = std::max(end, offset + length);
            field = upToNull(
                data.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length)));
        }
        setWord(written, at, field.size());
        setWord(written, at + 4, written.size());
        written += field;
    }
    const std::int64_t whole = wordAt(data, offsetof(ZBRMH, structureLength));
    if (end > whole) {
        return refusal(ZBRC_STRUCTURE_LENGTH_ERROR);
    }
    const auto taken = static_cast<std::size_t>(whole);
    if (taken > data.size() && !mayGrow) {
        return refusal(ZBRC_BUFFER_NOT_AUTOMATIC);
    }
    setWord(written, offsetof(ZBRMH, structureLength), written.size());
    return {0, taken, written};
}

Outcome expect(const Kind & kind, const ZebMsg & message, const std::string & data) {
    if (kind.structureId != nullptr && data.compare(0, 4, kind.structureId) != 0) {
        return refusal(ZBRC_STRUCTURE_ID_ERROR);
    }
    if (kind.structureId != nullptr && message.descriptor().encoding != 546) {
        return refusal(ZBRC_ENCODING_ERROR);
    }
    if (std::memcmp(message.descriptor().format, kind.format, 8) != 0) {
        return refusal(ZBRC_INCONSISTENT_FORMAT);
    }
    if (kind.structureId == nullptr) {
        return {0, data.size(), &kind == &text ? upToNull(data) : data};
    }
    std::size_t length = kind.length;
    if (&kind == &tpmx) {
        const std::int32_t version = data.size() < 8 ? 1 : wordAt(data, 4);
        if (version != 1 && version != 2) {
            return refusal(ZBRC_WRONG_VERSION);
        }
        length = version == 1 ? 164 : 180;
    }
    if (data.size() < length) {
        return refusal(ZBRC_INSUFFICIENT_DATA);
    }
    Outcome outcome{0, length, data.substr(0, length)};
    if (&kind == &tpmx) {
        setWord(outcome.written, offsetof(ZBTIH, structureLength), length);
    } else if (&kind == &reference) {
        outcome = readReference(data, message.automaticBuffer());
    }
    if (outcome.reason == 0 && kind.formatAt != 0) {
        const std::string format = upToNull(outcome.written.substr(kind.formatAt, 8));
        outcome.written.replace(kind.formatAt, 8, format + std::string(8 - format.size(), ' '));
    }
    return outcome;
}

std::string dataOf(const ZebCac & cache) {
    return cache.messageLength() == 0 ? std::string()
                                      : std::string(cache.bufferPointer(), cache.messageLength());
}

std::string writtenBy(ZebItm & item) {
    ZebMsg message;
    CHECK(message.writeItem(item));
    return dataOf(message);
}

// Reads an item of this kind, holds it against what was expected, and says whether it was there.
bool take(const Kind & kind, ZebMsg & message, ZebItm & item, Outcome & outcome) {
    const std::string all = dataOf(message);
    const std::size_t offset = message.dataOffset();
    const ZBMD descriptor = message.descriptor();
    const std::string data = all.substr(offset);
    outcome = expect(kind, message, data);
    message.clearErrorCodes();
    CHECK(message.readItem(item) == (outcome.reason == 0));
    CHECK(message.reasonCode() == outcome.reason && item.reasonCode() == outcome.reason);
    CHECK(dataOf(message).compare(0, all.size(), all) == 0);
    if (outcome.reason == 0) {
        CHECK(message.dataOffset() == offset + outcome.taken);
        CHECK(message.messageLength() == std::max(all.size(), offset + outcome.taken));
        return true;
    }
    const bool shortTpmx = &kind == &tpmx && outcome.reason == ZBRC_INSUFFICIENT_DATA;
    CHECK(message.dataOffset() == offset + (shortTpmx ? 4 : 0));
    CHECK(message.messageLength() == all.size());
    CHECK(std::memcmp(&message.descriptor(), &descriptor, sizeof descriptor) == 0);
    // Only a reference header keeps what it has taken of a record that it then refuses.
    const bool kept =
        &kind == &reference && data.size() >= kind.length && message.descriptor().encoding == 546;
    CHECK(kept || writtenBy(item) == writtenBy(*kind.make(nullptr)));
    return false;
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, std::size_t size) {
    Input input(bytes, size);
    const std::uint8_t flags = input.byte();
    ZebMsg message;
    const std::string descriptor = input.bytes(sizeof(ZBMD));
    std::memcpy(&message.descriptor(), descriptor.data(), sizeof(ZBMD));
    const std::string data = input.rest();
    const auto block = exactBlock(data);
    CHECK((flags & 1) != 0 ? message.useFullBuffer(block.get(), data.size())
                           : message.write(data.size(), block.get()) && message.setDataOffset(0));

    Outcome outcome;
    const Kind & stranger = kinds[flags >> 2 & 7];
    if (std::memcmp(message.descriptor().format, stranger.format, 8) != 0) {
        CHECK(!take(stranger, message, *stranger.make(nullptr), outcome));
    }
    struct Header {
        std::unique_ptr<ZebItm> item;
        const Kind & kind;
        std::string written;
    };
    std::vector<Header> headers;
    while (true) {
        const auto * kind = std::find_if(std::begin(kinds), std::end(kinds), [&](const Kind & k) {
            return std::memcmp(message.descriptor().format, k.format, 8) == 0;
        });
        // A reference header may ask for more than there is, here for no more than the run can pay.
        const std::string left = dataOf(message).substr(message.dataOffset());
        if (kind == std::end(kinds) ||
            (kind == &reference && message.automaticBuffer() && left.size() >= kind->length &&
             wordAt(left, offsetof(ZBRMH, structureLength)) > longestGrowth)) {
            break;
        }
        const auto item = kind->make(nullptr);
        if (!take(*kind, message, *item, outcome)) {
            break;
        }
        if (kind->characterSetAt == 0) {
            const auto copied = kind->make(item.get());
            CHECK(writtenBy(*item) == outcome.written && writtenBy(*copied) == outcome.written);
            break;
        }
        CHECK(message.encoding() == static_cast<ZebHdr &>(*item).encoding());
        headers.push_back({kind->make(item.get()), *kind, outcome.written});
    }
    // Written again from the inside out. Each header but the innermost then describes the next one,
    // whose character set is 0.
    if (headers.empty()) {
        return 0;
    }
    ZebMsg again;
    std::string expected = dataOf(message).substr(message.dataOffset());
    std::size_t longest = expected.size();
    for (const Header & header : headers) {
        longest += header.written.size();
    }
    // A header asks for its room behind the cursor, even though it then stands in front.
    std::string room(2 * longest, '\0');
    if ((flags & 2) != 0) {
        CHECK(again.useEmptyBuffer(room.data(), room.size()));
    }
    CHECK(again.write(expected.size(), expected.data()));
    again.setEncoding(message.encoding());
    again.setCharacterSet(message.characterSet());
    again.setFormat(message.format().text());
    for (auto header = headers.rbegin(); header != headers.rend(); ++header) {
        if (header != headers.rbegin()) {
            setWord(header->written, header->kind.characterSetAt, 0);
        }
        expected = header->written + expected;
        CHECK(again.writeItem(*header->item) && dataOf(again) == expected);
        CHECK(again.formatIs(header->kind.format) && again.encoding() == 546);
    }
    return 0;
}
