#ifndef FUZZ_STEP_HPP
#define FUZZ_STEP_HPP

#include "fuzz/input.hpp"

#include <functional>
#include <vector>

/// What is to go wrong: the n-th time that it is asked, and from there on where that is set.
struct Fault {
    std::size_t at = 0;
    bool onward = false;

    bool strikes() {
        const bool strike = at == 1;
        at -= at > 1 || (strike && !onward) ? 1 : 0;
        return strike;
    }
};

/// What a model has to know about the operation under way, and the calls to zbcommon that it
/// expects of it, one line each.
struct Step {
    Fault storage, check;
    std::vector<std::string> lines;
};
inline Step step;

/// What a step does, and whether it could.
using Side = std::function<bool()>;

/// A step in which nothing is to fail: the library's side, and then the model's, which must have
/// the same outcome.
inline void takeSoundStep(const Side & real, const Side & plain) {
    step = Step();
    CHECK(real() == plain());
}
/// How the targets take their steps. A test program that can let things fail and that hears what is
/// traced puts its own way here.
inline void (*takeStep)(const Side & real, const Side & plain) = takeSoundStep;

/// Codes of a model whose failures are traced.
struct TracedCodes : Codes {
    bool trace(const char * text, std::int32_t why, std::int32_t how = ZBCC_FAILED) {
        step.lines.push_back(std::string("text ") + text);
        return report(why, how);
    }
    bool traceCut(const char * text) { return trace(text, ZBRC_DATA_TRUNCATED, ZBCC_WARNING); }
    /// A check of memory that is to be read (1) or written (2), and the failure where it is
    /// refused.
    bool check(int mode, std::size_t size, const char * text, std::int32_t why) {
        step.lines.push_back("check " + std::to_string(mode) + ' ' + std::to_string(size));
        return !step.check.strikes() || trace(text, why);
    }
    /// As the objects check for themselves: nothing where there are no bytes.
    bool mayRead(std::size_t size) {
        return size == 0 || check(1, size, "ZebError::checkReadPointer (error): buffer error",
                                  ZBRC_BUFFER_ERROR);
    }
    bool mayWrite(std::size_t size) {
        return size == 0 || check(2, size, "ZebError::checkWritePointer (error): buffer error",
                                  ZBRC_BUFFER_ERROR);
    }
};

#endif
