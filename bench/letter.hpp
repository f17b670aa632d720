#ifndef BENCH_LETTER_HPP
#define BENCH_LETTER_HPP

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

/// What every form of a dead letter carries, ours and those of the peers: five names, the format of
/// the body, and the body.

namespace bench {

struct Text {
    const char * data; ///< Ends with a null.
    std::size_t length;

    std::string_view view() const { return {data, length}; }
};

struct Names {
    Text destinationQueueName;        ///< Field of 48 bytes.
    Text destinationQueueManagerName; ///< Field of 48 bytes.
    Text putApplicationName;          ///< Field of 28 bytes.
    Text putDate;                     ///< Field of 8 bytes.
    Text putTime;                     ///< Field of 8 bytes.
    Text format;                      ///< Field of 8 bytes.
};

/// The names in hand. Known only at run time: no form gets a length as a constant.
extern const Names names;

// No powers of two: blocks at the same place in different pages make some copies many times slower,
// and which form would meet that is chance.
inline constexpr std::array<std::size_t, 5> bodySizes = {0, 100, 1000, 10000, 1000000};

/// A body of this size.
std::string makeBody(std::size_t size);

} // namespace bench

#endif
