// A pointer is checked by touching one byte of each page of its range. Where the touch faults, a
// signal handler lets the probe go on with a refusal. A good range costs a few nanoseconds that
// way, where any question to the kernel costs a hundred times as much.
//
// ZBCOMMON_POINTER_CHECK, as the process was started with it, chooses another way: "kernel" asks
// the kernel and installs no handler, "off" accepts every range that isn't null.
#include "probe.hpp"
#include "thread.hpp"
#include "zbcommon.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zbcommon {
namespace {

constexpr std::uint16_t modeRead = 1;
constexpr std::uint16_t modeWrite = 2;

// The smallest page of any machine: larger ones are only touched more often than needed.
constexpr std::uintptr_t pageSize = 4096;

// With the check that looks again these are a thousand.
constexpr std::int32_t checksBetweenLooks = 999;

enum class Way : std::uint8_t { undecided, deciding, touch, kernel, off };

constinit std::atomic<Way> way{Way::undecided};
static_assert(std::atomic<Way>::is_always_lock_free);

[[gnu::constructor(101)]] void chooseWay() {
    // secure_getenv: whoever starts a privileged program doesn't choose its protection.
    const char * chosen = secure_getenv("ZBCOMMON_POINTER_CHECK");
    if (chosen != nullptr && std::strcmp(chosen, "off") == 0) {
        way = Way::off;
    } else if (!machineCanTouch || (chosen != nullptr && std::strcmp(chosen, "kernel") == 0)) {
        way = Way::kernel;
    }
}

using ProbeFunction = Verdict (*)(std::uintptr_t) noexcept;

// Differences and sums that are meant to wrap.
[[gnu::always_inline]] inline std::uintptr_t difference(std::uintptr_t number,
                                                        std::uintptr_t part) noexcept {
    std::uintptr_t rest = 0;
    static_cast<void>(__builtin_sub_overflow(number, part, &rest));
    return rest;
}

[[gnu::always_inline]] inline std::uintptr_t lastOf(std::uintptr_t first,
                                                    std::uintptr_t length) noexcept {
    std::uintptr_t last = 0;
    static_cast<void>(__builtin_add_overflow(first, difference(length, 1), &last));
    return last;
}

[[gnu::always_inline]] inline bool isInOnePage(std::uintptr_t first, std::uintptr_t last) noexcept {
    return (first ^ last) < pageSize;
}

template <ProbeFunction probe>
Verdict probePages(std::uintptr_t first, std::uintptr_t last) noexcept {
    std::uintptr_t at = first;
    while (probe(at) == accepted) {
        if (isInOnePage(at, last)) {
            return accepted;
        }
        at = (at / pageSize + 1) * pageSize;
    }
    return refused;
}

template <ProbeFunction probeToRead, ProbeFunction probeToWrite>
[[gnu::noinline]] Verdict probeRange(std::uintptr_t first, std::uintptr_t last,
                                     std::uint16_t mode) noexcept {
    if (mode == modeRead) {
        return probePages<probeToRead>(first, last);
    }
    return mode == modeWrite ? probePages<probeToWrite>(first, last) : refused;
}

// ---- Asking the kernel: calls that fetch or change memory as the caller would, and whose result
// ---- tells of the memory alone. Only EFAULT refuses: where a sandbox forbids the call, nothing
// ---- is known, and refusing everything would stop the application.

// A change of the signal mask by an operation that doesn't exist: the mask is fetched, and then
// the call fails without an effect. The aligned word around the byte lies in the same page; only
// at null, which would mean no mask, it is the next one.
Verdict askToRead(std::uintptr_t at) noexcept {
    constexpr int noSuchOperation = -1;
    constexpr std::uintptr_t maskSize = 8;
    const std::uintptr_t mask = std::max(at & ~(maskSize - 1), maskSize);
    const long result = syscall(SYS_rt_sigprocmask, noSuchOperation, mask, nullptr, maskSize);
    return result == -1 && errno == EFAULT ? refused : accepted;
}

// FUTEX_WAKE_OP adds 0 to the word in one atomic step: the same proof as the locked touch. (The
// madvise call that populates for writing can't tell a read-only page from memory of a device,
// and kernels before 5.14 don't have it; the map of the process doesn't show the end of a file.)
// The call then wakes a thread that waits for the word, if it holds the number compared with:
// harmless, as everybody who waits so must reckon with it, and next to impossible.
Verdict askToWrite(std::uintptr_t at) noexcept {
    static std::uint32_t nobodyWaitsHere = 0;
    constexpr std::uintptr_t wordSize = 4;
    constexpr std::uint32_t unlikelyNumber = 0x800; // as 12 bits with a sign: -2048
    constexpr std::uint32_t addNothing =
        FUTEX_OP_ADD << 28U | FUTEX_OP_CMP_EQ << 24U | 0U << 12U | unlikelyNumber;
    const long result = syscall(SYS_futex, &nobodyWaitsHere, FUTEX_WAKE_OP | FUTEX_PRIVATE_FLAG, 0,
                                nullptr, at & ~(wordSize - 1), addNothing);
    return result == -1 && errno == EFAULT ? refused : accepted;
}

// ---- The fault handler. A fault that is not the probe's takes the course that it would have
// ---- taken without us.

constexpr int callOnce = static_cast<int>(SA_RESETHAND);

struct Former {
    struct sigaction action;
    std::atomic<bool> spent; // its call was made, where it asked to be called once
};

constinit Former formerSegv{};
constinit Former formerBus{};

Former & formerOf(int signal) noexcept {
    return signal == SIGSEGV ? formerSegv : formerBus;
}

// Raised by the instruction at which the context stands, and by it again if it runs again. All
// else was sent: by a process, or by the kernel for memory that failed without being used.
bool raisedByInstruction(const siginfo_t & info) noexcept {
    return info.si_code > 0 && !(info.si_signo == SIGBUS && info.si_code == BUS_MCEERR_AO);
}

// The default action is taken by the kernel, at the place of the fault, so that the core shows
// that place: the instruction faults again when the handler has returned. A signal that was sent
// is sent again, with its own facts, and arrives when the handler no longer blocks it.
void takeDefaultAction(int signal, siginfo_t & info) noexcept {
    const ErrnoKeeper keeper;
    struct sigaction defaultAction {};
    defaultAction.sa_handler = SIG_DFL;
    sigaction(signal, &defaultAction, nullptr);
    if (!raisedByInstruction(info)) {
        // A former handler may have asked that its signal stay open: here it must wait.
        sigset_t ours;
        sigemptyset(&ours);
        sigaddset(&ours, signal);
        pthread_sigmask(SIG_BLOCK, &ours, nullptr);
        syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), signal, &info);
    }
}

