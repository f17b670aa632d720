#ifndef SUPPORT_RECORDING_ZBCOMMON_HPP
#define SUPPORT_RECORDING_ZBCOMMON_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace support {

/// What came through one of the functions of `zbcommon`; only the members of its kind are set.
struct Call {
    enum class Kind { setUp, check, text, entry, exit };

    Kind kind;
    std::string text;
    const void * pointer = nullptr; ///< of a check, or the area of a set-up
    std::size_t length = 0;
    std::uint16_t mode = 0;
    std::uint16_t numbers[2] = {};  ///< of a set-up
    std::uint32_t zeros[2] = {};    ///< of a set-up
    const void * context = nullptr; ///< of an entry or exit
    std::uint32_t component = 0, function = 0, result = 0;

    /// The call in one line: "set-up 48 1031 area", "check 1 172", "text ...", "entry 31 57",
    /// "exit 31 57 1". Pointers other than null are left out.
    std::string line() const;
};

/// A stand-in for `zbcommon`, linked into a test program so that the library calls it in place of
/// libzbcommon. It always sets threads up and refuses null pointers; while a Recording lives it
/// also notes every call, of any thread, in order, and refuses what it was told to refuse.
///
///     Recording recording;
///     message.read(10, target);
///     EXPECT_EQ(recording.texts(), Texts{"ZebCache::read (error): insufficient data"});
///
/// Outside a Recording the stand-in takes no lock, so that it orders no two threads that the
/// library left unordered. One Recording at a time.
class Recording {
public:
    Recording();
    ~Recording();
    Recording(const Recording &) = delete;
    Recording & operator=(const Recording &) = delete;

    /// Forgets the calls so far; what was to be refused still is.
    void clear();
    std::vector<Call> calls() const;
    /// All calls, one line each.
    std::vector<std::string> lines() const;
    /// The texts alone.
    std::vector<std::string> texts() const;
    /// The pointer checks alone.
    std::vector<Call> checks() const;

    /// Refuses the n-th check from now on, 1 for the next, and only that one.
    void refuseCheck(std::size_t n);
    /// Refuses every check whose range touches the byte at this address; null for none any more.
    void refuseAddress(const void * address);
    /// Lets svcInitialize leave the thread slot empty and say that it failed.
    void refuseSetUp(bool refuse);
};

using Texts = std::vector<std::string>;

/// Whether the calling thread is set up.
bool threadIsSetUp();
/// Empties the calling thread's slot, as on a thread that was never seen.
void forgetThread();
/// The context that the calling thread's slot holds once it is set up.
const void * threadContext();

}

#endif
