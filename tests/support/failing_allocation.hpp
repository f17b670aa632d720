#ifndef SUPPORT_FAILING_ALLOCATION_HPP
#define SUPPORT_FAILING_ALLOCATION_HPP

#include <cstddef>

/// The test program's own global allocation operators: they count, and fail on demand.
namespace support {

/// How many blocks of the global operators are in use, in the whole process.
std::ptrdiff_t liveBlocks();

/// What the operators know of a thread.
struct AllocationState {
    std::size_t toFailure; // 0 where none is to fail
    bool fromThereOn, hasFailed;
    int ownDepth;
};
inline constinit thread_local AllocationState allocationState{};

/// While it lives, the n-th allocation of this thread from its beginning fails, 1 being the next:
/// with std::bad_alloc, or with a null result in the nothrow forms. `fromThere` fails all that
/// follow as well. Guards don't nest. Where the n-th has not failed, all ways through were tried.
class FailAllocations {
public:
    enum Extent { once, fromThere };

    explicit FailAllocations(std::size_t n, Extent extent = once) {
        allocationState.toFailure = n;
        allocationState.fromThereOn = extent == fromThere;
        allocationState.hasFailed = false;
    }
    ~FailAllocations() { stop(); }
    FailAllocations(const FailAllocations &) = delete;
    FailAllocations & operator=(const FailAllocations &) = delete;

    /// Whether an allocation has failed.
    bool failed() const { return allocationState.hasFailed; }
    /// Ends the failing early, for the checks of a test.
    void stop() { allocationState.toFailure = 0; }
};

/// While it lives, this thread's allocations are the test support's own: neither counted
/// among the live blocks nor failed.
class OwnAllocations {
public:
    OwnAllocations() { ++allocationState.ownDepth; }
    ~OwnAllocations() { --allocationState.ownDepth; }
    OwnAllocations(const OwnAllocations &) = delete;
    OwnAllocations & operator=(const OwnAllocations &) = delete;
};

}

#endif
