// What zbcommon keeps for each thread, and the look that thread set-up takes at fault handling.
#ifndef ZBCOMMON_THREAD_HPP
#define ZBCOMMON_THREAD_HPP

#include <cerrno>
#include <cstdint>

namespace zbcommon {

struct ThreadContext {
    std::int32_t touchesLeft = 0; // checks by touch before the next look at fault handling
    std::int32_t asksLeft = 0;    // the same for checks by kernel, where faults are blocked
    std::uint32_t depth = 0;      // functions entered and not yet returned from, while tracing
};

// The slot points at this object. As it lives in the thread's static block it needs no storage
// that could run out, it is still there while the thread's last destructors trace, and reaching
// it costs one instruction: a call to find it would take as long as a pointer check may.
[[gnu::visibility("hidden"),
  gnu::tls_model("initial-exec")]] extern constinit thread_local ThreadContext threadContext;

// Notices a fault handler that was replaced, or signals that this thread has blocked.
[[gnu::visibility("hidden")]] void lookAtFaultHandling() noexcept;

// Services are called between a caller's own system call and its look at errno.
class ErrnoKeeper {
public:
    ErrnoKeeper() noexcept = default;
    ErrnoKeeper(const ErrnoKeeper &) = delete;
    ErrnoKeeper & operator=(const ErrnoKeeper &) = delete;
    ~ErrnoKeeper() { errno = kept; }

private:
    int kept = errno;
};

} // namespace zbcommon

#endif
