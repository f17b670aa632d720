#ifndef FRAME_LAYOUT_HPP
#define FRAME_LAYOUT_HPP

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// Layout tables. Each record has one table, a macro that names a row macro and applies it to every
/// field in order: ZBMD_LAYOUT(FIELD) is FIELD(structureId, 0, 4, text, blank), and so on.
///
/// The columns are the field's name, its offset and width in bytes, its kind and its pad, which is
/// what a writer fills a short text with. From the one table are expanded the assertions on the
/// record's structure (ZEB_ASSERT_LAYOUT), a constant table for tests, tools and documents
/// (ZEB_LAYOUT_TABLE), and whatever else needs an offset.

namespace zeb {

// The records are images of memory: this is the machine that they are fixed for.
static_assert(std::endian::native == std::endian::little && sizeof(void *) == 8);

enum class FieldKind : std::uint8_t {
    text,     ///< Characters, fixed width, no terminator.
    integer,  ///< 32-bit signed, low byte first.
    integers, ///< An array of such integers.
    bytes,    ///< Bytes without a meaning.
    pointer,  ///< 8 bytes.
    gap,      ///< Fills up to the next boundary.
};

enum class FieldPad : std::uint8_t { none, blank, zero };

struct FieldLayout {
    const char * name;
    std::size_t offset;
    std::size_t width;
    FieldKind kind;
    FieldPad pad;
};

/// A record's table. The last field ends where the record ends.
struct RecordLayout {
    const char * name;
    const FieldLayout * fields;
    std::size_t count;

    constexpr std::size_t length() const {
        return fields[count - 1].offset + fields[count - 1].width;
    }
    constexpr const FieldLayout * begin() const { return fields; }
    constexpr const FieldLayout * end() const { return fields + count; }
};

/// Whether each field begins where the one before it ended.
constexpr bool isGapless(const RecordLayout & record) {
    std::size_t end = 0;
    for (const FieldLayout & field : record) {
        if (field.offset != end) {
            return false;
        }
        end += field.width;
    }
    return true;
}

} // namespace zeb

#define ZEB_LAYOUT_ROW(name, offset, width, kind, pad)                                             \
    {#name, offset, width, zeb::FieldKind::kind, zeb::FieldPad::pad},

/// Defines a record's table as a constant: ZEB_LAYOUT_TABLE(ZBMD) gives zeb::layoutOfZBMD.
#define ZEB_LAYOUT_TABLE(record)                                                                   \
    namespace zeb {                                                                                \
    inline constexpr FieldLayout fieldsOf##record[] = {record##_LAYOUT(ZEB_LAYOUT_ROW)};           \
    inline constexpr RecordLayout layoutOf##record = {                                             \
        #record, fieldsOf##record, sizeof fieldsOf##record / sizeof fieldsOf##record[0]};          \
    }

#define ZEB_ASSERT_FIELD(name, offset, width, kind, pad)                                           \
    static_assert(offsetof(Record, name) == (offset), #name " stands elsewhere");                  \
    static_assert(sizeof(Record::name) == (width), #name " has another width");

/// Holds a record's structure to its table: every field's offset and width, no hole, the size, and
/// that it may be copied whole. To be used once, in the source of the class that holds the record.
#define ZEB_ASSERT_LAYOUT(record)                                                                  \
    namespace zeb::assertions::of##record {                                                        \
        using Record = ::record;                                                                   \
        record##_LAYOUT(ZEB_ASSERT_FIELD) static_assert(isGapless(layoutOf##record),               \
                                                        #record " has a hole");                    \
        static_assert(sizeof(Record) == layoutOf##record.length(), #record " has another size");   \
        static_assert(std::is_trivial_v<Record> && std::is_standard_layout_v<Record>,              \
                      #record " can't be copied whole");                                           \
    }

#endif
