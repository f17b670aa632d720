#ifndef ZEBSEM_HPP
#define ZEBSEM_HPP

#include "ZebExport.hpp"

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#endif

/// A lock that the thread which holds it can take again; it takes as many unlock() calls to free
/// it.
///
/// Threads: lock() and unlock() from any thread; construction and destruction while nobody uses it.
class ZEB_EXPORT ZebSem {
public:
    ZebSem();
    ~ZebSem();
    ZebSem(const ZebSem &) = delete;
    ZebSem & operator=(const ZebSem &) = delete;

    /// Waits as long as it takes; always true.
    bool lock();
    /// Gives back one lock() of this thread; always true.
    bool unlock();

private:
#if defined(_WIN32)
    CRITICAL_SECTION criticalSection_;
#else
    pthread_mutex_t criticalSection_;
#endif
};

#endif
