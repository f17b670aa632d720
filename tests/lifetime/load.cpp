// load LIBRARY [use]: loads the library and unloads it again, more often than a process has
// thread-specific slots; with "use", a text goes to a field each time, which makes the string lock.
#include "ZebStr.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <dlfcn.h>
#include <malloc.h>

// A function of a name that the library, when it is unloaded, looks for in itself alone.
extern "C" void ZebMgrCleanUp() {
    std::abort();
}

namespace {

// A function of the library by its link name; a member takes the object in front.
template <class Function> Function * find(void * library, const char * name) {
    return reinterpret_cast<Function *>(dlsym(library, name));
}

bool use(void * library) {
    const auto construct = find<void(void *, const char *)>(library, "_ZN6ZebStrC1EPKc");
    const auto copyOut =
        find<bool(void *, char *, std::size_t, char)>(library, "_ZN6ZebStr7copyOutEPcmc");
    const auto destroy = find<void(void *)>(library, "_ZN6ZebStrD1Ev");
    if (construct == nullptr || copyOut == nullptr || destroy == nullptr) {
        return false;
    }
    alignas(ZebStr) unsigned char object[sizeof(ZebStr)];
    char field[8];
    construct(object, "text");
    const bool done = copyOut(object, field, sizeof field, '.');
    destroy(object);
    return done && std::memcmp(field, "text....", sizeof field) == 0;
}

}

int main(int count, char ** arguments) {
    std::size_t inUse = 0;
    for (int round = 0; round < 1100; ++round) {
        void * library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr || (count > 2 && !use(library))) {
            std::printf("round %d: the library doesn't work\n", round);
            return 1;
        }
        dlclose(library);
        if (dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            std::printf("round %d: the library stays loaded\n", round);
            return 1;
        }
        if (round == 99) {
            inUse = mallinfo2().uordblks;
        }
    }
    if (mallinfo2().uordblks > inUse) {
        std::printf("%zu bytes lost\n", mallinfo2().uordblks - inUse);
        return 1;
    }
    return 0;
}
