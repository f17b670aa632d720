#ifndef PLATFORM_MODULE_HPP
#define PLATFORM_MODULE_HPP

struct link_map;

/// The loader's entry for the module that this is linked into.
[[gnu::visibility("hidden")]] link_map * thisModule();

#endif
