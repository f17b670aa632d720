#if !defined(_WIN32)

#include "platform/module.hpp"
#include "platform/platform.hpp"

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <link.h>

namespace {

// A table of the module's dynamic section. The loader relocates the addresses in place, on the
// systems that let it.
template <class Entry> const Entry * tableOf(const link_map & module, ElfW(Sxword) tag) {
    for (const ElfW(Dyn) * entry = module.l_ld; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == tag) {
            const ElfW(Addr) address = entry->d_un.d_ptr;
            const ElfW(Addr) base = address < module.l_addr ? module.l_addr : 0;
            return reinterpret_cast<const Entry *>(base + address);
        }
    }
    return nullptr;
}

// The module's own table is read because dlsym would go on in the modules that this one needs, and
// because it takes no handle of a module that came in at program start.
FARPROC exportOf(const link_map & module, const char * name) {
    const auto * const header = tableOf<std::uint32_t>(module, DT_GNU_HASH);
    const auto * const symbols = tableOf<ElfW(Sym)>(module, DT_SYMTAB);
    const char * const names = tableOf<char>(module, DT_STRTAB);
    if (header == nullptr || symbols == nullptr || names == nullptr || header[0] == 0) {
        return nullptr;
    }
    std::uint32_t hash = 5381;
    for (const char * at = name; *at != '\0'; ++at) {
        const std::uint64_t next = std::uint64_t{hash} * 33 + static_cast<unsigned char>(*at);
        hash = static_cast<std::uint32_t>(next & UINT32_MAX);
    }
    const std::uint32_t bucketCount = header[0];
    const std::uint32_t firstSymbol = header[1];
    const std::uint32_t filterWords = header[2] * (sizeof(ElfW(Addr)) / sizeof(std::uint32_t));
    const std::uint32_t * const buckets = header + 4 + filterWords;
    const std::uint32_t * const chains = buckets + bucketCount;
    std::uint32_t index = buckets[hash % bucketCount];
    if (index < firstSymbol) {
        return nullptr;
    }
    // The lowest bit of a chained hash marks the end of its bucket.
    for (;; ++index) {
        const std::uint32_t chained = chains[index - firstSymbol];
        const ElfW(Sym) & symbol = symbols[index];
        if ((chained | 1) == (hash | 1) && symbol.st_shndx != SHN_UNDEF &&
            std::strcmp(names + symbol.st_name, name) == 0) {
            return reinterpret_cast<FARPROC>(module.l_addr + symbol.st_value);
        }
        if ((chained & 1) != 0) {
            return nullptr;
        }
    }
}

}

link_map * thisModule() {
    static const char insideThisModule = 0;
    Dl_info info{};
    void * entry = nullptr; // and so it stays where there is no module
    dladdr1(&insideThisModule, &info, &entry, RTLD_DL_LINKMAP);
    return static_cast<link_map *>(entry);
}

void InitializeCriticalSection(CRITICAL_SECTION * section) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(section, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

FARPROC GetProcAddress(HMODULE, const char * name) {
    const link_map * const entry = name != nullptr ? thisModule() : nullptr;
    return entry != nullptr ? exportOf(*entry, name) : nullptr;
}

#endif
