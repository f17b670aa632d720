#include "frame/storage.hpp"

#include <cstdint>
#include <new>

namespace zeb {

char * obtainBlock(std::size_t size) noexcept {
    // No allocator grants more than this, and some abort the program when asked.
    if (size > static_cast<std::size_t>(PTRDIFF_MAX)) {
        return nullptr;
    }
    return static_cast<char *>(::operator new[](size, std::nothrow));
}

void releaseBlock(char * block) noexcept {
    if (block != nullptr) {
        ::operator delete[](block);
    }
}

} // namespace zeb
