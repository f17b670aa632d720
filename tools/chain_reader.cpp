#include "chain_reader.hpp"

#include "headers/ZBDLH_layout.hpp"
#include "headers/ZBHIH_layout.hpp"
#include "headers/ZBRMH_layout.hpp"
#include "headers/ZBTIH_layout.hpp"
#include "headers/ZBTM_layout.hpp"
#include "headers/ZBWIH_layout.hpp"
#include "message/ZBMD_layout.hpp"

#include <algorithm>
#include <cstring>
#include <initializer_list>

namespace dump {

namespace {

constexpr const char * descriptorId = "MD  ";
constexpr std::int32_t readableEncoding = 546;

template <class Item> std::unique_ptr<ZebItm> makeItem() {
    return std::make_unique<Item>();
}

const ItemKind kinds[] = {
    {"dlh", "dead letter header", "DLH ", "ZBDEAD  ", zeb::layoutOfZBDLH, makeItem<ZebDlh>},
    {"tih", "TPMX bridge header", "TIH ", "ZBTPMX  ", zeb::layoutOfZBTIH, makeItem<ZebTih>},
    {"hih", "HSX bridge header", "HIH ", "ZBHSX   ", zeb::layoutOfZBHIH, makeItem<ZebHih>},
    {"wih", "work header", "WIH ", "ZBHWIH  ", zeb::layoutOfZBWIH, makeItem<ZebWih>},
    {"rfh", "reference header", "RMH ", "ZBHREF  ", zeb::layoutOfZBRMH, makeItem<ZebRfh>},
    {nullptr, "trigger", "TM  ", "ZBTRIG  ", zeb::layoutOfZBTM, makeItem<ZebTrg>},
};

constexpr const char * textFormat = "ZBSTR   ";
constexpr const char * bytesFormat = "        ";

// The texts behind a reference header's record; the record's words are named after them.
constexpr const char * variableTexts[] = {"sourceEnvironment", "sourceName",
                                          "destinationEnvironment", "destinationName"};

std::string formatOf(const ZebMsg & message) {
    const auto & field = message.descriptor().format;
    return {field, sizeof field};
}

std::string_view imageOf(const std::int32_t & number) {
    return {reinterpret_cast<const char *>(&number), sizeof number};
}

// How many bytes from the front agree with one of the accepted values.
std::size_t agreement(std::string_view bytes, std::initializer_list<std::string_view> accepted) {
    std::size_t longest = 0;
    for (const std::string_view value : accepted) {
        const auto end = std::mismatch(bytes.begin(), bytes.end(), value.begin(), value.end());
        longest = std::max(longest, static_cast<std::size_t>(end.first - bytes.begin()));
    }
    return longest;
}

// What a record of this kind is known to take of the data, before it is read as a whole.
std::size_t recordLength(const ItemKind & kind, std::string_view data) {
    const std::size_t whole = kind.layout.length();
    const zeb::FieldLayout * version = findField(kind.layout, "version");
    const zeb::FieldLayout * secondPart = findField(kind.layout, "cursorPosition");
    if (secondPart != nullptr && data.size() >= version->offset + version->width &&
        integerAt(data, *version) != 2) {
        return secondPart->offset;
    }
    return whole;
}

struct TextPlace {
    const zeb::FieldLayout * lengthField;
    const zeb::FieldLayout * offsetField;
    std::int64_t begin;
    std::int64_t end;
};

TextPlace placeOf(const ItemKind & kind, std::string_view record, const std::string & name) {
    TextPlace place{};
    place.lengthField = findField(kind.layout, name + "Length");
    place.offsetField = findField(kind.layout, name + "Offset");
    place.begin = integerAt(record, *place.offsetField);
    place.end = place.begin + std::max(0, integerAt(record, *place.lengthField));
    return place;
}

bool hasVariableTexts(const ItemKind & kind) {
    return &kind.layout == &zeb::layoutOfZBRMH;
}

RecordView viewOf(const ItemKind & kind, std::string_view data, std::size_t at) {
    RecordView view{&kind.layout, kind.title, at, data.substr(0, recordLength(kind, data)), {}};
    if (!hasVariableTexts(kind) || view.bytes.size() < kind.layout.length()) {
        return view;
    }
    for (const char * const name : variableTexts) {
        const TextPlace place = placeOf(kind, data, name);
        if (place.begin < 0 || place.end == place.begin ||
            place.end > static_cast<std::int64_t>(data.size())) {
            continue;
        }
        const auto begin = static_cast<std::size_t>(place.begin);
        const auto length = static_cast<std::size_t>(place.end - place.begin);
        view.texts.push_back({name, at + begin, data.substr(begin, length)});
    }
    return view;
}

// Which byte of a reference header is at fault. Where its own length says that all of it is there,
// a text that isn't is the fault of the words that place it.
void locateInTexts(const ItemKind & kind, std::string_view data, Refusal & refusal) {
    const std::size_t at = refusal.at;
    const auto available = static_cast<std::int64_t>(data.size());
    const zeb::FieldLayout & ownLength = *findField(kind.layout, "structureLength");
    const std::int64_t structureLength = integerAt(data, ownLength);

    if (refusal.reasonCode == ZBRC_STRUCTURE_LENGTH_ERROR) {
        refusal.at = at + ownLength.offset;
        refusal.detail = "structureLength " + std::to_string(structureLength) +
                         " ends before what the record holds";
        return;
    }
    if (refusal.reasonCode == ZBRC_INSUFFICIENT_DATA) {
        for (const char * const name : variableTexts) {
            const TextPlace place = placeOf(kind, data, name);
            if (place.end == place.begin || (place.begin >= 0 && place.end <= available)) {
                continue;
            }
            refusal.detail = std::string(name) + " at " + std::to_string(place.begin) + " of " +
                             std::to_string(place.end - place.begin) +
                             " bytes lies outside the data";
            if (place.begin >= 0 && structureLength > available) {
                refusal.at = at + data.size();
            } else {
                const bool begins = place.begin >= 0 && place.begin <= available;
                refusal.at = at + (begins ? place.lengthField : place.offsetField)->offset;
            }
            return;
        }
    }
    refusal.at = at + data.size();
    refusal.detail = "structureLength " + std::to_string(structureLength) +
                     " reaches behind the data, " + std::to_string(available) + " bytes";
}

} // namespace

const ItemKind * kindOfFormat(std::string_view format) {
    const auto * kind = std::find_if(std::begin(kinds), std::end(kinds),
                                     [&](const ItemKind & row) { return format == row.format; });
    return kind != std::end(kinds) ? kind : nullptr;
}

const ItemKind * kindOfOption(std::string_view option) {
    const auto * kind = std::find_if(std::begin(kinds), std::end(kinds), [&](const ItemKind & row) {
        return row.option != nullptr && option == row.option;
    });
    return kind != std::end(kinds) ? kind : nullptr;
}

std::vector<std::string> headerOptions() {
    std::vector<std::string> names;
    for (const ItemKind & kind : kinds) {
        if (kind.option != nullptr) {
            names.emplace_back(kind.option);
        }
    }
    return names;
}

const zeb::FieldLayout * findField(const zeb::RecordLayout & layout, std::string_view name) {
    const auto * field =
        std::find_if(layout.begin(), layout.end(),
                     [&](const zeb::FieldLayout & row) { return name == row.name; });
    return field != layout.end() ? field : nullptr;
}

std::int32_t integerAt(std::string_view record, const zeb::FieldLayout & field) {
    std::int32_t number = 0;
    std::memcpy(&number, record.data() + field.offset, sizeof number);
    return number;
}

const zeb::RecordLayout * descriptorLayout() {
    return &zeb::layoutOfZBMD;
}

std::optional<Refusal> openMessage(std::string_view input,
                                   const std::optional<std::string> & format, ZebMsg & message) {
    if (format) {
        message.setFormat(format->c_str());
        if (!message.useFullBuffer(input.data(), input.size())) {
            return Refusal{0, message.reasonCode(), message.completionCode(), "the data"};
        }
        return std::nullopt;
    }

    ZebMsg whole;
    if (!whole.useFullBuffer(input.data(), input.size())) {
        return Refusal{0, whole.reasonCode(), whole.completionCode(), "the input"};
    }
    const bool isDescriptor = ZebItm::structureIdIs(descriptorId, whole);
    if (!isDescriptor && input.size() >= std::strlen(descriptorId)) {
        return Refusal{agreement(input.substr(0, 4), {descriptorId}), ZBRC_STRUCTURE_ID_ERROR,
                       ZBCC_FAILED, "a descriptor begins with \"MD  \""};
    }
    char * descriptor = reinterpret_cast<char *>(&message.descriptor());
    if (!whole.read(sizeof(ZBMD), descriptor)) {
        return Refusal{input.size(), whole.reasonCode(), whole.completionCode(),
                       "a descriptor has " + std::to_string(sizeof(ZBMD)) + " bytes"};
    }
    if (!message.useFullBuffer(whole.dataPointer(), whole.dataLength())) {
        return Refusal{sizeof(ZBMD), message.reasonCode(), message.completionCode(), "the data"};
    }
    return std::nullopt;
}

Refusal refusalOf(const ItemKind & kind, const ZebMsg & message, std::size_t dataStart,
                  std::size_t recordAt, const Describer & describer, const ZebErr & item) {
    Refusal refusal{recordAt, item.reasonCode(), item.completionCode(), {}};
    const std::size_t offset = recordAt - dataStart;
    const std::size_t length = message.messageLength() - offset;
    const std::string_view data = length != 0
                                      ? std::string_view(message.bufferPointer() + offset, length)
                                      : std::string_view();
    const std::int32_t first = 1;
    const std::int32_t second = 2;

    switch (refusal.reasonCode) {
    case ZBRC_STRUCTURE_ID_ERROR:
        refusal.at += agreement(data.substr(0, 4), {kind.structureId});
        refusal.detail =
            std::string("a ") + kind.title + " begins with " + quoted(kind.structureId);
        break;
    case ZBRC_ENCODING_ERROR:
        refusal.detail = "a " + std::string(kind.title) + " is read in encoding 546, not " +
                         std::to_string(message.encoding());
        if (describer.layout != nullptr) {
            const std::int32_t encoding = message.encoding();
            refusal.at = describer.at + findField(*describer.layout, "encoding")->offset +
                         agreement(imageOf(encoding), {imageOf(readableEncoding)});
        }
        break;
    case ZBRC_WRONG_VERSION: {
        const zeb::FieldLayout & version = *findField(kind.layout, "version");
        refusal.at += version.offset + agreement(data.substr(version.offset, version.width),
                                                 {imageOf(first), imageOf(second)});
        refusal.detail = "version " + std::to_string(integerAt(data, version));
        break;
    }
    default:
        if (hasVariableTexts(kind) && data.size() >= kind.layout.length()) {
            locateInTexts(kind, data, refusal);
        } else {
            refusal.at += data.size();
            refusal.detail = "a " + std::string(kind.title) + " has " +
                             std::to_string(recordLength(kind, data)) + " bytes";
        }
        break;
    }
    return refusal;
}

MessageView readMessage(std::string_view input, const std::optional<std::string> & format) {
    MessageView view{input, !format, {}, {}, DataKind::application, {}, 0};
    const std::size_t dataStart = format ? 0 : std::min(sizeof(ZBMD), input.size());
    if (!format) {
        view.records.push_back(
            {&zeb::layoutOfZBMD, "descriptor", 0, input.substr(0, dataStart), {}});
    }
    ZebMsg message;
    view.refusal = openMessage(input, format, message);
    if (view.refusal) {
        view.dataKind = DataKind::refused;
        view.dataAt = dataStart;
        return view;
    }

    Describer describer{format ? nullptr : &zeb::layoutOfZBMD, 0};
    const ItemKind * kind = nullptr;
    while ((kind = kindOfFormat(formatOf(message))) != nullptr) {
        const std::size_t at = dataStart + message.dataOffset();
        view.records.push_back(viewOf(*kind, input.substr(at), at));
        const std::unique_ptr<ZebItm> item = kind->make();
        if (!message.readItem(*item)) {
            view.refusal = refusalOf(*kind, message, dataStart, at, describer, *item);
            view.dataKind = DataKind::refused;
            view.dataAt = at;
            break;
        }
        if (kind->option == nullptr) {
            view.dataKind = DataKind::trigger;
            break;
        }
        describer = {&kind->layout, at};
    }
    view.description = {formatOf(message), message.encoding(), message.characterSet()};
    if (kind != nullptr) {
        if (!view.refusal) {
            view.dataAt = dataStart + message.dataOffset();
        }
        return view;
    }

    view.dataAt = dataStart + message.dataOffset();
    std::unique_ptr<ZebItm> value;
    if (message.formatIs(textFormat)) {
        view.dataKind = DataKind::text;
        value = std::make_unique<ZebStr>();
    } else if (message.formatIs(bytesFormat)) {
        view.dataKind = DataKind::bytes;
        value = std::make_unique<ZebBin>();
    }
    if (value != nullptr && !message.readItem(*value)) {
        view.refusal = Refusal{view.dataAt, value->reasonCode(), value->completionCode(),
                               "the data as a value"};
    }
    return view;
}

const char * reasonName(std::int32_t reasonCode) {
    const ZebCodeText * row = zebReasonCode(reasonCode);
    return row != nullptr ? row->name : "unknown";
}

std::string reasonText(std::int32_t reasonCode) {
    const ZebCodeText * row = zebReasonCode(reasonCode);
    return std::to_string(reasonCode) + " " + reasonName(reasonCode) +
           (row != nullptr ? std::string(" (") + row->text + ")" : std::string());
}

std::string refusalText(const Refusal & refusal) {
    return "byte " + std::to_string(refusal.at) + " refused: " + reasonText(refusal.reasonCode) +
           ": " + refusal.detail;
}

std::string quoted(std::string_view bytes) {
    constexpr const char * digits = "0123456789abcdef";
    std::string text = "\"";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < ' ' || byte > '~') {
            text += "\\x";
            text += digits[byte >> 4];
            text += digits[byte & 15];
        } else {
            if (c == '"' || c == '\\') {
                text += '\\';
            }
            text += c;
        }
    }
    return text + '"';
}

} // namespace dump
