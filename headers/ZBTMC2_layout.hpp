#ifndef HEADERS_ZBTMC2_LAYOUT_HPP
#define HEADERS_ZBTMC2_LAYOUT_HPP

#include "frame/layout.hpp"

// clang-format off
#define ZBTMC2_LAYOUT(FIELD)                      \
    FIELD(structureId,       0,   4, text, blank) \
    FIELD(version,           4,   4, text, blank) \
    FIELD(queueName,         8,  48, text, blank) \
    FIELD(processName,      56,  48, text, blank) \
    FIELD(triggerData,     104,  64, text, blank) \
    FIELD(triggerWord168,  168,   4, text, blank) \
    FIELD(applicationId,   172, 256, text, blank) \
    FIELD(environmentData, 428, 128, text, blank) \
    FIELD(userData,        556, 128, text, blank) \
    FIELD(blankTail,       684,  48, text, blank)
// clang-format on

ZEB_LAYOUT_TABLE(ZBTMC2)

#endif
