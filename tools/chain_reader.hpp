#ifndef TOOLS_CHAIN_READER_HPP
#define TOOLS_CHAIN_READER_HPP

#include "frame/layout.hpp"

#include <zebbase.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Takes a message apart with the library's own classes: whether something can be read, and the
/// code that says why not, is their word. The layout tables tell only which byte is which field.
///
/// Every place is counted from the first byte of the input. The views point into the input.
namespace dump {

/// A class of items that have a record in message data.
struct ItemKind {
    const char * option; ///< As --wrap takes it; null for an item that is no header.
    const char * title;
    const char * structureId;
    const char * format;
    const zeb::RecordLayout & layout;
    std::unique_ptr<ZebItm> (*make)();
};

/// The kind that a format of 8 characters announces, or null.
const ItemKind * kindOfFormat(std::string_view format);
/// The header that --wrap names, or null.
const ItemKind * kindOfOption(std::string_view option);
/// The names that kindOfOption knows.
std::vector<std::string> headerOptions();

/// The row of that name, or null.
const zeb::FieldLayout * findField(const zeb::RecordLayout & layout, std::string_view name);
/// An integer field of a record that holds it whole.
std::int32_t integerAt(std::string_view record, const zeb::FieldLayout & field);

/// A text that stands behind a record, where the record's offset and length say.
struct VariableText {
    std::string name;
    std::size_t at;
    std::string_view text;
};

struct RecordView {
    const zeb::RecordLayout * layout;
    const char * title;
    std::size_t at;
    std::string_view bytes; ///< Less than the layout's length where the rest isn't there.
    std::vector<VariableText> texts;
};

/// The first thing that a reader refuses.
struct Refusal {
    std::size_t at; ///< The byte; the end of the input where bytes are missing.
    std::int32_t reasonCode;
    std::int32_t completionCode;
    std::string detail;
};

/// The descriptor's words on what stands at a place.
struct Description {
    std::string format; ///< 8 characters.
    std::int32_t encoding;
    std::int32_t characterSet;
};

enum class DataKind : std::uint8_t {
    application, ///< Of a format that the library doesn't know.
    text,
    bytes,
    trigger, ///< What stands behind a trigger, which nothing should.
    refused, ///< From the refused record on.
};

struct MessageView {
    std::string_view input;
    bool hasDescriptor;
    std::vector<RecordView> records;
    std::optional<Refusal> refusal;
    DataKind dataKind = DataKind::application;
    Description description; ///< Of the data.
    std::size_t dataAt = 0;
};

/// The layout of the descriptor.
const zeb::RecordLayout * descriptorLayout();

/// Sets up a message over the input, which it uses in place. With a format the input is data alone.
/// A descriptor that can't be had is told; the message then is of no use.
std::optional<Refusal> openMessage(std::string_view input,
                                   const std::optional<std::string> & format, ZebMsg & message);

/// Where an item of this kind refused the message. `describedAt` is where the description stands
/// that led to it: a record of that kind, or null for one that isn't in the input.
struct Describer {
    const zeb::RecordLayout * layout = nullptr;
    std::size_t at = 0;
};
Refusal refusalOf(const ItemKind & kind, const ZebMsg & message, std::size_t dataStart,
                  std::size_t recordAt, const Describer & describer, const ZebErr & item);

MessageView readMessage(std::string_view input, const std::optional<std::string> & format);

/// "6114 ZBRC_INSUFFICIENT_DATA (insufficient data)".
std::string reasonText(std::int32_t reasonCode);
const char * reasonName(std::int32_t reasonCode);
/// One line, without its end: which byte is refused, and why.
std::string refusalText(const Refusal & refusal);
/// The bytes between quotes, with \xNN for all that a terminal shouldn't get.
std::string quoted(std::string_view bytes);

} // namespace dump

#endif
