// What is measured: the library itself.
#include "forms.hpp"

#include "ZebDlh.hpp"
#include "ZebMsg.hpp"
#include "ZebTrc.hpp"
#include "work.hpp"
#include "zbcommon.h"

namespace bench {

namespace {

constexpr std::uint16_t modeRead = 1;
constexpr std::uint16_t modeWrite = 2;

class ZebbaseForm {
public:
    explicit ZebbaseForm(const std::string & body) : bodyLength_(body.size()) {
        message_.resizeBuffer(2 * sizeof(ZBDLH) + body.size());
        message_.write(body.size(), body.data());
        message_.setFormat(names.format.data);
    }

    void wrap() {
        message_.setMessageLength(bodyLength_);
        setNames(header_);
        message_.writeItem(header_);
    }

    template <class Take> void unwrap(Take take) {
        message_.setDataOffset(0);
        message_.readItem(header_);
        take(header_.destinationQueueName(), header_.destinationQueueManagerName(),
             header_.putApplicationName(), header_.putDate(), header_.putTime(), header_.format(),
             std::string_view(message_.dataPointer(), message_.dataLength()));
    }

    static std::string_view viewOf(const ZebStr & text) { return {text.text(), text.length()}; }

private:
    ZebMsg message_;
    ZebDlh header_;
    std::size_t bodyLength_;
};

// The buffer is cut to the body before each wrap, which costs a block and a copy of its own; the
// floor does the same.
void wrapAndGrow(benchmark::State & state, std::size_t size) {
    const std::string body = makeBody(size);
    ZebMsg message;
    message.write(body.size(), body.data());
    message.setFormat(names.format.data);
    ZebDlh header;
    for (auto _ : state) {
        message.setMessageLength(size);
        message.resizeBuffer(size);
        setNames(header);
        if (!message.writeItem(header)) {
            state.SkipWithError("the message did not grow");
            return;
        }
        benchmark::ClobberMemory();
    }
}

void writeField(benchmark::State & state) {
    ZebDlh header;
    for (auto _ : state) {
        header.setDestinationQueueName(names.destinationQueueName.data);
        benchmark::ClobberMemory();
    }
}

void readField(benchmark::State & state) {
    ZebDlh header;
    header.setDestinationQueueName(names.destinationQueueName.data);
    for (auto _ : state) {
        const ZebStr name = header.destinationQueueName();
        benchmark::DoNotOptimize(name);
        benchmark::ClobberMemory();
    }
}

void append(benchmark::State & state) {
    const std::string piece = makeBody(appendedLength);
    for (auto _ : state) {
        ZebCac cache;
        for (std::size_t count = 0; count < appendCount; ++count) {
            cache.write(piece.size(), piece.data());
        }
        benchmark::DoNotOptimize(cache);
    }
    perAppend(state, appendCount);
}

void checkService(benchmark::State & state, std::uint16_t mode) {
    std::array<char, 64> range{};
    auto * check = svcCheckPointer;
    benchmark::DoNotOptimize(check);
    std::int32_t refusals = 0;
    for (auto _ : state) {
        refusals |= check(range.data(), range.size(), mode);
    }
    if (refusals != 0) {
        state.SkipWithError("a good range was refused");
    }
}

void checkByTrace(benchmark::State & state, bool (*check)(const void *, std::size_t)) {
    std::array<char, 64> range{};
    benchmark::DoNotOptimize(check);
    bool good = true;
    for (auto _ : state) {
        good &= check(range.data(), range.size());
    }
    if (!good) {
        state.SkipWithError("a good range was refused");
    }
}

} // namespace

void registerZebbase() {
    registerForm<ZebbaseForm>("zebbase");
    for (const std::size_t size : bodySizes) {
        const std::string name = "wrap_and_grow/zebbase/" + std::to_string(size);
        benchmark::RegisterBenchmark(name.c_str(), wrapAndGrow, size);
    }
    benchmark::RegisterBenchmark("field_write/zebbase", writeField);
    benchmark::RegisterBenchmark("field_read/zebbase", readField);
    benchmark::RegisterBenchmark("append/zebbase", append);
    benchmark::RegisterBenchmark("check_read/zebbase", checkService, modeRead);
    benchmark::RegisterBenchmark("check_write/zebbase", checkService, modeWrite);
    benchmark::RegisterBenchmark("check_read/ZebTrc", checkByTrace, ZebTrc::checkReadPointer);
    benchmark::RegisterBenchmark("check_write/ZebTrc", checkByTrace, ZebTrc::checkWritePointer);
}

} // namespace bench
