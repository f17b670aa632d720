#ifndef OPTIONS_ZBGMO_LAYOUT_HPP
#define OPTIONS_ZBGMO_LAYOUT_HPP

#include "frame/layout.hpp"

// clang-format off
#define ZBGMO_LAYOUT(FIELD)                           \
    FIELD(structureId,        0,  4, text,    blank)  \
    FIELD(version,            4,  4, integer, none)   \
    FIELD(options,            8,  4, integer, none)   \
    FIELD(gmoWord12,         12,  4, integer, none)   \
    FIELD(gmoWord16,         16,  4, integer, none)   \
    FIELD(gmoWord20,         20,  4, integer, none)   \
    FIELD(resolvedQueueName, 24, 48, text,    zero)   \
    FIELD(gmoWord72,         72,  4, integer, none)   \
    FIELD(gmoByte76,         76,  1, text,    blank)  \
    FIELD(gmoByte77,         77,  1, text,    blank)  \
    FIELD(gmoByte78,         78,  1, text,    blank)  \
    FIELD(gmoByte79,         79,  1, text,    blank)
// clang-format on

ZEB_LAYOUT_TABLE(ZBGMO)

#endif
