#ifndef SUPPORT_CHECKS_HPP
#define SUPPORT_CHECKS_HPP

#include "ZebBin.hpp"
#include "ZebStr.hpp"

#include <cstring>
#include <string>

/// Objects and records in plain bytes, so that a test can compare them whole.
namespace support {

/// Completion and reason: "2:6114".
inline std::string codes(const ZebErr & object) {
    return std::to_string(object.completionCode()) + ':' + std::to_string(object.reasonCode());
}

inline std::string textOf(const ZebStr & text) {
    return text.text() != nullptr ? text.text() : "";
}

inline std::string bytesOf(const ZebBin & bytes) {
    return std::string(static_cast<const char *>(bytes.dataPointer()), bytes.dataLength());
}

/// The text ("-" without a block), its block's size and its codes: "abc/4 0:0"; "INVALID" where
/// text, size and length don't go together.
inline std::string told(const ZebStr & text) {
    const bool valid = text.text() == nullptr
                           ? text.storage() == 0 && text.length() == 0
                           : std::memchr(text.text(), 0, text.storage()) != nullptr &&
                                 text.length() == std::strlen(text.text());
    const std::string shown = !valid ? "INVALID" : text.text() != nullptr ? text.text() : "-";
    return shown + '/' + std::to_string(text.storage()) + ' ' + codes(text);
}

/// The bytes and the codes; "INVALID" where block and length don't go together.
inline std::string told(const ZebBin & value) {
    const bool valid = (value.dataPointer() == nullptr) == (value.dataLength() == 0);
    return (valid ? bytesOf(value) : "INVALID") + ' ' + codes(value);
}

/// A word of a record, lowest byte first, and back.
inline std::string word(std::int32_t value) {
    std::string bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(static_cast<std::uint32_t>(value) >> shift & 0xFF);
    }
    return bytes;
}

inline std::int32_t wordAt(const char * bytes) {
    std::int32_t value = 0;
    if (bytes != nullptr) {
        std::memcpy(&value, bytes, sizeof value);
    }
    return value;
}

/// A record with other bytes at one place.
inline std::string with(std::string record, std::size_t offset, const std::string & bytes) {
    return record.replace(offset, bytes.size(), bytes);
}

/// A text as a field holds it: cut or padded.
inline std::string fitted(std::string text, std::size_t width, char pad) {
    text.resize(width, pad);
    return text;
}

inline std::string zeros(std::size_t count) {
    return std::string(count, '\0');
}

inline std::string blanks(std::size_t count) {
    return std::string(count, ' ');
}

}

#endif
