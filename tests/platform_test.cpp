// The platform layer, linked into this program: here the program is the module that it serves.
#include "platform/platform.hpp"

#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>

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

TEST(GetProcAddress, FindsTheModulesOwnNamesAlone) {
    std::string heap(4096, ' ');
    void * const cleanUp = reinterpret_cast<void *>(&ZebStrCleanUp);
    void * const library = moduleOf(cleanUp);
    ASSERT_NE(library, loadedModule);
    const struct {
        const char * what;
        HMODULE module;
        const char * name;
        const void * found;
    } rows[] = {
        {"its own", library, "ZebStrCleanUp", cleanUp},
        {"its own, told by an address", cleanUp, "ZebStrCleanUp", cleanUp},
        {"of a library that it needs", library, "svcInitialize", nullptr},
        {"not there at all", library, "ZebMgrCleanUp", nullptr},
        {"no name", library, nullptr, nullptr},
        {"of a library, asked of this program", nullptr, "ZebStrCleanUp", nullptr},
        {"this program's own", nullptr, "DllMain", reinterpret_cast<void *>(&DllMain)},
        {"this program by its handle", loadedModule, "ZebStrCleanUp", nullptr},
        {"no module: too low", reinterpret_cast<HMODULE>(1), "ZebStrCleanUp", nullptr},
        {"no module: heap", heap.data(), "ZebStrCleanUp", nullptr},
    };
    for (const auto & row : rows) {
        EXPECT_EQ(reinterpret_cast<void *>(GetProcAddress(row.module, row.name)), row.found)
            << row.what;
    }
    // This program has one of the same name.
    EXPECT_EQ(moduleOf(reinterpret_cast<void *>(GetProcAddress(library, "DllMain"))), library);
}
