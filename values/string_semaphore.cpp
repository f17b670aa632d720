#include "values/string_semaphore.hpp"

#include "ZebSem.hpp"
#include "ZebStr.hpp"
#include "ZebTrc.hpp"
#include "frame/library.hpp"
#include "platform/platform.hpp"
#include "zbcommon.h"

#include <atomic>
#include <new>

namespace {

std::atomic<ZebSem *> stringSemaphore{nullptr};

constexpr std::uint32_t component = 31;
constexpr std::uint32_t functionTake = 57;
constexpr std::uint32_t functionGive = 58;

void * threadContext() {
    void * context = TlsGetValue(svcThreadSlot);
    if (context == nullptr) {
        svcInitialize(0, 9, 0, 0, nullptr);
        context = TlsGetValue(svcThreadSlot);
    }
    return context;
}

template <class Work> bool traced(std::uint32_t function, Work work) {
    void * const context = threadContext();
    trcFunctionEntry(context, component, function);
    const bool result = work();
    trcFunctionReturn(context, component, function, result ? 1 : 0);
    return result;
}

// The library's lock is left before the semaphore is taken, so the two are never held together.
void makeSemaphore() {
    if (stringSemaphore.load(std::memory_order_acquire) == nullptr) {
        const zeb::LibraryLockHolder holder;
        if (stringSemaphore.load(std::memory_order_relaxed) == nullptr) {
            stringSemaphore.store(new (std::nothrow) ZebSem, std::memory_order_release);
        }
    }
}

} // namespace

bool zeb::takeStringSemaphore() {
    return traced(functionTake, [] {
        makeSemaphore();
        ZebSem * const semaphore = stringSemaphore.load(std::memory_order_acquire);
        return semaphore != nullptr && semaphore->lock();
    });
}

bool zeb::giveStringSemaphore() {
    return traced(functionGive, [] {
        ZebSem * const semaphore = stringSemaphore.load(std::memory_order_acquire);
        return semaphore != nullptr && semaphore->unlock();
    });
}

void ZebStrCleanUp() {
    ZebSem * const semaphore = stringSemaphore.load(std::memory_order_acquire);
    if (semaphore != nullptr) {
        ZebTrc::traceMessage("Releasing ZebString resources");
        delete semaphore;
        stringSemaphore.store(nullptr, std::memory_order_release);
    }
}
