// load LIBRARY [use]: loads the library and unloads it again, more often than a process has
// thread-specific slots; with "use", a text goes to a field each time, which makes the string lock.
#include "ZebStr.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <malloc.h>

// A function of a name that the library, when it is unloaded, looks for in itself alone.
extern "C" void ZebMgrCleanUp() {
    std::abort();
}

namespace {

// Calls a function of the library by its link name; a member takes the object in front.
template <class Result = void, class... Argument>
Result call(void * library, const char * name, Argument... arguments) {
    return reinterpret_cast<Result (*)(Argument...)>(dlsym(library, name))(arguments...);
}

bool use(void * library) {
    alignas(ZebStr) unsigned char object[sizeof(ZebStr)];
    void * const text = object;
    char field[8];
    call(library, "_ZN6ZebStrC1EPKc", text, "text");
    const bool done =
        call<bool>(library, "_ZN6ZebStr7copyOutEPcmc", text, field + 0, sizeof field, '.');
    call(library, "_ZN6ZebStrD1Ev", text);
    return done && std::memcmp(field, "text....", sizeof field) == 0;
}

}

int main(int count, char ** arguments) {
    std::size_t inUse = 0;
    for (int round = 0; round < 1100; ++round) {
        void * library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        const bool works = library != nullptr && (count == 2 || use(library));
        if (!works || dlclose(library) != 0 || dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD)) {
            std::printf("round %d: the library doesn't %s\n", round, works ? "go" : "work");
            return 1;
        }
        inUse = round == 99 ? mallinfo2().uordblks : inUse;
    }
    const std::size_t now = mallinfo2().uordblks;
    std::printf("%zu bytes in use, %zu at the beginning\n", now, inUse);
    return now > inUse ? 1 : 0;
}
