#ifndef HEADERS_ZBTIH_LAYOUT_HPP
#define HEADERS_ZBTIH_LAYOUT_HPP

#include "frame/layout.hpp"

// clang-format off
#define ZBTIH_LAYOUT(FIELD)                                  \
    FIELD(structureId,                 0, 4, text,    blank) \
    FIELD(version,                     4, 4, integer, none)  \
    FIELD(structureLength,             8, 4, integer, none)  \
    FIELD(encoding,                   12, 4, integer, none)  \
    FIELD(characterSet,               16, 4, integer, none)  \
    FIELD(format,                     20, 8, text,    blank) \
    FIELD(headerFlags,                28, 4, integer, none)  \
    FIELD(bridgeReturnCode,           32, 4, integer, none)  \
    FIELD(bridgeCompletionCode,       36, 4, integer, none)  \
    FIELD(bridgeReasonCode,           40, 4, integer, none)  \
    FIELD(UOWControl,                 44, 4, integer, none)  \
    FIELD(getWaitInterval,            48, 4, integer, none)  \
    FIELD(linkType,                   52, 4, integer, none)  \
    FIELD(outputDataLength,           56, 4, integer, none)  \
    FIELD(facilityKeepTime,           60, 4, integer, none)  \
    FIELD(ADSDescriptor,              64, 4, integer, none)  \
    FIELD(conversationalTask,         68, 4, integer, none)  \
    FIELD(taskEndStatus,              72, 4, integer, none)  \
    FIELD(facilityToken,              76, 8, bytes,   none)  \
    FIELD(function,                   84, 4, text,    blank) \
    FIELD(bridgeAbendCode,            88, 4, text,    blank) \
    FIELD(authenticator,              92, 8, text,    blank) \
    FIELD(spareText1,                100, 8, text,    blank) \
    FIELD(replyToFormat,             108, 8, text,    blank) \
    FIELD(spareText2,                116, 4, text,    blank) \
    FIELD(spareText3,                120, 4, text,    blank) \
    FIELD(transactionIdentifier,     124, 4, text,    blank) \
    FIELD(facilityLike,              128, 4, text,    blank) \
    FIELD(attentionIdentifier,       132, 4, text,    blank) \
    FIELD(startCode,                 136, 4, text,    blank) \
    FIELD(bridgeCancelCode,          140, 4, text,    blank) \
    FIELD(nextTransactionIdentifier, 144, 4, text,    blank) \
    FIELD(spareText4,                148, 8, text,    blank) \
    FIELD(spareText5,                156, 8, text,    blank) \
    FIELD(cursorPosition,            164, 4, integer, none)  \
    FIELD(bridgeErrorOffset,         168, 4, integer, none)  \
    FIELD(spareWord1,                172, 4, integer, none)  \
    FIELD(spareWord2,                176, 4, integer, none)
// clang-format on

ZEB_LAYOUT_TABLE(ZBTIH)

#endif
