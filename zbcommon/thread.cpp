#include "thread.hpp"

#include "zbcommon.h"

#include <pthread.h>

namespace {

constexpr std::uint32_t noSlot = UINT32_MAX;

} // namespace

namespace zbcommon {

constinit thread_local ThreadContext threadContext;

} // namespace zbcommon

constinit std::uint32_t svcThreadSlot = noSlot;

namespace {

// Where another zbcommon has taken the place of this one, the name svcThreadSlot leads to its
// index, which must stay as it is: only a slot that still bears our mark is ours to fill. (Looking
// at the address instead would be wrong: a program linked to a fixed address has a copy of ours.)
[[gnu::constructor(101)]] void createSlot() {
    pthread_key_t key = 0;
    // Nothing is released at thread end, so the key has no destructor, and none can run too late.
    if (svcThreadSlot == noSlot && pthread_key_create(&key, nullptr) == 0) {
        svcThreadSlot = key;
    }
}

} // namespace

std::int32_t svcInitialize(std::uint16_t, std::uint16_t, std::uint32_t, std::uint32_t, void *) {
    const zbcommon::ErrnoKeeper keeper;
    zbcommon::lookAtFaultHandling();
    return pthread_setspecific(svcThreadSlot, &zbcommon::threadContext);
}
