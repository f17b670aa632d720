// Sequences of operations on two messages and of items that go into them and come out again, each
// against its model.
#include "fuzz/record_model.hpp"

#include <numeric>
#include <optional>

namespace {

constexpr std::size_t longest = 1024; // of a buffer that the sequence goes on with

struct Pair {
    ZebMsg message;
    ZebCac & cache = message;
    model::Message model;
    std::vector<char> memory = std::vector<char>(512, '.'), twin = memory;
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

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, std::size_t size) {
    Input input(bytes, size);
    std::array<Pair, 2> pairs;
    pairs[0].message.setCarriedWord(pairs[0].model.carriedWord = INT64_MIN);
    pairs[0].message.setFeedback(5);
    pairs[0].message.setFormat("FIRST");
    pairs[0].model.descriptor = pairs[0].message.descriptor();
    std::vector<model::Item> items(std::begin(model::kinds), std::end(model::kinds));
    while (!input.ended()) {
        const std::uint8_t operation = input.byte();
        Pair &pair = pairs[operation >> 7], &other = pairs[operation >> 6 & 1];
        model::Message & model = pair.model;
        const std::uint8_t choice = input.byte();
        const std::size_t n = sizeFrom(choice, model), kept = std::min(n, 2 * longest);
        switch (const std::size_t action = operation % 16; action) {
        case 13: // the whole message, or its cache alone
            if ((operation & 0x10) != 0) {
                takeStep([&] { return pair.message = other.message, true; },
                         [&] { return model.assign(other.model); });
            } else {
                takeStep([&] { return pair.cache = other.cache, true; },
                         [&] { return model.CacheModel::assign(other.model); });
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
        case 15: { // an item is written or read
            model::Item & item = items[choice % items.size()];
            const bool isRead = (operation & 0x10) != 0 && model::isAffordable(item.kind, model);
            takeStep(
                [&] {
                    return isRead ? pair.message.readItem(*item.real)
                                  : pair.message.writeItem(*item.real);
                },
                [&] {
                    const bool done = isRead ? item.pasteIn(model) : item.copyOut(model);
                    model.report(item.reason, item.completion); // the message takes its codes
                    return done;
                });
            CHECK(item.agrees());
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
            CHECK(each.model.agreesWith(each.message) && each.memory == each.twin);
            const bool isSeen = (operation & 0x30) == 0 || input.ended();
            CHECK(!isSeen || each.model.showsBytesOf(each.cache));
        }
    }
    return 0;
}
