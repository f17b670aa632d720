#ifndef ZEBCODES_HPP
#define ZEBCODES_HPP

/// @file
/// The completion and reason codes of the library, and a name and a short text for each.
///
/// A completion code says how bad the last trouble on an object was, the reason code what it was.
/// ZebErr tells how they are set and how long they stay.

#include <cstdint>

/// No trouble.
inline constexpr std::int32_t ZBCC_OK = 0;
/// The operation went on and did something less than was asked.
inline constexpr std::int32_t ZBCC_WARNING = 1;
/// The operation ended without success.
inline constexpr std::int32_t ZBCC_FAILED = 2;

/// No error.
inline constexpr std::int32_t ZBRC_NONE = 0;
/// A range handed in is not memory that may be used so.
inline constexpr std::int32_t ZBRC_BUFFER_ERROR = 2004;
/// An exit name in a list is empty, or a list is longer than its count can say.
inline constexpr std::int32_t ZBRC_DATA_LENGTH_ERROR = 2010;
/// Storage could not be had.
inline constexpr std::int32_t ZBRC_STORAGE_NOT_AVAILABLE = 2071;
/// The text to copy is not readable memory.
inline constexpr std::int32_t ZBRC_SOURCE_BUFFER_ERROR = 2145;
/// The field to fill is not writable memory.
inline constexpr std::int32_t ZBRC_TARGET_BUFFER_ERROR = 2146;
/// The process-wide string lock could not be taken or given back.
inline constexpr std::int32_t ZBRC_UNEXPECTED_ERROR = 2195;
/// More user data items than channel exits.
inline constexpr std::int32_t ZBRC_USER_DATA_COUNT_ERROR = 2316;
/// The message's encoding is not 546.
inline constexpr std::int32_t ZBRC_ENCODING_ERROR = 6106;
/// The data at the cursor do not begin with the expected structure id.
inline constexpr std::int32_t ZBRC_STRUCTURE_ID_ERROR = 6107;
/// A null pointer where memory is needed.
inline constexpr std::int32_t ZBRC_NULL_POINTER = 6108;
/// A null pointer as destination of a byte string.
inline constexpr std::int32_t ZBRC_NO_BUFFER = 6110;
/// A byte string has neither the width of its field nor no bytes at all.
inline constexpr std::int32_t ZBRC_BINARY_DATA_LENGTH_ERROR = 6111;
/// A user buffer cannot be resized.
inline constexpr std::int32_t ZBRC_BUFFER_NOT_AUTOMATIC = 6112;
/// A user buffer has no room for what is to be written.
inline constexpr std::int32_t ZBRC_INSUFFICIENT_BUFFER = 6113;
/// Fewer data at the cursor than asked for.
inline constexpr std::int32_t ZBRC_INSUFFICIENT_DATA = 6114;
/// Data or a text were cut to the room that they had.
inline constexpr std::int32_t ZBRC_DATA_TRUNCATED = 6115;
/// The message's format does not announce this item.
inline constexpr std::int32_t ZBRC_INCONSISTENT_FORMAT = 6119;
/// A record's own length does not hold what its fields say.
inline constexpr std::int32_t ZBRC_STRUCTURE_LENGTH_ERROR = 6123;
/// A record version that the class does not know.
inline constexpr std::int32_t ZBRC_WRONG_VERSION = 6128;

/// One row of the code tables.
struct ZebCodeText {
    std::int32_t code; ///< The number.
    const char * name; ///< The constant's name.
    const char * text; ///< A few words for people.
};

#define ZEB_CODE_ROW(code, text)                                                                   \
    { code, #code, text }

/// Every completion code, in ascending order.
inline constexpr ZebCodeText zebCompletionCodes[] = {
    ZEB_CODE_ROW(ZBCC_OK, "no trouble"),
    ZEB_CODE_ROW(ZBCC_WARNING, "done, with a warning"),
    ZEB_CODE_ROW(ZBCC_FAILED, "failed"),
};

/// Every reason code that the library can store, in ascending order.
inline constexpr ZebCodeText zebReasonCodes[] = {
    ZEB_CODE_ROW(ZBRC_NONE, "no error"),
    ZEB_CODE_ROW(ZBRC_BUFFER_ERROR, "memory that may not be used so"),
    ZEB_CODE_ROW(ZBRC_DATA_LENGTH_ERROR, "empty exit name or too many exits"),
    ZEB_CODE_ROW(ZBRC_STORAGE_NOT_AVAILABLE, "storage not available"),
    ZEB_CODE_ROW(ZBRC_SOURCE_BUFFER_ERROR, "source text not readable"),
    ZEB_CODE_ROW(ZBRC_TARGET_BUFFER_ERROR, "target field not writable"),
    ZEB_CODE_ROW(ZBRC_UNEXPECTED_ERROR, "string lock not available"),
    ZEB_CODE_ROW(ZBRC_USER_DATA_COUNT_ERROR, "more user data than exits"),
    ZEB_CODE_ROW(ZBRC_ENCODING_ERROR, "wrong message encoding"),
    ZEB_CODE_ROW(ZBRC_STRUCTURE_ID_ERROR, "wrong structure id"),
    ZEB_CODE_ROW(ZBRC_NULL_POINTER, "null pointer"),
    ZEB_CODE_ROW(ZBRC_NO_BUFFER, "no destination buffer"),
    ZEB_CODE_ROW(ZBRC_BINARY_DATA_LENGTH_ERROR, "byte string of the wrong length"),
    ZEB_CODE_ROW(ZBRC_BUFFER_NOT_AUTOMATIC, "user buffer cannot be resized"),
    ZEB_CODE_ROW(ZBRC_INSUFFICIENT_BUFFER, "no room in the user buffer"),
    ZEB_CODE_ROW(ZBRC_INSUFFICIENT_DATA, "insufficient data"),
    ZEB_CODE_ROW(ZBRC_DATA_TRUNCATED, "data truncated"),
    ZEB_CODE_ROW(ZBRC_INCONSISTENT_FORMAT, "wrong message format"),
    ZEB_CODE_ROW(ZBRC_STRUCTURE_LENGTH_ERROR, "structure length error"),
    ZEB_CODE_ROW(ZBRC_WRONG_VERSION, "record version not supported"),
};

#undef ZEB_CODE_ROW

/// The row of a completion code, or null for a number that is none.
inline constexpr const ZebCodeText * zebCompletionCode(std::int32_t code) noexcept {
    for (const ZebCodeText & row : zebCompletionCodes) {
        if (row.code == code) {
            return &row;
        }
    }
    return nullptr;
}

/// The row of a reason code, or null for a number that the library never stores.
inline constexpr const ZebCodeText * zebReasonCode(std::int32_t code) noexcept {
    for (const ZebCodeText & row : zebReasonCodes) {
        if (row.code == code) {
            return &row;
        }
    }
    return nullptr;
}

#endif
