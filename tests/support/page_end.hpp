#ifndef SUPPORT_PAGE_END_HPP
#define SUPPORT_PAGE_END_HPP

#include <cstddef>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

namespace support {

/// A copy of bytes in memory that ends where an inaccessible page begins: a read or write one byte
/// past its end kills the process.
class PageEnd {
public:
    explicit PageEnd(std::string_view bytes)
        : size_(bytes.size()),
          map_(static_cast<char *>(
              mmap(nullptr, usable() + page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        mprotect(map_, usable(), PROT_READ | PROT_WRITE); // without it the copy is the fault
        bytes.copy(data(), size_);
    }
    ~PageEnd() { munmap(map_, usable() + page); }
    PageEnd(const PageEnd &) = delete;
    PageEnd & operator=(const PageEnd &) = delete;

    char * data() const { return map_ + usable() - size_; }
    std::size_t size() const { return size_; }
    /// Lets the memory be read only; writes kill the process from now on.
    void makeReadOnly() { mprotect(map_, usable(), PROT_READ); }

private:
    std::size_t usable() const { return (size_ / page + 1) * page; }

    static inline const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::size_t size_;
    char * map_;
};

}

#endif
