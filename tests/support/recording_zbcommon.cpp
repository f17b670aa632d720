#include "support/recording_zbcommon.hpp"

#include "support/failing_allocation.hpp"
#include "zbcommon/zbcommon.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <pthread.h>

namespace support {
namespace {

// What the stand-in is told and what it has noted. Guarded by `guard` while
// `recording` is set; nobody looks at it otherwise.
struct Record {
    Texts lines;
    std::vector<const void *> pointers;
    std::size_t checksToRefusal = 0;
    const void * refusedAddress = nullptr;
    bool refuseSetUp = false;
};

std::atomic<bool> recording{false};
std::mutex guard;
Record record;

thread_local char context;

bool isRecording() {
    return recording.load(std::memory_order_relaxed);
}

bool touches(const void * pointer, std::size_t length, const void * address) {
    const auto start = reinterpret_cast<std::uintptr_t>(pointer);
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    return address != nullptr && wanted >= start && wanted - start < length;
}

// Notes a call, for a caller whose allocations are the own ones of the test.
template <class... Number>
void note(std::string line, const void * pointer, const char * end, Number... numbers) {
    ((line += ' ' + std::to_string(numbers)), ...);
    const std::lock_guard<std::mutex> lock(guard);
    record.lines.push_back(line + end);
    record.pointers.push_back(pointer);
}

void begin(bool records) {
    const OwnAllocations own;
    const std::lock_guard<std::mutex> lock(guard);
    record = Record();
    recording = records;
}

// Ahead of the static objects of the test program, which may already trace.
__attribute__((constructor(101))) void prepare() {
    pthread_key_t key = 0;
    if (pthread_key_create(&key, nullptr) != 0) {
        std::abort();
    }
    svcThreadSlot = key;
}

} // namespace

Recording::Recording() {
    begin(true);
}

Recording::~Recording() {
    begin(false);
}

void Recording::clear() {
    const OwnAllocations own;
    const std::lock_guard<std::mutex> lock(guard);
    record.lines.clear();
    record.pointers.clear();
}

Texts Recording::lines() const {
    const std::lock_guard<std::mutex> lock(guard);
    return record.lines;
}

Texts Recording::texts() const {
    Texts texts;
    for (const std::string & line : lines()) {
        if (line.starts_with("text ")) {
            texts.push_back(line.substr(5));
        }
    }
    return texts;
}

std::vector<const void *> Recording::pointers() const {
    const std::lock_guard<std::mutex> lock(guard);
    return record.pointers;
}

void Recording::refuseCheck(std::size_t n) {
    const std::lock_guard<std::mutex> lock(guard);
    record.checksToRefusal = n;
}

void Recording::refuseAddress(const void * address) {
    const std::lock_guard<std::mutex> lock(guard);
    record.refusedAddress = address;
}

void Recording::refuseSetUp(bool refuse) {
    const std::lock_guard<std::mutex> lock(guard);
    record.refuseSetUp = refuse;
}

void forgetThread() {
    pthread_setspecific(svcThreadSlot, nullptr);
}

const void * threadContext() {
    return &context;
}

} // namespace support

using support::isRecording;
using support::note;
using support::OwnAllocations;

extern "C" {

std::uint32_t svcThreadSlot = 0;

std::int32_t svcInitialize(std::uint16_t first, std::uint16_t second, std::uint32_t third,
                           std::uint32_t fourth, void * area) {
    bool refuse = false;
    if (isRecording()) {
        const OwnAllocations own;
        const char * const end = (third | fourth) != 0 ? " not zero" : area ? " area" : " null";
        note("set-up", area, end, first, second);
        const std::lock_guard<std::mutex> lock(support::guard);
        refuse = support::record.refuseSetUp;
    }
    if (area != nullptr) {
        std::memset(area, 0xA5,
                    16); // the caller promises 16 bytes and reads none of them
    }
    return refuse ? 1 : pthread_setspecific(svcThreadSlot, &support::context);
}

std::int32_t svcCheckPointer(const void * pointer, std::size_t length, std::uint16_t mode) {
    bool refuse = pointer == nullptr;
    if (isRecording()) {
        const OwnAllocations own;
        note("check", pointer, "", mode, length);
        const std::lock_guard<std::mutex> lock(support::guard);
        std::size_t & toRefusal = support::record.checksToRefusal;
        refuse |= toRefusal != 0 && --toRefusal == 0;
        refuse |= support::touches(pointer, length, support::record.refusedAddress);
    }
    return refuse ? 1 : 0;
}

void trcText(const char * text) {
    if (isRecording()) {
        const OwnAllocations own;
        note("text ", text, text);
    }
}

void trcFunctionEntry(void * context, std::uint32_t component, std::uint32_t function) {
    if (isRecording()) {
        const OwnAllocations own;
        note("entry", context, "", component, function);
    }
}

void trcFunctionReturn(void * context, std::uint32_t component, std::uint32_t function,
                       std::uint32_t result) {
    if (isRecording()) {
        const OwnAllocations own;
        note("exit", context, "", component, function, result);
    }
}
}
