#ifndef HEADERS_ZBRMH_LAYOUT_HPP
#define HEADERS_ZBRMH_LAYOUT_HPP

#include "frame/layout.hpp"

// The fixed part; the four texts stand behind it.
// clang-format off
#define ZBRMH_LAYOUT(FIELD)                                     \
    FIELD(structureId,                   0,  4, text,    blank) \
    FIELD(version,                       4,  4, integer, none)  \
    FIELD(structureLength,               8,  4, integer, none)  \
    FIELD(encoding,                     12,  4, integer, none)  \
    FIELD(characterSet,                 16,  4, integer, none)  \
    FIELD(format,                       20,  8, text,    blank) \
    FIELD(headerFlags,                  28,  4, integer, none)  \
    FIELD(referenceType,                32,  8, text,    zero)  \
    FIELD(instanceId,                   40, 24, bytes,   none)  \
    FIELD(sourceEnvironmentLength,      64,  4, integer, none)  \
    FIELD(sourceEnvironmentOffset,      68,  4, integer, none)  \
    FIELD(sourceNameLength,             72,  4, integer, none)  \
    FIELD(sourceNameOffset,             76,  4, integer, none)  \
    FIELD(destinationEnvironmentLength, 80,  4, integer, none)  \
    FIELD(destinationEnvironmentOffset, 84,  4, integer, none)  \
    FIELD(destinationNameLength,        88,  4, integer, none)  \
    FIELD(destinationNameOffset,        92,  4, integer, none)  \
    FIELD(tailWord1,                    96,  4, integer, none)  \
    FIELD(tailWord2,                   100,  4, integer, none)  \
    FIELD(tailWord3,                   104,  4, integer, none)
// clang-format on

ZEB_LAYOUT_TABLE(ZBRMH)

#endif
