#ifndef OPTIONS_ZBCD_LAYOUT_HPP
#define OPTIONS_ZBCD_LAYOUT_HPP

#include "frame/layout.hpp"

// clang-format off
#define ZBCD_LAYOUT(FIELD)                                        \
    FIELD(channelName,                0,  20, text,     zero)     \
    FIELD(word20,                    20,   4, integer,  none)     \
    FIELD(word24,                    24,   4, integer,  none)     \
    FIELD(transportType,             28,   4, integer,  none)     \
    FIELD(text32,                    32,  64, text,     zero)     \
    FIELD(text96,                    96,  48, text,     zero)     \
    FIELD(text144,                  144,  48, text,     zero)     \
    FIELD(connectionNameHead,       192,  20, text,     zero)     \
    FIELD(text212,                  212,  20, text,     zero)     \
    FIELD(modeName,                 232,   8, text,     zero)     \
    FIELD(transactionProgramName,   240,  64, text,     zero)     \
    FIELD(word304,                  304,   4, integer,  none)     \
    FIELD(word308,                  308,   4, integer,  none)     \
    FIELD(word312,                  312,   4, integer,  none)     \
    FIELD(word316,                  316,   4, integer,  none)     \
    FIELD(word320,                  320,   4, integer,  none)     \
    FIELD(word324,                  324,   4, integer,  none)     \
    FIELD(securityExitName,         328, 128, text,     zero)     \
    FIELD(text456,                  456, 128, text,     zero)     \
    FIELD(text584,                  584, 128, text,     zero)     \
    FIELD(text712,                  712, 128, text,     zero)     \
    FIELD(word840,                  840,   4, integer,  none)     \
    FIELD(maximumMessageLength,     844,   4, integer,  none)     \
    FIELD(word848,                  848,   4, integer,  none)     \
    FIELD(word852,                  852,   4, integer,  none)     \
    FIELD(securityUserData,         856,  32, text,     zero)     \
    FIELD(text888,                  888,  32, text,     zero)     \
    FIELD(text920,                  920,  32, text,     zero)     \
    FIELD(text952,                  952,  32, text,     zero)     \
    FIELD(userId,                   984,  12, text,     zero)     \
    FIELD(password,                 996,  12, text,     zero)     \
    FIELD(text1008,                1008,  12, text,     zero)     \
    FIELD(word1020,                1020,   4, integer,  none)     \
    FIELD(connectionName,          1024, 264, text,     zero)     \
    FIELD(text1288,                1288,  12, text,     zero)     \
    FIELD(text1300,                1300,  12, text,     zero)     \
    FIELD(text1312,                1312, 128, text,     zero)     \
    FIELD(text1440,                1440,  32, text,     zero)     \
    FIELD(word1472,                1472,   4, integer,  none)     \
    FIELD(word1476,                1476,   4, integer,  none)     \
    FIELD(heartBeatInterval,       1480,   4, integer,  none)     \
    FIELD(word1484,                1484,   4, integer,  none)     \
    FIELD(word1488,                1488,   4, integer,  none)     \
    FIELD(structureLength,         1492,   4, integer,  none)     \
    FIELD(exitNameLength,          1496,   4, integer,  none)     \
    FIELD(exitUserDataLength,      1500,   4, integer,  none)     \
    FIELD(word1504,                1504,   4, integer,  none)     \
    FIELD(sendExitCount,           1508,   4, integer,  none)     \
    FIELD(receiveExitCount,        1512,   4, integer,  none)     \
    FIELD(gap1516,                 1516,   4, gap,      none)     \
    FIELD(pointer1520,             1520,   8, pointer,  none)     \
    FIELD(pointer1528,             1528,   8, pointer,  none)     \
    FIELD(sendExitNameArray,       1536,   8, pointer,  none)     \
    FIELD(sendUserDataArray,       1544,   8, pointer,  none)     \
    FIELD(receiveExitNameArray,    1552,   8, pointer,  none)     \
    FIELD(receiveUserDataArray,    1560,   8, pointer,  none)     \
    FIELD(pointer1568,             1568,   8, pointer,  none)     \
    FIELD(word1576,                1576,   4, integer,  none)     \
    FIELD(word1580,                1580,   4, integer,  none)     \
    FIELD(word1584,                1584,   4, integer,  none)     \
    FIELD(word1588,                1588,   4, integer,  none)     \
    FIELD(pointer1592,             1592,   8, pointer,  none)     \
    FIELD(pointer1600,             1600,   8, pointer,  none)     \
    FIELD(bytes1608,               1608,  40, bytes,    none)     \
    FIELD(bytes1648,               1648,  40, bytes,    none)     \
    FIELD(sslCipherSpecification,  1688,  32, text,     zero)     \
    FIELD(sslPeerNamePointer,      1720,   8, pointer,  none)     \
    FIELD(sslPeerNameLength,       1728,   4, integer,  none)     \
    FIELD(sslClientAuthentication, 1732,   4, integer,  none)     \
    FIELD(keepAliveInterval,       1736,   4, integer,  none)     \
    FIELD(localAddress,            1740,  48, text,     zero)     \
    FIELD(batchHeartBeat,          1788,   4, integer,  none)     \
    FIELD(headerCompressionList,   1792,   8, integers, none)     \
    FIELD(messageCompressionList,  1800,  64, integers, none)     \
    FIELD(word1864,                1864,   4, integer,  none)     \
    FIELD(word1868,                1868,   4, integer,  none)     \
    FIELD(word1872,                1872,   4, integer,  none)     \
    FIELD(word1876,                1876,   4, integer,  none)     \
    FIELD(word1880,                1880,   4, integer,  none)     \
    FIELD(gap1884,                 1884,   4, gap,      none)
// clang-format on

ZEB_LAYOUT_TABLE(ZBCD)

#endif
