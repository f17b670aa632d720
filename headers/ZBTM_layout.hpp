#ifndef HEADERS_ZBTM_LAYOUT_HPP
#define HEADERS_ZBTM_LAYOUT_HPP

#include "frame/layout.hpp"

// clang-format off
#define ZBTM_LAYOUT(FIELD)                           \
    FIELD(structureId,       0,   4, text,    blank) \
    FIELD(version,           4,   4, integer, none)  \
    FIELD(queueName,         8,  48, text,    zero)  \
    FIELD(processName,      56,  48, text,    zero)  \
    FIELD(triggerData,     104,  64, text,    zero)  \
    FIELD(triggerWord168,  168,   4, integer, none)  \
    FIELD(applicationId,   172, 256, text,    zero)  \
    FIELD(environmentData, 428, 128, text,    zero)  \
    FIELD(userData,        556, 128, text,    zero)
// clang-format on

ZEB_LAYOUT_TABLE(ZBTM)

#endif
