#ifndef HEADERS_ZBDLH_LAYOUT_HPP
#define HEADERS_ZBDLH_LAYOUT_HPP

#include "frame/layout.hpp"

// clang-format off
#define ZBDLH_LAYOUT(FIELD)                                     \
    FIELD(structureId,                   0,  4, text,    blank) \
    FIELD(version,                       4,  4, integer, none)  \
    FIELD(deadLetterWord8,               8,  4, integer, none)  \
    FIELD(destinationQueueName,         12, 48, text,    zero)  \
    FIELD(destinationQueueManagerName,  60, 48, text,    zero)  \
    FIELD(encoding,                    108,  4, integer, none)  \
    FIELD(characterSet,                112,  4, integer, none)  \
    FIELD(format,                      116,  8, text,    blank) \
    FIELD(deadLetterWord124,           124,  4, integer, none)  \
    FIELD(putApplicationName,          128, 28, text,    zero)  \
    FIELD(putDate,                     156,  8, text,    zero)  \
    FIELD(putTime,                     164,  8, text,    zero)
// clang-format on

ZEB_LAYOUT_TABLE(ZBDLH)

#endif
