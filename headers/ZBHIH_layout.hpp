#ifndef HEADERS_ZBHIH_LAYOUT_HPP
#define HEADERS_ZBHIH_LAYOUT_HPP

#include "frame/layout.hpp"

// clang-format off
#define ZBHIH_LAYOUT(FIELD)                                     \
    FIELD(structureId,                   0,  4, text,    blank) \
    FIELD(version,                       4,  4, integer, none)  \
    FIELD(structureLength,               8,  4, integer, none)  \
    FIELD(encoding,                     12,  4, integer, none)  \
    FIELD(characterSet,                 16,  4, integer, none)  \
    FIELD(format,                       20,  8, text,    blank) \
    FIELD(headerFlags,                  28,  4, integer, none)  \
    FIELD(logicalTerminalOverride,      32,  8, text,    zero)  \
    FIELD(messageFormatServicesMapName, 40,  8, text,    zero)  \
    FIELD(replyToFormat,                48,  8, text,    blank) \
    FIELD(authenticator,                56,  8, text,    zero)  \
    FIELD(transactionInstanceId,        64, 16, bytes,   none)  \
    FIELD(tailByte1,                    80,  1, text,    none)  \
    FIELD(tailByte2,                    81,  1, text,    none)  \
    FIELD(tailByte3,                    82,  1, text,    none)  \
    FIELD(tailByte4,                    83,  1, text,    none)
// clang-format on

ZEB_LAYOUT_TABLE(ZBHIH)

#endif
