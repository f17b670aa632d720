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
thread_local std::size_t askedBytes = 0;
thread_local std::size_t toFailure = 0; // 0: none is to fail
thread_local bool fromThereOn = false;
thread_local bool hasFailed = false;

bool isToFail() {
    if (toFailure == 0) {
        return false;
    }
    if (toFailure > 1) {
        --toFailure;
        return false;
    }
    toFailure = fromThereOn ? 1 : 0;
    hasFailed = true;
    return true;
}

void * allocate(std::size_t size, std::size_t alignment) noexcept {
    if (ownDepth == 0) {
        ++asked;
        askedBytes += size;
        if (isToFail()) {
            return nullptr;
        }
    }
    void * block = nullptr;
    if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
        block = std::malloc(size != 0 ? size : 1);
    } else if (posix_memalign(&block, alignment, size) != 0) {
        block = nullptr;
    }
    if (block != nullptr && ownDepth == 0) {
        blocksInUse.fetch_add(1, std::memory_order_relaxed);
    }
    return block;
}

void * allocateOrThrow(std::size_t size, std::size_t alignment) {
    void * block = allocate(size, alignment);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void release(void * block) noexcept {
    if (block != nullptr && ownDepth == 0) {
        blocksInUse.fetch_sub(1, std::memory_order_relaxed);
    }
    std::free(block);
}

constexpr std::size_t ordinary = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

std::size_t number(std::align_val_t alignment) {
    return static_cast<std::size_t>(alignment);
}

}

std::ptrdiff_t liveBlocks() {
    return blocksInUse.load(std::memory_order_relaxed);
}

AllocationTally::AllocationTally() : count_(asked), bytes_(askedBytes) {}

std::size_t AllocationTally::count() const {
    return asked - count_;
}

std::size_t AllocationTally::bytes() const {
    return askedBytes - bytes_;
}

FailAllocations::FailAllocations(std::size_t n, Extent extent) {
    toFailure = n;
    fromThereOn = extent == fromThere;
    hasFailed = false;
}

FailAllocations::~FailAllocations() {
    stop();
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
using support::number;
using support::ordinary;
using support::release;

void * operator new(std::size_t size) {
    return allocateOrThrow(size, ordinary);
}
void * operator new[](std::size_t size) {
    return allocateOrThrow(size, ordinary);
}
void * operator new(std::size_t size, const std::nothrow_t &) noexcept {
    return allocate(size, ordinary);
}
void * operator new[](std::size_t size, const std::nothrow_t &) noexcept {
    return allocate(size, ordinary);
}
void * operator new(std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, number(alignment));
}
void * operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, number(alignment));
}
void * operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept {
    return allocate(size, number(alignment));
}
void * operator new[](std::size_t size, std::align_val_t alignment,
                      const std::nothrow_t &) noexcept {
    return allocate(size, number(alignment));
}

void operator delete(void * block) noexcept {
    release(block);
}
void operator delete[](void * block) noexcept {
    release(block);
}
void operator delete(void * block, std::size_t) noexcept {
    release(block);
}
void operator delete[](void * block, std::size_t) noexcept {
    release(block);
}
void operator delete(void * block, const std::nothrow_t &) noexcept {
    release(block);
}
void operator delete[](void * block, const std::nothrow_t &) noexcept {
    release(block);
}
void operator delete(void * block, std::align_val_t) noexcept {
    release(block);
}
void operator delete[](void * block, std::align_val_t) noexcept {
    release(block);
}
void operator delete(void * block, std::size_t, std::align_val_t) noexcept {
    release(block);
}
void operator delete[](void * block, std::size_t, std::align_val_t) noexcept {
    release(block);
}
void operator delete(void * block, std::align_val_t, const std::nothrow_t &) noexcept {
    release(block);
}
void operator delete[](void * block, std::align_val_t, const std::nothrow_t &) noexcept {
    release(block);
}
