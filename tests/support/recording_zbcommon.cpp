#include "support/recording_zbcommon.hpp"

#include "support/failing_allocation.hpp"
#include "zbcommon/zbcommon.h"

#include <atomic>
#include <cstring>
#include <mutex>

#include <pthread.h>

namespace support {
namespace {

// What the stand-in is told and what it has noted. Guarded by `guard` while `recording` is set;
// nobody looks at it otherwise.
struct Record {
    std::vector<Call> calls;
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

// Notes a call. Its own storage is neither counted nor refused.
template <class Fill> void note(Call::Kind kind, Fill fill) {
    const OwnAllocations own;
    const std::lock_guard<std::mutex> lock(guard);
    Call call;
    call.kind = kind;
    fill(call);
    record.calls.push_back(std::move(call));
}

void makeKey() {
    pthread_key_t key = 0;
    if (pthread_key_create(&key, nullptr) != 0) {
        std::abort();
    }
    svcThreadSlot = key;
}

// Ahead of the static objects of the test program, which may already trace.
__attribute__((constructor(101))) void prepare() {
    makeKey();
}

}

std::string Call::line() const {
    switch (kind) {
    case Kind::setUp:
        return "set-up " + std::to_string(numbers[0]) + ' ' + std::to_string(numbers[1]) +
               (pointer != nullptr ? " area" : " null");
    case Kind::check:
        return "check " + std::to_string(mode) + ' ' + std::to_string(length);
    case Kind::text:
        return "text " + text;
    case Kind::entry:
        return "entry " + std::to_string(component) + ' ' + std::to_string(function);
    case Kind::exit:
        return "exit " + std::to_string(component) + ' ' + std::to_string(function) + ' ' +
               std::to_string(result);
    }
    return {};
}

Recording::Recording() {
    const OwnAllocations own;
    const std::lock_guard<std::mutex> lock(guard);
    record = Record();
    recording = true;
}

Recording::~Recording() {
    const OwnAllocations own;
    const std::lock_guard<std::mutex> lock(guard);
    recording = false;
    record = Record();
}

void Recording::clear() {
    const OwnAllocations own;
    const std::lock_guard<std::mutex> lock(guard);
    record.calls.clear();
}

std::vector<Call> Recording::calls() const {
    const std::lock_guard<std::mutex> lock(guard);
    return record.calls;
}

std::vector<std::string> Recording::lines() const {
    std::vector<std::string> lines;
    for (const Call & call : calls()) {
        lines.push_back(call.line());
    }
    return lines;
}

std::vector<std::string> Recording::texts() const {
    std::vector<std::string> texts;
    for (const Call & call : calls()) {
        if (call.kind == Call::Kind::text) {
            texts.push_back(call.text);
        }
    }
    return texts;
}

std::vector<Call> Recording::checks() const {
    std::vector<Call> checks;
    for (const Call & call : calls()) {
        if (call.kind == Call::Kind::check) {
            checks.push_back(call);
        }
    }
    return checks;
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

bool threadIsSetUp() {
    return pthread_getspecific(svcThreadSlot) != nullptr;
}

void forgetThread() {
    pthread_setspecific(svcThreadSlot, nullptr);
}

const void * threadContext() {
    return &context;
}

}

using support::Call;

extern "C" {

std::uint32_t svcThreadSlot = 0;

std::int32_t svcInitialize(std::uint16_t first, std::uint16_t second, std::uint32_t third,
                           std::uint32_t fourth, void * area) {
    bool refuse = false;
    if (support::isRecording()) {
        support::note(Call::Kind::setUp, [&](Call & call) {
            call.numbers[0] = first;
            call.numbers[1] = second;
            call.zeros[0] = third;
            call.zeros[1] = fourth;
            call.pointer = area;
            refuse = support::record.refuseSetUp;
        });
    }
    if (area != nullptr) {
        std::memset(area, 0xA5, 16); // the caller promises 16 bytes and reads none of them
    }
    if (refuse) {
        return 1;
    }
    return pthread_setspecific(svcThreadSlot, &support::context);
}

std::int32_t svcCheckPointer(const void * pointer, std::size_t length, std::uint16_t mode) {
    bool refuse = pointer == nullptr;
    if (support::isRecording()) {
        support::note(Call::Kind::check, [&](Call & call) {
            call.pointer = pointer;
            call.length = length;
            call.mode = mode;
            std::size_t & toRefusal = support::record.checksToRefusal;
            refuse |= toRefusal != 0 && --toRefusal == 0;
            refuse |= support::touches(pointer, length, support::record.refusedAddress);
        });
    }
    return refuse ? 1 : 0;
}

void trcText(const char * text) {
    if (support::isRecording()) {
        support::note(Call::Kind::text, [&](Call & call) { call.text = text; });
    }
}

void trcFunctionEntry(void * context, std::uint32_t component, std::uint32_t function) {
    if (support::isRecording()) {
        support::note(Call::Kind::entry, [&](Call & call) {
            call.context = context;
            call.component = component;
            call.function = function;
        });
    }
}

void trcFunctionReturn(void * context, std::uint32_t component, std::uint32_t function,
                       std::uint32_t result) {
    if (support::isRecording()) {
        support::note(Call::Kind::exit, [&](Call & call) {
            call.context = context;
            call.component = component;
            call.function = function;
            call.result = result;
        });
    }
}
}
