#ifndef FUZZ_INPUT_HPP
#define FUZZ_INPUT_HPP

#include "ZebErr.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

/// Ends the process where the library and what is expected of it differ.
#define CHECK(condition)                                                                           \
    ((condition) ? void()                                                                          \
                 : (std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition),   \
                    std::abort()))

/// The bytes of one run, taken from the front; behind their end they are zero.
class Input {
public:
    Input(const std::uint8_t * bytes, std::size_t size) : next_(bytes), left_(size) {}

    bool ended() const { return left_ == 0; }
    std::uint8_t byte() { return left_ != 0 ? (--left_, *next_++) : std::uint8_t{0}; }
    std::string bytes(std::size_t size) {
        std::string result(size, '\0');
        std::generate(result.begin(), result.end(), [this] { return static_cast<char>(byte()); });
        return result;
    }
    std::string rest() { return bytes(left_); }
    /// Up to `limit` bytes, none of them null.
    std::string text(std::size_t limit) {
        std::string result = bytes(std::min({std::size_t{byte()}, limit, left_}));
        std::replace(result.begin(), result.end(), '\0', '0');
        return result;
    }

private:
    const std::uint8_t * next_;
    std::size_t left_;
};

/// The bytes in a heap block of exactly their number, so that a reader past their end is seen.
inline std::unique_ptr<char[]> exactBlock(const std::string & bytes) {
    std::unique_ptr<char[]> block(new char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), block.get());
    return block;
}

/// Codes as an object of the library bears them.
struct Codes {
    std::int32_t reason = 0, completion = 0;

    bool report(std::int32_t why, std::int32_t how = ZBCC_FAILED) {
        reason = why;
        completion = how;
        return how != ZBCC_FAILED;
    }
    bool areThoseOf(const ZebErr & object) const {
        return object.reasonCode() == reason && object.completionCode() == completion;
    }
};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * bytes, std::size_t size);

#endif
