#ifndef SUPPORT_FAILING_ALLOCATION_HPP
#define SUPPORT_FAILING_ALLOCATION_HPP

#include <cstddef>

/// The test program's own global allocation operators: they count, and fail on demand.
namespace support {

/// How many blocks of the global operators are in use, in the whole process.
std::ptrdiff_t liveBlocks();

/// How often the calling thread asked the global operators since the tally began, failures
/// included.
class AllocationTally {
public:
    AllocationTally();
    std::size_t count() const;

private:
    std::size_t before_;
};

/// While it lives, the n-th allocation of this thread from its beginning fails, 1 being the next:
/// with std::bad_alloc, or with a null result in the nothrow forms. `fromThere` fails all that
/// follow as well. Guards don't nest. Where the n-th has not failed, all ways through were tried.
class FailAllocations {
public:
    enum Extent { once, fromThere };

    explicit FailAllocations(std::size_t n, Extent extent = once);
    ~FailAllocations() { stop(); }
    FailAllocations(const FailAllocations &) = delete;
    FailAllocations & operator=(const FailAllocations &) = delete;

    /// Whether an allocation has failed.
    bool failed() const;
    /// Ends the failing early, for the checks of a test.
    void stop();
};

/// While it lives, this thread's allocations are the test support's own: neither tallied nor
/// counted among the live blocks nor failed.
class OwnAllocations {
public:
    OwnAllocations();
    ~OwnAllocations();
    OwnAllocations(const OwnAllocations &) = delete;
    OwnAllocations & operator=(const OwnAllocations &) = delete;
};

}

#endif
