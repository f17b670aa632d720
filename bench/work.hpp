#ifndef BENCH_WORK_HPP
#define BENCH_WORK_HPP

#include "ZebDlh.hpp"
#include "letter.hpp"

/// Work that the timed benchmarks and the instruction counts have in common.

namespace bench {

inline void setNames(ZebDlh & header) {
    header.setDestinationQueueName(names.destinationQueueName.data);
    header.setDestinationQueueManagerName(names.destinationQueueManagerName.data);
    header.setPutApplicationName(names.putApplicationName.data);
    header.setPutDate(names.putDate.data);
    header.setPutTime(names.putTime.data);
}

/// Appends of 64 bytes fill 1 MB.
inline constexpr std::size_t appendedLength = 64;
inline constexpr std::size_t appendCount = 1024 * 1024 / appendedLength;

} // namespace bench

#endif
