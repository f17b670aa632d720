// A message as a receiver gets it: any descriptor, any data. The chain of headers in it is read to
// its end, then written again around its body. A plain reading of the same bytes says beforehand
// what each step must come to.
#include "fuzz/record_model.hpp"

namespace {

using model::Kind;
using model::kinds;
using model::leftOf;

constexpr std::int32_t longestGrowth = 1 << 16;

struct Header {
    const Kind & kind;
    std::unique_ptr<ZebItm> item;
    std::string written;
};

model::Outcome read(const Kind & kind, ZebMsg & message, ZebItm & item) {
    return model::read(kind, message, item, [&] { return item.pasteIn(message); });
}

bool isOf(const Kind & kind, const ZebMsg & message) {
    return std::memcmp(message.descriptor().format, kind.format.data(), 8) == 0;
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

    const Kind & stranger = kinds[flags >> 2 & 7];
    if (!isOf(stranger, message)) {
        read(stranger, message, *stranger.make(nullptr));
    }
    std::vector<Header> headers;
    while (true) {
        const auto * kind = std::find_if(std::begin(kinds), std::end(kinds),
                                         [&](const Kind & each) { return isOf(each, message); });
        // A reference header may ask for more than there is, here for no more than the run can pay.
        const std::string left = leftOf(message);
        if (kind == std::end(kinds) ||
            (kind->id == "RMH " && message.automaticBuffer() && left.size() >= kind->length &&
             support::wordAt(&left[8]) > longestGrowth)) {
            break;
        }
        auto item = kind->make(nullptr);
        const model::Outcome outcome = read(*kind, message, *item);
        if (outcome.reason != 0 || kind->descriptionAt == 0) {
            break;
        }
        headers.push_back({*kind, std::move(item), outcome.record});
    }
    // Written again from the inside out. Each header but the innermost then describes the next one,
    // whose character set is 0.
    ZebMsg again;
    std::string expected = leftOf(message);
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
        const std::size_t characterSetAt = header->kind.descriptionAt + 4;
        expected = (header == headers.rbegin()
                        ? header->written
                        : support::with(header->written, characterSetAt, support::word(0))) +
                   expected;
        CHECK(again.writeItem(*header->item));
        CHECK(std::string(again.bufferPointer(), again.messageLength()) == expected);
        CHECK(again.formatIs(header->kind.format.c_str()) && again.encoding() == 546);
    }
    return 0;
}
