/// @file
/// The operating-system names that the frame calls, as Windows has them. Elsewhere they stand here
/// over POSIX, for what the frame asks of them and no more.
#ifndef PLATFORM_PLATFORM_HPP
#define PLATFORM_PLATFORM_HPP

#if defined(_WIN32)

#include <windows.h>

#else

#include <cstdint>
#include <pthread.h>

#pragma GCC visibility push(hidden)

using CRITICAL_SECTION = pthread_mutex_t;

/// A module as dlopen gives it; the loader's own entry for it, so that it needs no dlclose.
using HMODULE = void *;
using FARPROC = void (*)();

inline constexpr std::uint32_t DLL_PROCESS_DETACH = 0;
inline constexpr std::uint32_t DLL_PROCESS_ATTACH = 1;

/// A lock that the thread which holds it can enter again.
void InitializeCriticalSection(CRITICAL_SECTION * section);

// Results are ignored on purpose. There is one failure that a caller can meet: a thread that is
// still in the library when it is unloaded at exit enters or leaves a lock that was deleted. The
// mutex then says so and does nothing, and the thread goes on without the lock to its near end.
inline void DeleteCriticalSection(CRITICAL_SECTION * section) {
    static_cast<void>(pthread_mutex_destroy(section));
}

inline void EnterCriticalSection(CRITICAL_SECTION * section) {
    static_cast<void>(pthread_mutex_lock(section));
}

inline void LeaveCriticalSection(CRITICAL_SECTION * section) {
    static_cast<void>(pthread_mutex_unlock(section));
}

/// Null until the thread stored something there, and for an index that is none.
inline void * TlsGetValue(std::uint32_t index) {
    return pthread_getspecific(index);
}

/// The function that this very module exports under the name, or null. What other modules export
/// doesn't count, not even those that it is linked with. The handle is the one that DllMain got;
/// whatever an application that calls DllMain itself has passed there, it stands for this module.
FARPROC GetProcAddress(HMODULE module, const char * name);

#pragma GCC visibility pop

#endif

#endif
