// A message as a receiver gets it: any descriptor, any data. The chain of headers in it is read to
// its end, and each of them is written again. A plain reading of the same bytes says beforehand
// what each step must come to.
#include "fuzz/record_model.hpp"

namespace {

using model::Kind;
using model::kinds;

constexpr std::int32_t longestGrowth = 1 << 16;

bool isRead(const Kind & kind, ZebMsg & message) {
    const auto item = kind.make(nullptr);
    const auto pasteIn = [&] { return item->pasteIn(message); };
    return model::read(kind, message, *item, pasteIn).reason == 0;
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
        CHECK(!isRead(stranger, message));
    }
    const Kind * kind = nullptr;
    do {
        kind = std::find_if(std::begin(kinds), std::end(kinds),
                            [&](const Kind & each) { return isOf(each, message); });
        // A reference header may ask for more than there is, here for no more than the run can pay.
        const std::string left = model::leftOf(message);
        if (kind == std::end(kinds) ||
            (kind->id == "RMH " && message.automaticBuffer() && left.size() >= kind->length &&
             support::wordAt(&left[8]) > longestGrowth)) {
            break;
        }
    } while (isRead(*kind, message) && kind->descriptionAt != 0);
    return 0;
}
