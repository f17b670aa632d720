// A message as a receiver gets it: any descriptor, any data. The chain of items in it is read to
// its end, and the last of them perhaps written in front of it again, each against its model.
#include "fuzz/record_model.hpp"
#include "support/page_end.hpp"

#include <optional>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, std::size_t size) {
    Input input(bytes, size);
    const std::uint8_t flags = input.byte();
    ZebMsg message;
    model::Message model;
    const std::string descriptor = input.bytes(sizeof(ZBMD));
    std::memcpy(&message.descriptor(), descriptor.data(), sizeof(ZBMD));
    std::memcpy(&model.descriptor, descriptor.data(), sizeof(ZBMD));
    std::string data = input.rest();
    support::PageEnd memory(data);
    const bool isWritten = (flags & 0x20) != 0;
    if (!isWritten) {
        memory.makeReadOnly();
    }
    const auto receive = [&](auto & receiver, char * from) {
        const std::size_t behind = (flags & 2) != 0 ? std::min<std::size_t>(data.size(), 8) : 0;
        return ((flags & 1) != 0
                    ? receiver.useFullBuffer(from, data.size())
                    : receiver.write(data.size(), from) && receiver.setDataOffset(0)) &&
               receiver.setMessageLength(data.size() - behind);
    };
    CHECK(receive(message, memory.data()) && receive(model, data.data()));

    const auto pass = [&](model::Item & item, bool isRead) {
        bool result = false;
        takeStep([&] { return isRead ? item.real->pasteIn(message) : item.real->copyOut(message); },
                 [&] { return result = isRead ? item.pasteIn(model) : item.copyOut(model); });
        CHECK(item.agrees() && model.agreesWith(message) && model.showsBytesOf(message));
        return result;
    };
    const model::Kind & stranger = model::kinds[flags >> 2 & 7];
    if (!stranger.isOf(model.descriptor)) {
        model::Item item(stranger);
        CHECK(!pass(item, true));
    }
    std::optional<model::Item> item; // goes on to the next of its kind
    do {
        const auto * const kind =
            std::find_if(std::begin(model::kinds), std::end(model::kinds),
                         [&](const model::Kind & each) { return each.isOf(model.descriptor); });
        if (kind == std::end(model::kinds) || !model::isAffordable(*kind, model)) {
            break;
        }
        if (!item || &item->kind != kind) {
            item.emplace(*kind);
        }
    } while (item->isHeader && pass(*item, true));
    if (item && !item->isHeader) { // a value over others that are as long, longer or shorter
        const std::size_t begin = model.offset, half = (begin + model.message) / 2;
        for (const std::size_t place : {half, half, begin, half}) {
            CHECK(message.setDataOffset(place) && model.setDataOffset(place));
            pass(*item, true);
        }
    }
    if (isWritten && item) {
        pass(*item, false);
    }
    return 0;
}
