#include "frame/library.hpp"

#include "platform/platform.hpp"

namespace {

CRITICAL_SECTION libraryLock;
std::uint32_t libraryLockReady = 0;

// Sibling modules that are linked into one with this library bring clean-ups of their own; the
// string's comes last because theirs may still use strings.
constexpr const char * cleanUpNames[] = {"ZebMgrCleanUp", "ZebQueCleanUp", "ZebStrCleanUp"};

void load() {
    if (libraryLockReady == 0) {
        InitializeCriticalSection(&libraryLock);
        libraryLockReady = 1;
    }
}

void unload(HMODULE module) {
    DeleteCriticalSection(&libraryLock);
    for (const char * name : cleanUpNames) {
        const FARPROC cleanUp = GetProcAddress(module, name);
        if (cleanUp != nullptr) {
            cleanUp();
        }
    }
}

} // namespace

std::int32_t ZEB_CALL DllMain(void * module, std::uint32_t reason, void *) {
    if (reason == DLL_PROCESS_ATTACH) {
        load();
    } else if (reason == DLL_PROCESS_DETACH) {
        unload(static_cast<HMODULE>(module));
    }
    return 1;
}

zeb::LibraryLockHolder::LibraryLockHolder() {
    EnterCriticalSection(&libraryLock);
}

zeb::LibraryLockHolder::~LibraryLockHolder() {
    LeaveCriticalSection(&libraryLock);
}
