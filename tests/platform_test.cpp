// The platform layer, linked into this program: here the program is the module that it serves.
#include "platform/platform.hpp"

#include <array>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

// Needs no constructor, as it is filled ahead of all constructors and read behind all destructors.
constinit std::array<char, 100> events{};

void note(const char * event) {
    std::strncat(events.data(), event, events.size() - 1 - std::strlen(events.data()));
}

struct Marks {
    Marks() { note("constructor "); }
    ~Marks() { note("destructor "); }
};

const Marks marks;

constinit HMODULE loadedModule = nullptr;
constinit int reportTo = -1;

}

extern "C" void ZebStrCleanUp(); // of the library

// The program's own DllMain. The library that this program is linked with must keep to its own one.
extern "C" [[gnu::visibility("default")]] std::int32_t DllMain(void * module, std::uint32_t reason,
                                                               void *) {
    if (reason == DLL_PROCESS_ATTACH) {
        loadedModule = module;
        note("load ");
    } else {
        note(module == loadedModule ? "unload" : "unload of another module");
        static_cast<void>(write(reportTo, events.data(), std::strlen(events.data())));
    }
    return 1;
}

namespace {

HMODULE moduleOf(const void * address) {
    Dl_info info{};
    void * entry = nullptr;
    return dladdr1(address, &info, &entry, RTLD_DL_LINKMAP) != 0 ? entry : nullptr;
}

TEST(Load, ComesBeforeStaticObjectsAndUnloadBehindThem) {
    EXPECT_EQ(loadedModule, moduleOf(&events));
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    const pid_t process = fork();
    if (process == 0) {
        close(STDOUT_FILENO);
        reportTo = ends[1];
        std::exit(0);
    }
    close(ends[1]);
    std::array<char, 200> report{};
    EXPECT_GT(read(ends[0], report.data(), report.size() - 1), 0);
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
    EXPECT_STREQ(report.data(), "load constructor destructor unload");
}

TEST(GetProcAddress, FindsTheModulesOwnNamesAlone) {
    const auto heap = std::make_unique<std::array<char, 4096>>();
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
        {"of the system's library", library, "malloc", nullptr},
        {"not there at all", library, "ZebMgrCleanUp", nullptr},
        {"no name", library, nullptr, nullptr},
        {"of a library, asked of this program", nullptr, "ZebStrCleanUp", nullptr},
        {"this program by its handle", loadedModule, "ZebStrCleanUp", nullptr},
        {"no module: too low", reinterpret_cast<HMODULE>(1), "ZebStrCleanUp", nullptr},
        {"no module: heap", heap.get(), "ZebStrCleanUp", nullptr},
    };
    for (const auto & row : rows) {
        EXPECT_EQ(reinterpret_cast<const void *>(GetProcAddress(row.module, row.name)), row.found)
            << row.what;
    }
    // This program has one of the same name.
    const FARPROC entry = GetProcAddress(library, "DllMain");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(moduleOf(reinterpret_cast<const void *>(entry)), library);
}

TEST(CriticalSection, IsEnteredAgainByItsThreadAlone) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    const auto isFreeForOthers = [&section] {
        int result = -1;
        std::thread([&] {
            result = pthread_mutex_trylock(&section);
            if (result == 0) {
                LeaveCriticalSection(&section);
            }
        }).join();
        return result == 0;
    };
    EnterCriticalSection(&section);
    EnterCriticalSection(&section);
    EXPECT_FALSE(isFreeForOthers());
    LeaveCriticalSection(&section);
    EXPECT_FALSE(isFreeForOthers());
    LeaveCriticalSection(&section);
    EXPECT_TRUE(isFreeForOthers());
    DeleteCriticalSection(&section);
    EnterCriticalSection(&section); // comes back
    LeaveCriticalSection(&section);
}

TEST(ThreadSlot, IsNullUntilTheThreadFillsIt) {
    EXPECT_EQ(TlsGetValue(UINT32_MAX), nullptr);
    pthread_key_t key = 0;
    ASSERT_EQ(pthread_key_create(&key, nullptr), 0);
    int value = 0;
    EXPECT_EQ(TlsGetValue(key), nullptr);
    EXPECT_EQ(pthread_setspecific(key, &value), 0);
    EXPECT_EQ(TlsGetValue(key), &value);
    std::thread([key] { EXPECT_EQ(TlsGetValue(key), nullptr); }).join();
    pthread_key_delete(key);
}

}
