// Touching a byte of memory that may not be there: the part of the pointer check that depends on
// the machine. Another machine needs the three functions below; until it has them, checks there
// ask the kernel.
#ifndef ZBCOMMON_PROBE_HPP
#define ZBCOMMON_PROBE_HPP

#include <cstdint>
#include <ucontext.h>

namespace zbcommon {

// What a probe finds, and svcCheckPointer gives.
using Verdict = std::int32_t;
constexpr Verdict accepted = 0;
constexpr Verdict refused = 1;

#if defined(__x86_64__) && defined(__LP64__)

constexpr bool machineCanTouch = true;

// Where a probe touches and where it ends, both relative to the field itself: so the list needs no
// work at load and lies in read-only memory.
struct Probe {
    std::int32_t touches;
    std::int32_t ends;
};

[[gnu::visibility("hidden")]] extern const Probe firstProbe[] __asm__("__start_zbcommon_probes");
[[gnu::visibility("hidden")]] extern const Probe lastProbe[] __asm__("__stop_zbcommon_probes");

// Probes are written for the assembler: compilers and sanitizers may neither drop the access nor
// add to it, and the fault comes at one known instruction. The verdict is in rax, where the fault
// handler puts the refusal: valgrind, which translates the instructions, would not keep one that
// the probe itself had put into a register beforehand.
#define ZBCOMMON_PROBE(touch, accept)                                                              \
    "1: " touch "\n"                                                                               \
    "   " accept "\n"                                                                              \
    "2:\n"                                                                                         \
    ".pushsection zbcommon_probes, \"a\"\n"                                                        \
    ".balign 4\n"                                                                                  \
    ".long 1b - ., 2b - .\n"                                                                       \
    ".popsection\n"

// The yes is made of the byte that was read. Nothing else would keep valgrind from leaving out a
// read whose result nobody uses.
[[gnu::always_inline]] inline Verdict touchToRead(std::uintptr_t at) noexcept {
    Verdict verdict;
    __asm__ volatile(ZBCOMMON_PROBE("movzbl (%[at]), %[verdict]", "shrl $8, %[verdict]")
                     : [verdict] "=&a"(verdict)
                     : [at] "r"(at)
                     : "cc", "memory");
    return verdict;
}

// The lock prefix makes reading and writing back one step, so that no byte which another thread
// writes in between is lost.
[[gnu::always_inline]] inline Verdict touchToWrite(std::uintptr_t at) noexcept {
    Verdict verdict;
    __asm__ volatile(ZBCOMMON_PROBE("lock orb $0, (%[at])", "xorl %[verdict], %[verdict]")
                     : [verdict] "=&a"(verdict)
                     : [at] "r"(at)
                     : "cc", "memory");
    return verdict;
}

// Where the context stands at a probe, ends that with a refusal.
inline bool leaveProbe(ucontext_t & context) noexcept {
    const auto at = static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RIP]);
    const auto target = [](const std::int32_t & field) {
        return static_cast<std::uintptr_t>(reinterpret_cast<std::intptr_t>(&field) + field);
    };
    for (const Probe * probe = firstProbe; probe != lastProbe; ++probe) {
        if (at == target(probe->touches)) {
            context.uc_mcontext.gregs[REG_RAX] = refused;
            context.uc_mcontext.gregs[REG_RIP] = static_cast<greg_t>(target(probe->ends));
            return true;
        }
    }
    return false;
}

#else

constexpr bool machineCanTouch = false;

inline Verdict touchToRead(std::uintptr_t) noexcept {
    return refused;
}

inline Verdict touchToWrite(std::uintptr_t) noexcept {
    return refused;
}

inline bool leaveProbe(ucontext_t &) noexcept {
    return false;
}

#endif

} // namespace zbcommon

#endif
