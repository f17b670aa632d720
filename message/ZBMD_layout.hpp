#ifndef MESSAGE_ZBMD_LAYOUT_HPP
#define MESSAGE_ZBMD_LAYOUT_HPP

#include "frame/layout.hpp"

// clang-format off
#define ZBMD_LAYOUT(FIELD)                                  \
    FIELD(structureId,               0,  4, text,    blank) \
    FIELD(version,                   4,  4, integer, none)  \
    FIELD(descriptorWord8,           8,  4, integer, none)  \
    FIELD(descriptorWord12,         12,  4, integer, none)  \
    FIELD(descriptorWord16,         16,  4, integer, none)  \
    FIELD(feedback,                 20,  4, integer, none)  \
    FIELD(encoding,                 24,  4, integer, none)  \
    FIELD(characterSet,             28,  4, integer, none)  \
    FIELD(format,                   32,  8, text,    blank) \
    FIELD(descriptorWord40,         40,  4, integer, none)  \
    FIELD(descriptorWord44,         44,  4, integer, none)  \
    FIELD(messageId,                48, 24, bytes,   none)  \
    FIELD(correlationId,            72, 24, bytes,   none)  \
    FIELD(descriptorWord96,         96,  4, integer, none)  \
    FIELD(replyToQueueName,        100, 48, text,    zero)  \
    FIELD(replyToQueueManagerName, 148, 48, text,    zero)  \
    FIELD(userId,                  196, 12, text,    zero)  \
    FIELD(accountingToken,         208, 32, bytes,   none)  \
    FIELD(applicationIdData,       240, 32, text,    zero)  \
    FIELD(descriptorWord272,       272,  4, integer, none)  \
    FIELD(putApplicationName,      276, 28, text,    zero)  \
    FIELD(putDate,                 304,  8, text,    zero)  \
    FIELD(putTime,                 312,  8, text,    zero)  \
    FIELD(applicationOriginData,   320,  4, text,    zero)  \
    FIELD(groupId,                 324, 24, bytes,   none)  \
    FIELD(descriptorWord348,       348,  4, integer, none)  \
    FIELD(descriptorWord352,       352,  4, integer, none)  \
    FIELD(descriptorWord356,       356,  4, integer, none)  \
    FIELD(descriptorWord360,       360,  4, integer, none)
// clang-format on

ZEB_LAYOUT_TABLE(ZBMD)

#endif
