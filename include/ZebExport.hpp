#ifndef ZEBEXPORT_HPP
#define ZEBEXPORT_HPP

/// @file
/// How a class or function of the library is made visible to applications. Everything that does
/// not carry ZEB_EXPORT stays inside the library, and so do members marked ZEB_LOCAL.

#if defined(_WIN32)
#if defined(ZEBBASE_BUILDING)
#define ZEB_EXPORT __declspec(dllexport)
#else
#define ZEB_EXPORT __declspec(dllimport)
#endif
#define ZEB_LOCAL
#define ZEB_CALL __stdcall
#else
#define ZEB_EXPORT __attribute__((visibility("default")))
#define ZEB_LOCAL __attribute__((visibility("hidden")))
#define ZEB_CALL
#endif

#endif