void onFault(int signal, siginfo_t * info, void * context) noexcept {
    if (raisedByInstruction(*info) && leaveProbe(*static_cast<ucontext_t *>(context))) {
        return;
    }
    Former & former = formerOf(signal);
    const struct sigaction & action = former.action;
    if (action.sa_handler == SIG_DFL ||
        ((action.sa_flags & callOnce) != 0 && former.spent.exchange(true))) {
        takeDefaultAction(signal, *info);
        return;
    }
    // The handler may check pointers as well, mostly with the signal blocked: so look first.
    threadContext.touchesLeft = 0;
    threadContext.asksLeft = 0;
    if ((action.sa_flags & SA_SIGINFO) != 0) {
        action.sa_sigaction(signal, info, context);
    } else {
        action.sa_handler(signal);
    }
}

// Our handler is registered with the former one's mask and flags: the kernel then gives it the
// same signal mask, stack, nesting and restarts, and nothing of that has to be imitated.
bool takeOver(int signal) noexcept {
    struct sigaction & former = formerOf(signal).action;
    // A signal that is ignored stays so through exec, and interrupts no system call when it is
    // sent. A handler could do neither.
    if (sigaction(signal, nullptr, &former) != 0 || former.sa_handler == SIG_IGN) {
        return false;
    }
    struct sigaction ours = former;
    ours.sa_flags = (former.sa_flags & ~callOnce) | SA_SIGINFO;
    if (former.sa_handler == SIG_DFL) {
        // A stack that overflowed has no room for the handler that brings the default action on.
        ours.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigemptyset(&ours.sa_mask);
    }
    ours.sa_sigaction = onFault;
    struct sigaction replaced {};
    if (sigaction(signal, &ours, &replaced) != 0) {
        return false;
    }
    if (replaced.sa_handler != former.sa_handler) {
        // Another thread set its handler between the two calls. It stays.
        sigaction(signal, &replaced, nullptr);
        return false;
    }
    return true;
}

