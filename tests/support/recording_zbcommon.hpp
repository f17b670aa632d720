#ifndef SUPPORT_RECORDING_ZBCOMMON_HPP
#define SUPPORT_RECORDING_ZBCOMMON_HPP

#include <cstddef>
#include <string>
#include <vector>

namespace support {

using Texts = std::vector<std::string>;

/// A stand-in for `zbcommon`, linked into a test program so that the library calls it in place of
/// libzbcommon. It always sets threads up and refuses null pointers; while a Recording lives it
/// also notes every call, in order, and refuses what it was told to refuse.
///
/// It takes no lock, so that it orders no two threads that the library left unordered. One
/// Recording at a time, during which one thread at a time calls.
class Recording {
public:
    Recording() { begin(true); }
    ~Recording() { begin(false); }
    Recording(const Recording &) = delete;
    Recording & operator=(const Recording &) = delete;

    /// Forgets the calls so far; what was to be refused still is.
    void clear();
    /// All calls, one line each: "set-up 48 1031 area", "check 1 172", "text ...", "entry 31 57",
    /// "exit 31 57 1". Numbers that must be zero are told where they are not.
    Texts lines() const { return state.lines; }
    /// The texts alone.
    Texts texts() const;
    /// What the calls pointed at: area, range, text or context of the thread.
    std::vector<const void *> pointers() const { return state.pointers; }

    /// Refuses the n-th check from now on, 1 for the next, and only that one.
    void refuseCheck(std::size_t n) { state.checksToRefusal = n; }
    /// Refuses every check whose range touches the byte at this address; null for none any more.
    void refuseAddress(const void * address) { state.refusedAddress = address; }
    /// Lets svcInitialize leave the thread slot empty and say that it failed.
    void refuseSetUp() { state.refusesSetUp = true; }

    /// What the stand-in has noted and what it is told.
    struct State {
        bool records = false;
        Texts lines{};
        std::vector<const void *> pointers{};
        std::size_t checksToRefusal = 0;
        const void * refusedAddress = nullptr;
        bool refusesSetUp = false;
    };
    static State state;

private:
    static void begin(bool records);
};

}

#endif
