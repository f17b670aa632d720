/*
 * The common services: thread set-up, pointer checks and trace. Everything that zebbase knows of
 * them is the six names below. An application may put a library of its own in their place at load
 * time (it must then define all six); it need not know anything else of this one.
 *
 * Every function may be called on any thread at any time, reports nothing by errno, and throws
 * nothing.
 */
#ifndef ZBCOMMON_H
#define ZBCOMMON_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define ZBCOMMON_API __declspec(dllimport)
#else
#define ZBCOMMON_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Index of the thread-local slot that tells whether a thread is set up: it holds null before the
 * thread's first svcInitialize and the thread's context afterwards. A pthread key here. Set at
 * load, constant from then on; read only for everybody outside.
 */
ZBCOMMON_API extern uint32_t svcThreadSlot;

/*
 * Sets the calling thread up: its slot is not null afterwards. Calling it again does no harm. The
 * context ends with its thread and takes no call to release it. The arguments are reserved:
 * nothing is read from them, and the area may be null. 0 for success; otherwise the slot could
 * not be filled, and everything else works all the same.
 */
ZBCOMMON_API int32_t svcInitialize(uint16_t areaSize, uint16_t options, uint32_t reserved1,
                                   uint32_t reserved2, void * area);

/*
 * Whether the `length` bytes at `pointer` may be used at this moment: mode 1 to read them, mode 2
 * to write them (memory that can be written can be read too). 0 means yes, any other value no. A
 * range of no bytes is always usable, even at null; any other mode is refused. The answer is true
 * of the moment of the call alone; no byte is changed, also while other threads write there.
 *
 * Pages that were never touched before may come into being by the check, as by the access itself.
 */
ZBCOMMON_API int32_t svcCheckPointer(const void * pointer, size_t length, uint16_t mode);

/* Writes one line with `text` to the trace, where there is one. Null writes nothing. */
ZBCOMMON_API void trcText(const char * text);

/*
 * Write a line for the entry into a function and for its return. The lines of a thread between
 * the two are nested one level deeper. The context is the value of the thread's slot; null is as
 * good.
 */
ZBCOMMON_API void trcFunctionEntry(void * context, uint32_t component, uint32_t function);
ZBCOMMON_API void trcFunctionReturn(void * context, uint32_t component, uint32_t function,
                                    uint32_t result);

#ifdef __cplusplus
}
#endif

#endif
