#ifndef HEADERS_ZBWIH_LAYOUT_HPP
#define HEADERS_ZBWIH_LAYOUT_HPP

#include "frame/layout.hpp"

// clang-format off
#define ZBWIH_LAYOUT(FIELD)                        \
    FIELD(structureId,      0,  4, text,    blank) \
    FIELD(version,          4,  4, integer, none)  \
    FIELD(structureLength,  8,  4, integer, none)  \
    FIELD(encoding,        12,  4, integer, none)  \
    FIELD(characterSet,    16,  4, integer, none)  \
    FIELD(format,          20,  8, text,    blank) \
    FIELD(headerFlags,     28,  4, integer, none)  \
    FIELD(serviceName,     32, 32, text,    blank) \
    FIELD(serviceStep,     64,  8, text,    blank) \
    FIELD(messageToken,    72, 16, bytes,   none)  \
    FIELD(spareArea,       88, 32, bytes,   none)
// clang-format on

ZEB_LAYOUT_TABLE(ZBWIH)

#endif
