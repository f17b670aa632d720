#include "support/failing_allocation.hpp"

#include <atomic>
#include <cstdlib>
#include <new>

namespace support {
namespace {

// Relaxed, so that counting orders no two threads that the library left unordered.
std::atomic<std::ptrdiff_t> blocksInUse{0};

thread_local int ownDepth = 0;
thread_local std::size_t asked = 0;
thread_local std::size_t toFailure = 0; // 0: none is to fail
thread_local bool fromThereOn = false;
thread_local bool hasFailed = false;

void * allocate(std::size_t size) noexcept {
    if (ownDepth == 0) {
        ++asked;
        if (toFailure == 1) {
            toFailure = fromThereOn ? 1 : 0;
            hasFailed = true;
            return nullptr;
        }
        toFailure = toFailure != 0 ? toFailure - 1 : 0;
    }
    void * const block = std::malloc(size != 0 ? size : 1);
    if (block != nullptr && ownDepth == 0) {
        blocksInUse.fetch_add(1, std::memory_order_relaxed);
    }
    return block;
}

void * allocateOrThrow(std::size_t size) {
    void * const block = allocate(size);
    return block != nullptr ? block : throw std::bad_alloc();
}

void release(void * block) noexcept {
    if (block != nullptr && ownDepth == 0) {
        blocksInUse.fetch_sub(1, std::memory_order_relaxed);
    }
    std::free(block);
}

}

std::ptrdiff_t liveBlocks() {
    return blocksInUse.load(std::memory_order_relaxed);
}

AllocationTally::AllocationTally() : before_(asked) {}

std::size_t AllocationTally::count() const {
    return asked - before_;
}

FailAllocations::FailAllocations(std::size_t n, Extent extent) {
    toFailure = n;
    fromThereOn = extent == fromThere;
    hasFailed = false;
}

bool FailAllocations::failed() const {
    return hasFailed;
}

void FailAllocations::stop() {
    toFailure = 0;
}

OwnAllocations::OwnAllocations() {
    ++ownDepth;
}

OwnAllocations::~OwnAllocations() {
    --ownDepth;
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
