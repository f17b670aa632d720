// Load and unload of the library where the system calls no DllMain by itself.
#if !defined(_WIN32)

#include "platform/module.hpp"
#include "platform/platform.hpp"

// Protected: the call stays in this library, also where the application or a sibling library
// exports a DllMain of its own.
extern "C" [[gnu::visibility("protected")]] std::int32_t
DllMain(void * module, std::uint32_t reason, void * reserved);

namespace {

HMODULE ownModule = nullptr;

// The lowest priority that programs may use stands for the earliest constructor, ahead of every
// static object of the library, and for the latest destructor, behind them all.
[[gnu::constructor(101)]] void load() {
    ownModule = thisModule();
    DllMain(ownModule, DLL_PROCESS_ATTACH, nullptr);
}

[[gnu::destructor(101)]] void unload() {
    DllMain(ownModule, DLL_PROCESS_DETACH, nullptr);
}

}

#endif
