#ifndef SUPPORT_PAGE_END_HPP
#define SUPPORT_PAGE_END_HPP

#include <cstddef>
#include <cstring>
#include <new>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

namespace support {

/// Memory that ends where an inaccessible page begins, and starts `size` bytes earlier: a read or
/// write one byte past its end kills the process. The bytes are zero, or a copy of what is given.
class PageEnd {
public:
    explicit PageEnd(std::size_t size) : size_(size) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        usable_ = (size + page - 1) / page * page;
        mapped_ = usable_ + page;
        void * map =
            mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        map_ = static_cast<char *>(map);
        if (map == MAP_FAILED || mprotect(map_ + usable_, page, PROT_NONE) != 0) {
            throw std::bad_alloc();
        }
    }

    explicit PageEnd(std::string_view bytes) : PageEnd(bytes.size()) {
        if (!bytes.empty()) {
            std::memcpy(data(), bytes.data(), bytes.size());
        }
    }

    ~PageEnd() { munmap(map_, mapped_); }

    PageEnd(const PageEnd &) = delete;
    PageEnd & operator=(const PageEnd &) = delete;

    char * data() const { return map_ + usable_ - size_; }
    std::size_t size() const { return size_; }
    /// Lets the memory be read only; writes kill the process from now on.
    void makeReadOnly() {
        if (usable_ != 0 && mprotect(map_, usable_, PROT_READ) != 0) {
            throw std::bad_alloc();
        }
    }

private:
    std::size_t size_;
    std::size_t usable_ = 0;
    std::size_t mapped_ = 0;
    char * map_ = nullptr;
};

}

#endif
