// The floors, work that no library can do without, and the containers of the standard library.
#include "forms.hpp"
#include "work.hpp"

#include <cstring>
#include <memory>
#include <vector>

namespace bench {

namespace {

template <std::size_t Width> void fill(char (&field)[Width], Text text) {
    std::memset(field, 0, Width);
    std::memcpy(field, text.data, text.length);
}

/// A text in a heap block of its own.
struct Block {
    template <std::size_t Width>
    explicit Block(const char (&field)[Width]) : bytes(new char[Width + 1]) {
        std::memcpy(bytes.get(), field, Width);
        bytes[Width] = '\0';
    }

    std::unique_ptr<char[]> bytes;
};

/// One move of the body, fields filled; a record copied, a block for each text.
class FloorForm {
public:
    explicit FloorForm(const std::string & body)
        : bodyLength_(body.size()), buffer_(2 * sizeof(ZBDLH) + body.size()) {
        std::memcpy(buffer_.data(), body.data(), body.size());
        std::memset(&record_, 0, sizeof record_);
    }

    void wrap() {
        fill(record_.destinationQueueName, names.destinationQueueName);
        fill(record_.destinationQueueManagerName, names.destinationQueueManagerName);
        fill(record_.putApplicationName, names.putApplicationName);
        fill(record_.putDate, names.putDate);
        fill(record_.putTime, names.putTime);
        std::memcpy(record_.format, names.format.data, sizeof record_.format);
        std::memmove(buffer_.data() + sizeof record_, buffer_.data(), bodyLength_);
        std::memcpy(buffer_.data(), &record_, sizeof record_);
    }

    template <class Take> void unwrap(Take take) {
        std::memcpy(&record_, buffer_.data(), sizeof record_);
        take(Block(record_.destinationQueueName), Block(record_.destinationQueueManagerName),
             Block(record_.putApplicationName), Block(record_.putDate), Block(record_.putTime),
             Block(record_.format), std::string_view(buffer_.data() + sizeof record_, bodyLength_));
    }

    static std::string_view viewOf(const Block & block) { return block.bytes.get(); }

private:
    std::size_t bodyLength_;
    std::vector<char> buffer_;
    ZBDLH record_;
};

void wrapAndGrow(benchmark::State & state, std::size_t size) {
    const std::string body = makeBody(size);
    // As for the message: room for the header, but at least twice the size.
    const std::size_t grownSize = std::max(size + sizeof(ZBDLH), 2 * size);
    auto buffer = std::make_unique_for_overwrite<char[]>(grownSize);
    std::memcpy(buffer.get(), body.data(), size);
    ZBDLH record{};
    for (auto _ : state) {
        std::unique_ptr<char[]> cut;
        if (size != 0) {
            cut = std::make_unique_for_overwrite<char[]>(size);
            std::memcpy(cut.get(), buffer.get(), size);
        }
        buffer = std::move(cut);
        benchmark::ClobberMemory();

        fill(record.destinationQueueName, names.destinationQueueName);
        fill(record.destinationQueueManagerName, names.destinationQueueManagerName);
        fill(record.putApplicationName, names.putApplicationName);
        fill(record.putDate, names.putDate);
        fill(record.putTime, names.putTime);
        std::memcpy(record.format, names.format.data, sizeof record.format);
        auto grown = std::make_unique_for_overwrite<char[]>(grownSize);
        if (size != 0) {
            std::memcpy(grown.get() + sizeof record, buffer.get(), size);
        }
        std::memcpy(grown.get(), &record, sizeof record);
        buffer = std::move(grown);
        benchmark::ClobberMemory();
    }
}

void writeField(benchmark::State & state) {
    ZBDLH record{};
    for (auto _ : state) {
        fill(record.destinationQueueName, names.destinationQueueName);
        benchmark::DoNotOptimize(record);
        benchmark::ClobberMemory();
    }
}

void assignString(benchmark::State & state) {
    std::string name;
    for (auto _ : state) {
        name = names.destinationQueueName.data;
        benchmark::DoNotOptimize(name);
        benchmark::ClobberMemory();
    }
}

void readField(benchmark::State & state) {
    ZBDLH record{};
    fill(record.destinationQueueName, names.destinationQueueName);
    for (auto _ : state) {
        const Block name(record.destinationQueueName);
        std::size_t end = std::strlen(name.bytes.get());
        while (end != 0 && name.bytes[end - 1] == ' ') {
            --end;
        }
        name.bytes[end] = '\0';
        benchmark::DoNotOptimize(name);
        benchmark::ClobberMemory();
    }
}

void constructString(benchmark::State & state) {
    ZBDLH record{};
    fill(record.destinationQueueName, names.destinationQueueName);
    for (auto _ : state) {
        std::string name(record.destinationQueueName,
                         strnlen(record.destinationQueueName, sizeof record.destinationQueueName));
        name.erase(name.find_last_not_of(' ') + 1);
        benchmark::DoNotOptimize(name);
        benchmark::ClobberMemory();
    }
}

template <class Container> void append(benchmark::State & state) {
    const std::string piece = makeBody(appendedLength);
    for (auto _ : state) {
        Container container;
        for (std::size_t count = 0; count < appendCount; ++count) {
            container.insert(container.end(), piece.begin(), piece.end());
        }
        benchmark::DoNotOptimize(container);
    }
    perAppend(state, appendCount);
}

// Called through a pointer, as the check is.
void touchToRead(char * byte) {
    static_cast<void>(*static_cast<volatile char *>(byte));
}

void touchToWrite(char * byte) {
    __atomic_fetch_or(byte, 0, __ATOMIC_SEQ_CST);
}

void touch(benchmark::State & state, void (*touchByte)(char *)) {
    std::array<char, 64> range{};
    benchmark::DoNotOptimize(touchByte);
    for (auto _ : state) {
        touchByte(range.data());
    }
}

} // namespace

void registerFloor() {
    registerForm<FloorForm>("floor");
    for (const std::size_t size : bodySizes) {
        const std::string name = "wrap_and_grow/floor/" + std::to_string(size);
        benchmark::RegisterBenchmark(name.c_str(), wrapAndGrow, size);
    }
    benchmark::RegisterBenchmark("field_write/floor", writeField);
    benchmark::RegisterBenchmark("field_write/std::string", assignString);
    benchmark::RegisterBenchmark("field_read/floor", readField);
    benchmark::RegisterBenchmark("field_read/std::string", constructString);
    benchmark::RegisterBenchmark("append/std::vector", append<std::vector<char>>);
    benchmark::RegisterBenchmark("append/std::string", append<std::string>);
    benchmark::RegisterBenchmark("check_read/floor", touch, touchToRead);
    benchmark::RegisterBenchmark("check_write/floor", touch, touchToWrite);
}

} // namespace bench
