#include "rewrite.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <map>

namespace dump {

namespace {

struct Setting {
    const zeb::FieldLayout * field;
    std::string image; // the field's bytes
};

struct TextSetter {
    const char * name;
    void (ZebRfh::*set)(const char *);
};
constexpr TextSetter textSetters[] = {
    {"sourceEnvironment", &ZebRfh::setSourceEnvironment},
    {"sourceName", &ZebRfh::setSourceName},
    {"destinationEnvironment", &ZebRfh::setDestinationEnvironment},
    {"destinationName", &ZebRfh::setDestinationName},
};

[[noreturn]] void failMessage(const std::string & what, const ZebErr & object) {
    throw MessageError(what + ": " + reasonText(object.reasonCode()));
}

Description descriptionOf(const ZebMsg & message) {
    const ZBMD & descriptor = message.descriptor();
    return {std::string(descriptor.format, sizeof descriptor.format), descriptor.encoding,
            descriptor.characterSet};
}

// The message from its cursor on.
Rewritten written(const ZebMsg & message, bool withDescriptor) {
    Rewritten result{{}, descriptionOf(message)};
    if (withDescriptor) {
        result.bytes.assign(reinterpret_cast<const char *>(&message.descriptor()), sizeof(ZBMD));
    }
    if (message.dataLength() != 0) {
        result.bytes.append(message.dataPointer(), message.dataLength());
    }
    return result;
}

void open(std::string_view input, const std::optional<std::string> & format, ZebMsg & message) {
    if (const std::optional<Refusal> refusal = openMessage(input, format, message)) {
        throw MessageError(refusalText(*refusal));
    }
}

std::string integerImage(const std::string & name, const std::string & value) {
    std::int32_t number = 0;
    const char * const end = value.data() + value.size();
    const auto result = std::from_chars(value.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        throw UsageError("--set " + name + ": " + quoted(value) +
                         " is not a whole number of 32 bits");
    }
    return {reinterpret_cast<const char *>(&number), sizeof number};
}

std::string bytesImage(const std::string & name, const std::string & value, std::size_t width) {
    std::string image;
    for (std::size_t at = 0; at + 2 <= value.size(); at += 2) {
        unsigned byte = 0;
        const char * const end = value.data() + at + 2;
        if (std::from_chars(value.data() + at, end, byte, 16).ptr != end) {
            break;
        }
        image += static_cast<char>(byte);
    }
    if (value.size() != 2 * width || image.size() != width) {
        throw UsageError("--set " + name + ": takes " + std::to_string(2 * width) +
                         " hexadecimal digits");
    }
    return image;
}

std::string textImage(const zeb::FieldLayout & field, std::string value) {
    const bool fixed = field.pad == zeb::FieldPad::none;
    if (value.size() > field.width || (fixed && value.size() != field.width)) {
        throw UsageError("--set " + std::string(field.name) + ": takes " +
                         (fixed ? "" : "at most ") + std::to_string(field.width) +
                         " characters, not " + std::to_string(value.size()));
    }
    value.resize(field.width, field.pad == zeb::FieldPad::zero ? '\0' : ' ');
    return value;
}

std::string imageOf(const zeb::FieldLayout & field, const std::string & value) {
    switch (field.kind) {
    case zeb::FieldKind::integer:
        return integerImage(field.name, value);
    case zeb::FieldKind::text:
        return textImage(field, value);
    default:
        return bytesImage(field.name, value, field.width);
    }
}

// The names and values of the settings, each name once.
std::map<std::string, std::string> parsed(const std::vector<std::string> & settings) {
    std::map<std::string, std::string> values;
    for (const std::string & setting : settings) {
        const std::size_t equals = setting.find('=');
        if (equals == std::string::npos || equals == 0) {
            throw UsageError("--set takes field=value, not " + quoted(setting));
        }
        const std::string name = setting.substr(0, equals);
        if (!values.emplace(name, setting.substr(equals + 1)).second) {
            throw UsageError("--set " + name + " is given twice");
        }
    }
    return values;
}

std::string fieldNames(const ItemKind & kind, bool withTexts) {
    std::string names;
    for (const zeb::FieldLayout & field : kind.layout) {
        names += std::string(names.empty() ? "" : ", ") + field.name;
    }
    if (withTexts) {
        for (const TextSetter & text : textSetters) {
            names += std::string(", ") + text.name;
        }
    }
    return names;
}

} // namespace

Rewritten strip(std::string_view input, const std::optional<std::string> & format) {
    ZebMsg message;
    open(input, format, message);
    const Description description = descriptionOf(message);
    const ItemKind * kind = kindOfFormat(description.format);
    if (kind == nullptr || kind->option == nullptr) {
        throw MessageError("no header in front: the format is " + quoted(description.format) +
                           ": " + reasonText(ZBRC_INCONSISTENT_FORMAT));
    }
    const std::unique_ptr<ZebItm> header = kind->make();
    if (!message.readItem(*header)) {
        const std::size_t start = input.size() - message.messageLength();
        Describer describer;
        if (!format) {
            describer.layout = descriptorLayout();
        }
        throw MessageError(
            refusalText(refusalOf(*kind, message, start, start, describer, *header)));
    }
    return written(message, !format);
}

Rewritten wrap(std::string_view input, const std::optional<std::string> & format,
               const ItemKind & kind, const std::vector<std::string> & settings) {
    ZebMsg source;
    open(input, format, source);

    // The values go into an image of the header, and the header takes it in as from a message: that
    // way every field can be set, and the header has the last word on what it accepts.
    const std::unique_ptr<ZebItm> header = kind.make();
    auto * const reference = dynamic_cast<ZebRfh *>(header.get());
    ZebMsg image;
    if (!image.writeItem(*header)) {
        failMessage("the header", image);
    }
    std::vector<Setting> fields;
    std::vector<std::function<void()>> texts;
    for (const auto & [name, value] : parsed(settings)) {
        if (const zeb::FieldLayout * field = findField(kind.layout, name)) {
            fields.push_back({field, imageOf(*field, value)});
            std::memcpy(image.bufferPointer() + field->offset, fields.back().image.data(),
                        field->width);
            continue;
        }
        const auto * text = std::find_if(std::begin(textSetters), std::end(textSetters),
                                         [wanted = std::string_view(name)](const TextSetter & row) {
                                             return wanted == row.name;
                                         });
        if (reference == nullptr || text == std::end(textSetters)) {
            throw UsageError("--set " + quoted(name) + ": a " + kind.title + " has " +
                             fieldNames(kind, reference != nullptr));
        }
        texts.emplace_back(
            [reference, text, given = value] { (reference->*text->set)(given.c_str()); });
    }
    image.setDataOffset(0);
    if (!image.readItem(*header)) {
        throw UsageError("the header refuses these values: " + reasonText(image.reasonCode()));
    }
    for (const auto & set : texts) {
        set();
    }

    ZebMsg message;
    message.descriptor() = source.descriptor();
    if (!message.write(source.dataLength(), source.dataPointer()) || !message.writeItem(*header) ||
        !message.setDataOffset(0)) {
        failMessage("putting the header in front", message);
    }
    // What the library sets itself can't be had otherwise.
    for (const Setting & setting : fields) {
        const std::size_t end = setting.field->offset + setting.field->width;
        const bool isInRecord = end <= message.dataLength() - source.dataLength();
        if (!isInRecord || std::memcmp(message.dataPointer() + setting.field->offset,
                                       setting.image.data(), setting.field->width) != 0) {
            throw UsageError("--set " + std::string(setting.field->name) +
                             ": this field follows from the message and the rest of the header");
        }
    }
    return written(message, !format);
}

} // namespace dump
