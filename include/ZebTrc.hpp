#ifndef ZEBTRC_HPP
#define ZEBTRC_HPP

#include "ZebExport.hpp"

#include <cstddef>

/// The library's way to `zbcommon`: the trace and the pointer checks. Static operations only.
///
/// Each of traceMessage, checkReadPointer and checkWritePointer first sets the calling thread up
/// where that has not been done, so any thread may call any of them first.
///
/// Threads: all operations may be called from any thread at any time.
class ZEB_EXPORT ZebTrc {
public:
    /// Does nothing; kept for callers that were built against it.
    static void traceEntry(unsigned int component, unsigned int function);
    /// Does nothing; kept for callers that were built against it.
    static void traceExit(unsigned int component, unsigned int function, unsigned int result);
    /// Writes a text, ended by a zero byte, to the trace: unchanged, nothing added.
    static void traceMessage(const char * text);
    /// Whether `length` bytes at `pointer` may be read. Sets no code.
    static bool checkReadPointer(const void * pointer, std::size_t length);
    /// Whether `length` bytes at `pointer` may be written. Sets no code.
    static bool checkWritePointer(const void * pointer, std::size_t length);
};

#endif
