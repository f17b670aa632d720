#include <zebbase.hpp>

#include <cstring>

/// Fills a fixed field from a string, which makes the lock of the string class.
extern "C" int usePlugin() {
    char field[8];
    ZebStr text("plug");
    return text.copyOut(field, sizeof field, '.') && std::memcmp(field, "plug....", 8) == 0;
}
