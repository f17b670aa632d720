// The platform layer, linked into this program: here the program is the module that it serves.
#include "platform/platform.hpp"

#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

// What comes ahead of all constructors and behind all destructors uses these.
constinit char events[100]{};
constinit HMODULE loadedModule = nullptr;
constinit bool tells = false;

struct Marks {
    Marks() { std::strcat(events, "constructor "); }
    ~Marks() { std::strcat(events, "destructor "); }
};

const Marks marks;

HMODULE moduleOf(const void * address) {
    Dl_info info{};
    void * entry = nullptr;
    return dladdr1(address, &info, &entry, RTLD_DL_LINKMAP) != 0 ? entry : nullptr;
}

}

extern "C" void ZebStrCleanUp(); // of the library

// The program's own DllMain. The library that this program is linked with must keep to its own one.
extern "C" [[gnu::visibility("default")]] std::int32_t DllMain(void * module, std::uint32_t reason,
                                                               void *) {
    if (reason == DLL_PROCESS_ATTACH) {
        loadedModule = module;
        std::strcat(events, "load ");
    } else if (tells) {
        std::fprintf(stderr, "%sunload%s.", events, module == loadedModule ? "" : " of another");
    }
    return 1;
}

TEST(Load, ComesBeforeStaticObjectsAndUnloadBehindThem) {
    EXPECT_EQ(loadedModule, moduleOf(&events));
    EXPECT_EXIT((tells = true, std::exit(0)), testing::ExitedWithCode(0),
                "^load constructor destructor unload\\.$");
}

TEST(GetProcAddress, FindsTheModulesOwnNamesAloneWhateverTheHandle) {
    void * const ofLibrary = reinterpret_cast<void *>(&ZebStrCleanUp);
    ASSERT_NE(moduleOf(ofLibrary), loadedModule);
    for (const HMODULE module : std::initializer_list<HMODULE>{
             nullptr, loadedModule, moduleOf(ofLibrary), ofLibrary, reinterpret_cast<HMODULE>(1)}) {
        // The library has one of the same name.
        EXPECT_EQ(GetProcAddress(module, "DllMain"), reinterpret_cast<FARPROC>(&DllMain));
        for (const char * name : {"ZebStrCleanUp", "dladdr1", "ZebMgrCleanUp", "", "main",
                                  static_cast<const char *>(nullptr)}) {
            EXPECT_EQ(GetProcAddress(module, name), nullptr) << name;
        }
    }
}
