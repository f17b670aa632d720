#ifndef SUPPORT_FAULTY_STEPS_HPP
#define SUPPORT_FAULTY_STEPS_HPP

#include "ZebTrc.hpp"
#include "fuzz/step.hpp"
#include "support/failing_allocation.hpp"
#include "support/recording_zbcommon.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <random>

namespace support {

/// A number of the same sequence in every run.
inline std::size_t pick(std::size_t below) {
    static std::mt19937 random(20260);
    return random() % below;
}

/// None where storage ran out.
inline std::optional<bool> outcomeOf(const Side & side) {
    try {
        return side();
    } catch (const std::bad_alloc &) {
        return {};
    }
}

/// Takes a step with faults of its own: the outcome, also where that is an exception, and all calls
/// to zbcommon must be the model's.
inline void takeFaultyStep(const Side & real, const Side & plain) {
    step = Step();
    step.storage = {pick(4) == 0 ? 1 + pick(6) : 0, pick(2) == 0};
    step.check.at = pick(4) == 0 ? 1 + pick(8) : 0;
    Recording recording;
    recording.refuseCheck(step.check.at);
    FailAllocations guard(step.storage.at,
                          step.storage.onward ? FailAllocations::fromThere : FailAllocations::once);
    const std::optional<bool> outcome = outcomeOf(real);
    guard.stop();
    EXPECT_EQ(outcome, outcomeOf(plain));
    EXPECT_EQ(recording.lines(), step.lines);
    step = Step(); // nothing fails between the steps
    CHECK(!testing::Test::HasFailure());
}

/// Runs inputs through the fuzz target that is linked in, all of their steps faulty; they leave no
/// block behind.
inline void walkUnderFaults(std::size_t inputs, const std::function<std::string()> & input) {
    ZebTrc::traceMessage("the thread is set up before");
    takeStep = takeFaultyStep;
    for (std::size_t done = 0; done != inputs; ++done) {
        const std::string bytes = input();
        step = Step();
        const std::ptrdiff_t before = liveBlocks();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
        step = Step();
        ASSERT_EQ(liveBlocks(), before);
    }
    takeStep = takeSoundStep;
}

/// The same with random sequences of bytes.
inline void walkUnderFaults(
    std::size_t sequences, std::size_t length, std::size_t (*byte)() = [] { return pick(256); }) {
    walkUnderFaults(sequences, [&] {
        std::string bytes(length, '\0');
        std::generate(bytes.begin(), bytes.end(), byte);
        return bytes;
    });
}

}

#endif
