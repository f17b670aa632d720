#ifndef SUPPORT_PAGE_END_HPP
#define SUPPORT_PAGE_END_HPP

#include <cstddef>
#include <new>
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
          usable_((size_ + page - 1) / page * page),
          map_(static_cast<char *>(mmap(nullptr, usable_ + page, PROT_READ | PROT_WRITE,
                                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        protect(map_ + usable_, page, PROT_NONE);
        bytes.copy(data(), size_);
    }
    ~PageEnd() { munmap(map_, usable_ + page); }
    PageEnd(const PageEnd &) = delete;
    PageEnd & operator=(const PageEnd &) = delete;

    char * data() const { return map_ + usable_ - size_; }
    std::size_t size() const { return size_; }
    /// Lets the memory be read only; writes kill the process from now on.
    void makeReadOnly() { protect(map_, usable_, PROT_READ); }

private:
    static void protect(char * pages, std::size_t size, int protection) {
        if (size != 0 && mprotect(pages, size, protection) != 0) {
            throw std::bad_alloc();
        }
    }

    static inline const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::size_t size_, usable_;
    char * map_;
};

}

#endif
