#ifndef TOOLS_JSON_WORDS_HPP
#define TOOLS_JSON_WORDS_HPP

#include "frame/layout.hpp"

#include <string>
#include <string_view>

/// How bytes and kinds of fields are written in all JSON of this project.

inline std::string hexadecimal(std::string_view bytes) {
    constexpr const char * digits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

inline const char * kindName(zeb::FieldKind kind) {
    switch (kind) {
    case zeb::FieldKind::text:
        return "text";
    case zeb::FieldKind::integer:
        return "integer";
    case zeb::FieldKind::integers:
        return "integers";
    case zeb::FieldKind::bytes:
        return "bytes";
    case zeb::FieldKind::pointer:
        return "pointer";
    case zeb::FieldKind::gap:
        return "gap";
    }
    return "";
}

#endif
