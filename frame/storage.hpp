#ifndef FRAME_STORAGE_HPP
#define FRAME_STORAGE_HPP

#include <cstddef>

namespace zeb {

/// A block of `size` bytes from array allocation, or null. The bytes are not set.
char * obtainBlock(std::size_t size) noexcept;

/// Gives back a block of obtainBlock; null is allowed.
void releaseBlock(char * block) noexcept;

} // namespace zeb

#endif
