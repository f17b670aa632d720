#ifndef FRAME_LIBRARY_HPP
#define FRAME_LIBRARY_HPP

#include "ZebExport.hpp"

#include <cstdint>

extern "C" {
/// Load (reason 1) and unload (reason 0) of the library; any other reason does nothing. Always 1.
ZEB_EXPORT std::int32_t ZEB_CALL DllMain(void * module, std::uint32_t reason, void * reserved);
}

namespace zeb {

/// Holds the library's own lock, which stands from load to unload and guards nothing but the making
/// of the string semaphore.
class LibraryLockHolder {
public:
    LibraryLockHolder();
    ~LibraryLockHolder();
    LibraryLockHolder(const LibraryLockHolder &) = delete;
    LibraryLockHolder & operator=(const LibraryLockHolder &) = delete;
};

} // namespace zeb

#endif
