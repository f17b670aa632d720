#include "ZebSem.hpp"

#include "platform/platform.hpp"

ZebSem::ZebSem() {
    InitializeCriticalSection(&criticalSection_);
}

ZebSem::~ZebSem() {
    DeleteCriticalSection(&criticalSection_);
}

bool ZebSem::lock() {
    EnterCriticalSection(&criticalSection_);
    return true;
}

bool ZebSem::unlock() {
    LeaveCriticalSection(&criticalSection_);
    return true;
}
