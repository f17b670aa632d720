#include "support/failing_allocation.hpp"

#include <atomic>
#include <cstdlib>
#include <new>

namespace support {
namespace {

// Relaxed, so that counting orders no two threads that the library left unordered.
std::atomic<std::ptrdiff_t> blocksInUse{0};

void * allocate(std::size_t size) noexcept {
    AllocationState & state = allocationState;
    const bool isOwn = state.ownDepth != 0;
    if (!isOwn && state.toFailure != 0 && --state.toFailure == 0) {
        state.toFailure = state.fromThereOn ? 1 : 0;
        state.hasFailed = true;
        return nullptr;
    }
    void * const block = std::malloc(size != 0 ? size : 1);
    if (block != nullptr && !isOwn) {
        blocksInUse.fetch_add(1, std::memory_order_relaxed);
    }
    return block;
}

void * allocateOrThrow(std::size_t size) {
    void * const block = allocate(size);
    return block != nullptr ? block : throw std::bad_alloc();
}

void release(void * block) noexcept {
    if (block != nullptr && allocationState.ownDepth == 0) {
        blocksInUse.fetch_sub(1, std::memory_order_relaxed);
    }
    std::free(block);
}

}

std::ptrdiff_t liveBlocks() {
    return blocksInUse.load(std::memory_order_relaxed);
}

}

using support::allocate;
using support::allocateOrThrow;
using support::release;

// All forms but the aligned ones, which nothing here uses: a sanitizer has its own of each.
// clang-format off
void * operator new(std::size_t size) { return allocateOrThrow(size); }
void * operator new[](std::size_t size) { return allocateOrThrow(size); }
void * operator new(std::size_t size, const std::nothrow_t &) noexcept { return allocate(size); }
void * operator new[](std::size_t size, const std::nothrow_t &) noexcept { return allocate(size); }
void operator delete(void * block) noexcept { release(block); }
void operator delete[](void * block) noexcept { release(block); }
void operator delete(void * block, std::size_t) noexcept { release(block); }
void operator delete[](void * block, std::size_t) noexcept { release(block); }
void operator delete(void * block, const std::nothrow_t &) noexcept { release(block); }
void operator delete[](void * block, const std::nothrow_t &) noexcept { release(block); }
// clang-format on
