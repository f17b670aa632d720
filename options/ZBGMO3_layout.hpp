#ifndef OPTIONS_ZBGMO3_LAYOUT_HPP
#define OPTIONS_ZBGMO3_LAYOUT_HPP

#include "options/ZBGMO_layout.hpp"

// clang-format off
#define ZBGMO3_LAYOUT(FIELD)                          \
    ZBGMO_LAYOUT(FIELD)                               \
    FIELD(messageToken,      80, 16, bytes,   none)   \
    FIELD(gmoWord96,         96,  4, integer, none)
// clang-format on

ZEB_LAYOUT_TABLE(ZBGMO3)

#endif
