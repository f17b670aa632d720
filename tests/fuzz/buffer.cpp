// Sequences of operations on two messages, each against a plain model of its buffer and codes.
#include "fuzz/input.hpp"
#include "zebbase.hpp"

#include <array>
#include <deque>

namespace {

constexpr std::size_t reachable = 1 << 20; // more than that no allocator here grants

struct Model : Codes {
    std::string buffer; // as long as the buffer; what was never written is zero
    std::size_t length = 0, offset = 0;
    bool automatic = true;

    bool resize(std::size_t size) {
        if (!automatic) {
            return report(ZBRC_BUFFER_NOT_AUTOMATIC);
        }
        if (size == buffer.size()) {
            return true;
        }
        if (size < length) {
            report(ZBRC_DATA_TRUNCATED, ZBCC_WARNING);
        }
        if (size > reachable) {
            return report(ZBRC_STORAGE_NOT_AVAILABLE);
        }
        length = std::min(length, size);
        offset = std::min(offset, size);
        buffer.resize(length);
        buffer.resize(size);
        return true;
    }
    bool more(std::size_t size) {
        if (size <= buffer.size() - offset) {
            return true;
        }
        return automatic
                   ? resize(size > reachable ? size : std::max(size + offset, 2 * buffer.size()))
                   : report(ZBRC_INSUFFICIENT_BUFFER);
    }
    bool setLength(std::size_t size) {
        if (size > buffer.size() && !resize(size)) {
            return false;
        }
        length = size;
        offset = std::min(offset, size);
        return true;
    }
    bool setOffset(std::size_t to) {
        if (to > length && !setLength(to)) {
            return false;
        }
        offset = to;
        return true;
    }
    bool write(const std::string & bytes) {
        if (!more(bytes.size())) {
            return false;
        }
        buffer.replace(offset, bytes.size(), bytes);
        offset += bytes.size();
        length = std::max(length, offset);
        return true;
    }
    bool putInFront(const std::string & record) {
        const std::string body = buffer.substr(0, length);
        if (!more(record.size())) {
            return false;
        }
        length = offset = 0;
        return write(record) && write(body);
    }
    void assign(const Model & source) {
        Codes::operator=(source);
        if (buffer.size() < source.length && automatic) {
            resize(source.length);
        }
        if (buffer.size() < source.length) {
            report(ZBRC_DATA_TRUNCATED, ZBCC_WARNING);
        }
        const std::size_t copied = std::min(buffer.size(), source.length);
        buffer.replace(0, copied, source.buffer, 0, copied);
        setLength(copied);
        setOffset(source.offset);
    }
    bool matches(const ZebCac & cache) const {
        const char * start = cache.bufferPointer();
        return cache.automaticBuffer() == automatic && cache.bufferLength() == buffer.size() &&
               cache.messageLength() == length && cache.dataOffset() == offset &&
               cache.dataLength() == length - offset && (start == nullptr) == buffer.empty() &&
               cache.dataPointer() == (start == nullptr ? nullptr : start + offset) &&
               (length == 0 || std::memcmp(start, buffer.data(), length) == 0) && areThoseOf(cache);
    }
};

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, std::size_t size) {
    Input input(bytes, size);
    std::deque<std::unique_ptr<char[]>> userBuffers; // outlives the messages
    std::array<ZebMsg, 2> caches;
    std::array<Model, 2> models;
    while (!input.ended()) {
        const std::uint8_t operation = input.byte();
        ZebMsg & cache = caches[operation >> 7];
        Model & model = models[operation >> 7];
        // The last sixteen sizes stand for those from the highest down.
        const std::size_t given = input.byte();
        const bool small = given < 240;
        const std::size_t n = small ? given : SIZE_MAX - (255 - given);
        switch (operation % 12) {
        case 0:
            CHECK(cache.resizeBuffer(n) == model.resize(n));
            break;
        case 1:
            CHECK(cache.moreBytes(n) == model.more(n));
            break;
        case 2:
            CHECK(cache.setMessageLength(n) == model.setLength(n));
            break;
        case 3:
            CHECK(cache.setDataOffset(n) == model.setOffset(n));
            break;
        case 4:
            cache.clearMessage();
            model.length = model.offset = 0;
            break;
        case 5: {
            const bool enough = n <= model.length - model.offset;
            const std::string expected = enough ? model.buffer.substr(model.offset, n) : "";
            const auto target = exactBlock(expected);
            char * pointer = target.get();
            CHECK(cache.read(n, pointer) == (enough || model.report(ZBRC_INSUFFICIENT_DATA)));
            CHECK(std::memcmp(target.get(), expected.data(), expected.size()) == 0);
            model.offset += expected.size();
            break;
        }
        case 6:
        case 7: { // the pointer is looked at only where there is room
            const std::string data = input.bytes(small ? n : 0);
            const auto block = exactBlock(data);
            const bool null = !small || operation % 12 == 7;
            const bool expected =
                !null ? model.write(data)
                      : model.more(n) && (n == 0 || model.report(ZBRC_NULL_POINTER));
            CHECK(cache.write(n, null ? nullptr : block.get()) == expected);
            break;
        }
        case 8:
        case 9: {
            const bool full = operation % 12 == 9;
            const std::string data = input.bytes(small ? n : 0);
            userBuffers.push_back(exactBlock(data));
            const char * block = small ? userBuffers.back().get() : nullptr;
            CHECK((full ? cache.useFullBuffer(block, n) : cache.useEmptyBuffer(block, n)) == small);
            if (!small) {
                model.report(ZBRC_NULL_POINTER);
                break;
            }
            if (n != 0 || !model.automatic) {
                model.buffer = data;
            }
            model.automatic = n == 0;
            model.length = full ? n : 0;
            model.offset = 0;
            break;
        }
        case 10: {
            const ZebMsg & source = caches[operation >> 6 & 1];
            const Model sourceModel = models[operation >> 6 & 1];
            ZebCac copied(source);
            Model copiedModel;
            copiedModel.assign(sourceModel);
            CHECK(copiedModel.matches(copied));
            static_cast<ZebCac &>(cache) = static_cast<const ZebCac &>(source);
            if (&cache != &source) {
                model.assign(sourceModel);
            }
            break;
        }
        default: {
            ZebWih header;
            header.setServiceName("in front");
            ZebMsg alone;
            alone.setFormat(cache.format().text());
            CHECK(alone.writeItem(header));
            const bool done = model.putInFront({alone.bufferPointer(), sizeof(ZBWIH)});
            if (done) { // the message takes the codes of the item, which has none
                model.report(0, 0);
            }
            CHECK(cache.writeItem(header) == done);
        }
        }
        CHECK(models[0].matches(caches[0]) && models[1].matches(caches[1]));
    }
    return 0;
}
