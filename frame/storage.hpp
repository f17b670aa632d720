#ifndef FRAME_STORAGE_HPP
#define FRAME_STORAGE_HPP

#include <cstddef>
#include <cstdint>
#include <new>

namespace zeb {

/// A block of `size` bytes from array allocation, or null. The bytes are not set.
[[gnu::always_inline]] inline char * obtainBlock(std::size_t size) noexcept {
    // No allocator grants more than this, and some abort the program when asked.
    if (size > static_cast<std::size_t>(PTRDIFF_MAX)) {
        return nullptr;
    }
    return static_cast<char *>(::operator new[](size, std::nothrow));
}

/// Gives back a block of obtainBlock; null is allowed.
inline void releaseBlock(char * block) noexcept {
    if (block != nullptr) {
        ::operator delete[](block);
    }
}

} // namespace zeb

#endif
