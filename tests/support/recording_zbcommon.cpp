#include "support/recording_zbcommon.hpp"

#include "support/failing_allocation.hpp"
#include "zbcommon/zbcommon.h"

#include <cstdint>
#include <cstring>

#include <pthread.h>

namespace support {

constinit Recording::State Recording::state;

namespace {

Recording::State & state = Recording::state;
thread_local char context;

// Notes a call while a Recording lives, and says whether one does.
template <class... Number>
bool note(const char * line, const void * pointer, const char * end, Number... numbers) {
    if (state.records) {
        const OwnAllocations own;
        state.lines.emplace_back(line);
        ((state.lines.back() += ' ' + std::to_string(numbers)), ...);
        state.lines.back() += end;
        state.pointers.push_back(pointer);
    }
    return state.records;
}

bool isRefused(const void * pointer, std::size_t length) {
    const bool isNext = state.checksToRefusal != 0 && --state.checksToRefusal == 0;
    const auto start = reinterpret_cast<std::uintptr_t>(pointer);
    const auto address = reinterpret_cast<std::uintptr_t>(state.refusedAddress);
    return isNext || (address != 0 && address >= start && address - start < length);
}

// Ahead of the static objects of the test program, which may already trace.
__attribute__((constructor(101))) void prepare() {
    pthread_key_create(&svcThreadSlot, nullptr);
}

}

void Recording::begin(bool records) {
    const OwnAllocations own;
    state = {.records = records};
}

void Recording::clear() {
    const OwnAllocations own;
    state.lines.clear();
    state.pointers.clear();
}

Texts Recording::texts() const {
    Texts texts;
    for (const std::string & line : state.lines) {
        if (line.starts_with("text ")) {
            texts.push_back(line.substr(5));
        }
    }
    return texts;
}

}

using support::note;

extern "C" {

std::uint32_t svcThreadSlot = 0;

std::int32_t svcInitialize(std::uint16_t first, std::uint16_t second, std::uint32_t third,
                           std::uint32_t fourth, void * area) {
    const char * const rest = (third | fourth) != 0 ? " not zero" : area ? " area" : " null";
    const bool isNoted = note("set-up", area, rest, first, second);
    if (area != nullptr) {
        std::memset(area, 0xA5, 16); // the caller promises 16 bytes and reads none of them
    }
    const bool isRefused = isNoted && support::state.refusesSetUp;
    return isRefused ? 1 : pthread_setspecific(svcThreadSlot, &support::context);
}

std::int32_t svcCheckPointer(const void * pointer, std::size_t length, std::uint16_t mode) {
    const bool isNoted = note("check", pointer, "", mode, length);
    return (isNoted && support::isRefused(pointer, length)) || pointer == nullptr ? 1 : 0;
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
