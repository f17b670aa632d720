#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>

// An application's function of a name that the library looks for in itself alone.
extern "C" void ZebMgrCleanUp() {
    std::puts("the host's own function was called at unload");
    std::abort();
}

// host PLUGIN LIBRARY: loads the plug-in twice, uses it, and unloads it; the library that it brings
// in must go with it.
int main(int count, char ** arguments) {
    if (count != 3) {
        return 2;
    }
    for (int round = 0; round < 2; ++round) {
        void * plugin = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (plugin == nullptr) {
            std::printf("%s\n", dlerror());
            return 1;
        }
        const auto use = reinterpret_cast<int (*)()>(dlsym(plugin, "usePlugin"));
        if (use == nullptr || use() == 0) {
            std::puts("the plug-in doesn't work");
            return 1;
        }
        void * library = dlopen(arguments[2], RTLD_NOW | RTLD_NOLOAD);
        if (library == nullptr) {
            std::puts("the library isn't loaded under its SONAME");
            return 1;
        }
        dlclose(library);
        dlclose(plugin);
        if (dlopen(arguments[2], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            std::puts("the library stays loaded");
            return 1;
        }
    }
    return 0;
}
