#ifndef FRAME_POINTER_CHECK_HPP
#define FRAME_POINTER_CHECK_HPP

#include "ZebErr.hpp"
#include "platform/platform.hpp"
#include "zbcommon.h"

/// The pointer checks as the library itself makes them: the steps of ZebTrc and ZebErr, without
/// their calls. Each is made for every range, at a few instructions of its own.

namespace zeb {

inline constexpr std::uint16_t modeRead = 1;
inline constexpr std::uint16_t modeWrite = 2;

/// Sets up a thread whose slot is null.
[[gnu::cold, gnu::noinline]] void initializeThread();

// The slot alone says whether a thread is set up, so that another zbcommon, or one that forgets a
// thread, is always asked for its present view.
[[gnu::always_inline]] inline void setUpThread() {
    if (TlsGetValue(svcThreadSlot) == nullptr) [[unlikely]] {
        initializeThread();
    }
}

[[gnu::always_inline]] inline bool isUsable(const void * pointer, std::size_t length,
                                            std::uint16_t mode) {
    setUpThread();
    return svcCheckPointer(pointer, length, mode) == 0;
}

/// Reports that a range is not for reading; false.
[[gnu::cold, gnu::noinline]] bool refuseToRead(ZebErr & object);
/// Reports that a range is not for writing; false.
[[gnu::cold, gnu::noinline]] bool refuseToWrite(ZebErr & object);

/// Whether the range may be read; a no is reported on the object.
[[gnu::always_inline]] inline bool mayRead(ZebErr & object, const void * pointer,
                                           std::size_t length) {
    return isUsable(pointer, length, modeRead) || refuseToRead(object);
}

/// Whether the range may be written; a no is reported on the object.
[[gnu::always_inline]] inline bool mayWrite(ZebErr & object, const void * pointer,
                                            std::size_t length) {
    return isUsable(pointer, length, modeWrite) || refuseToWrite(object);
}

} // namespace zeb

#endif
