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

// What the stand-in is told and what it has noted. Used through `locked` alone while `recording`
// is set; nobody looks at it otherwise.
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

template <class Use> auto locked(const Use & use) {
    const std::lock_guard<std::mutex> lock(guard);
    return use(record);
}

bool touches(const void * pointer, std::size_t length, const void * address) {
    const auto start = reinterpret_cast<std::uintptr_t>(pointer);
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    return address != nullptr && wanted >= start && wanted - start < length;
}

// Notes a call while a Recording lives, and says whether one does.
template <class... Number>
bool note(const char * line, const void * pointer, const char * end, Number... numbers) {
    if (!recording.load(std::memory_order_relaxed)) {
        return false;
    }
    const OwnAllocations own;
    locked([&](Record & all) {
        all.lines.emplace_back(line);
        ((all.lines.back() += ' ' + std::to_string(numbers)), ...);
        all.lines.back() += end;
        all.pointers.push_back(pointer);
    });
    return true;
}

void begin(bool records) {
    const OwnAllocations own;
    locked([](Record & all) { all = Record(); });
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

}

Recording::Recording() {
    begin(true);
}

Recording::~Recording() {
    begin(false);
}

void Recording::clear() {
    const OwnAllocations own;
    locked([](Record & all) {
        all.lines.clear();
        all.pointers.clear();
    });
}

Texts Recording::lines() const {
    return locked([](const Record & all) { return all.lines; });
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
    return locked([](const Record & all) { return all.pointers; });
}

void Recording::refuseCheck(std::size_t n) {
    locked([n](Record & all) { all.checksToRefusal = n; });
}

void Recording::refuseAddress(const void * address) {
    locked([address](Record & all) { all.refusedAddress = address; });
}

void Recording::refuseSetUp(bool refuse) {
    locked([refuse](Record & all) { all.refuseSetUp = refuse; });
}

void forgetThread() {
    pthread_setspecific(svcThreadSlot, nullptr);
}

const void * threadContext() {
    return &context;
}

}

using support::locked;
using support::note;

extern "C" {

std::uint32_t svcThreadSlot = 0;

std::int32_t svcInitialize(std::uint16_t first, std::uint16_t second, std::uint32_t third,
                           std::uint32_t fourth, void * area) {
    const char * const rest = (third | fourth) != 0 ? " not zero" : area ? " area" : " null";
    const bool refuse = note("set-up", area, rest, first, second) &&
                        locked([](const auto & record) { return record.refuseSetUp; });
    if (area != nullptr) {
        std::memset(area, 0xA5, 16); // the caller promises 16 bytes and reads none of them
    }
    return refuse ? 1 : pthread_setspecific(svcThreadSlot, &support::context);
}

std::int32_t svcCheckPointer(const void * pointer, std::size_t length, std::uint16_t mode) {
    const bool refuse =
        note("check", pointer, "", mode, length) && locked([&](auto & record) {
            const bool isNext = record.checksToRefusal == 1;
            record.checksToRefusal -= record.checksToRefusal != 0 ? 1 : 0;
            return isNext || support::touches(pointer, length, record.refusedAddress);
        });
    return refuse || pointer == nullptr ? 1 : 0;
}

void trcText(const char * text) {
    note("text ", text, text);
}

void trcFunctionEntry(void * context, std::uint32_t component, std::uint32_t function) {
    note("entry", context, "", component, function);
}

void trcFunctionReturn(void * context, std::uint32_t component, std::uint32_t function,
                       std::uint32_t result) {
    note("exit", context, "", component, function, result);
}
}