bool isInPlace(int signal) noexcept {
    struct sigaction now {};
    return sigaction(signal, nullptr, &now) == 0 && (now.sa_flags & SA_SIGINFO) != 0 &&
           now.sa_sigaction == onFault;
}

bool faultsAreBlocked() noexcept {
    sigset_t blocked;
    sigemptyset(&blocked);
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, SIGSEGV) == 1 || sigismember(&blocked, SIGBUS) == 1;
}

void putBack(int signal) noexcept {
    if (isInPlace(signal)) {
        sigaction(signal, &formerOf(signal).action, nullptr);
    }
}

// Done at first use rather than at load: the application has its own handlers in place by then,
// and a process that checks nothing keeps its signals as they are. A thread that comes while
// another one decides doesn't wait, it asks the kernel.
void decideWay() noexcept {
    Way expected = Way::undecided;
    if (!way.compare_exchange_strong(expected, Way::deciding)) {
        return;
    }
    if (takeOver(SIGSEGV) && takeOver(SIGBUS) && isInPlace(SIGSEGV) && isInPlace(SIGBUS)) {
        way = Way::touch;
        return;
    }
    putBack(SIGSEGV);
    putBack(SIGBUS);
    way = Way::kernel;
}

// Every range outside the address space ends in pages that nobody can touch, and that the kernel
// refuses as well: nothing has to be known about its bounds here.
[[gnu::noinline, gnu::cold]] Verdict
checkOffTheFastPath(std::uintptr_t first, std::uintptr_t length, std::uint16_t mode) noexcept {
    const std::uintptr_t last = lastOf(first, length);
    if (length == 0 || first == 0) {
        return length == 0 && (mode == modeRead || mode == modeWrite) ? accepted : refused;
    }
    const ErrnoKeeper keeper;
    threadContext.touchesLeft = 0; // it may lie below by now
    if (threadContext.asksLeft == 0) {
        lookAtFaultHandling();
    }
    const Way now = way;
    if (now == Way::off) {
        return accepted;
    }
    if (first > last) {
        return refused;
    }
    if (now == Way::touch) {
        if (--threadContext.touchesLeft >= 0) {
            return probeRange<touchToRead, touchToWrite>(first, last, mode);
        }
        --threadContext.asksLeft;
    }
    return probeRange<askToRead, askToWrite>(first, last, mode);
}

}

void lookAtFaultHandling() noexcept {
    if (way == Way::undecided) {
        decideWay();
    }
    if (way != Way::touch) {
        return;
    }
    // A handler that came later has the right to every fault, so ours isn't put in again. A mask
    // is the thread's own affair and may change back: it is looked at again and again.
    if (!isInPlace(SIGSEGV) || !isInPlace(SIGBUS)) {
        way = Way::kernel;
    }
    // Touches are only granted while ours is the way: the fast path asks for nothing else.
    const bool blocked = way != Way::touch || faultsAreBlocked();
    threadContext.touchesLeft = blocked ? 0 : checksBetweenLooks;
    threadContext.asksLeft = blocked ? checksBetweenLooks : 0;
}

} // namespace zbcommon

// Its way through a range in one page is met at every turn, so it is kept to one line of the cache.
[[gnu::aligned(64)]] std::int32_t svcCheckPointer(const void * pointer, std::size_t length,
                                                  std::uint16_t mode) {
    using namespace zbcommon;
    const auto first = reinterpret_cast<std::uintptr_t>(pointer);
    const std::uintptr_t last = lastOf(first, length);
    // One comparison for three: null, no length and a wrap all fail it.
    if (difference(first, 1) < last && --threadContext.touchesLeft >= 0) [[likely]] {
        // Nearly all ranges end in the page where they begin: their way is short and has no loop.
        if (isInOnePage(first, last)) [[likely]] {
            if (mode == modeRead) [[likely]] {
                return touchToRead(first);
            }
            if (mode == modeWrite) [[likely]] {
                return touchToWrite(first);
            }
        }
        return probeRange<touchToRead, touchToWrite>(first, last, mode);
    }
    return checkOffTheFastPath(first, length, mode);
}
