// Sequences of operations on two messages, each against the model of a cache.
#include "fuzz/cache_model.hpp"
#include "fuzz/record_model.hpp"

#include <array>
#include <numeric>
#include <optional>

namespace {

constexpr std::size_t longest = 1024; // of a buffer that the sequence goes on with

struct Pair {
    ZebMsg message;
    ZebCac & cache = message;
    CacheModel model;
    std::vector<char> memory = std::vector<char>(64, '.'), twin = memory;
};

// A size: near an edge of what the cache holds or of what can be counted, or the byte itself.
std::size_t sizeFrom(std::size_t byte, const CacheModel & model) {
    const std::size_t edges[] = {
        model.length, model.message, model.length - model.offset, model.message - model.offset,
        longest / 2,  SIZE_MAX / 2,  SIZE_MAX - model.offset,     SIZE_MAX};
    if (byte < 160) {
        return byte;
    }
    const std::size_t edge = edges[byte % 8], below = edge - std::min<std::size_t>(edge, 2);
    return below + std::min(byte / 8 % 4, SIZE_MAX - below);
}

bool areOfOneDescription(const ZebMsg & one, const ZebMsg & other) {
    return std::memcmp(&one.descriptor(), &other.descriptor(), sizeof(ZBMD)) == 0 &&
           one.carriedWord() == other.carriedWord();
}

// Puts a header in front of the body, if there is room for it.
bool putInFront(CacheModel & model, const std::string & record) {
    const std::string body(model.bufferPointer(), model.message);
    if (!model.moreBytes(record.size())) {
        return false;
    }
    model.clearMessage();
    model.write(record.size(), record.data());
    model.write(body.size(), body.data());
    return model.report(0, 0); // the message takes the codes of the item, which has none
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, std::size_t size) {
    Input input(bytes, size);
    std::array<Pair, 2> pairs;
    CHECK(pairs[0].message.carriedWord() == 0);
    pairs[0].message.setCarriedWord(INT64_MIN);
    pairs[0].message.setFeedback(5);
    pairs[0].message.setFormat("FIRST");
    while (!input.ended()) {
        const std::uint8_t operation = input.byte();
        Pair &pair = pairs[operation >> 7], &other = pairs[operation >> 6 & 1];
        CacheModel & model = pair.model;
        const std::size_t n = sizeFrom(input.byte(), model), kept = std::min(n, 2 * longest);
        switch (const std::size_t action = operation % 16; action) {
        case 13: // the whole message, or its cache alone
            if ((operation & 0x10) != 0) {
                takeStep([&] { return pair.message = other.message, true; },
                         [&] { return model.assignWithMessage(other.model); });
                CHECK(areOfOneDescription(pair.message, other.message));
            } else {
                takeStep([&] { return pair.cache = other.cache, true; },
                         [&] { return model.assign(other.model); });
            }
            break;
        case 14: {
            std::optional<ZebCac> copy;
            CacheModel copied;
            takeStep([&] { return copy.emplace(other.cache), true; },
                     [&] { return copied.assign(other.model); });
            CHECK(copied.agreesWith(*copy) && copied.showsBytesOf(*copy));
            break;
        }
        case 15: {
            ZebWih header;
            header.setServiceName("in front");
            header.setFormat(pair.message.format().text());
            const std::string record = model::imageOf(header);
            takeSoundStep([&] { return pair.message.writeItem(header); },
                          [&] { return putInFront(model, record); });
            break;
        }
        default: { // all memory ends with its block, so that a reader past its end is seen
            std::vector<char> source(kept), target(kept), twin(kept);
            std::iota(source.begin(), source.end(), static_cast<char>(input.byte()));
            const bool fits = n <= pair.memory.size();
            const std::size_t place = fits ? pair.memory.size() - n : 0;
            CacheArguments real{n, source.data(), target.data(),
                                fits ? pair.memory.data() + place : nullptr};
            CacheArguments plain{n, source.data(), twin.data(),
                                 fits ? pair.twin.data() + place : nullptr};
            takeStep([&] { return cacheActions<ZebCac>[action](pair.cache, real); },
                     [&] { return cacheActions<CacheModel>[action](model, plain); });
            CHECK(target == twin);
        }
        }
        if (model.length > longest) { // doubled again and again
            takeSoundStep([&] { return pair.cache.resizeBuffer(64); },
                          [&] { return model.resizeBuffer(64); });
        }
        for (Pair & each : pairs) {
            CHECK(each.model.agreesWith(each.cache) && each.memory == each.twin);
            const bool isSeen = (operation & 0x30) == 0 || input.ended();
            CHECK(!isSeen || each.model.showsBytesOf(each.cache));
        }
    }
    return 0;
}
