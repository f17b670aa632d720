#include "dump.hpp"
#include "tools/json_words.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace dump {

namespace {

using Json = nlohmann::ordered_json;

// Each byte as the character of the same number: valid in JSON whatever the bytes are, and
// lossless.
std::string textOf(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xc0 | (byte >> 6));
            text += static_cast<char>(0x80 | (byte & 0x3f));
        }
    }
    return text;
}

const char * nameOf(DataKind kind) {
    switch (kind) {
    case DataKind::application:
        return "application";
    case DataKind::text:
        return "text";
    case DataKind::bytes:
        return "bytes";
    case DataKind::trigger:
        return "behind trigger";
    case DataKind::refused:
        return "not read";
    }
    return "";
}

Json fieldOf(const RecordView & record, const zeb::FieldLayout & field) {
    const std::string_view bytes = record.bytes.substr(field.offset, field.width);
    Json json{{"name", field.name},
              {"offset", field.offset},
              {"width", field.width},
              {"kind", kindName(field.kind)}};
    if (bytes.size() == field.width && field.kind == zeb::FieldKind::integer) {
        json["value"] = integerAt(record.bytes, field);
        return json;
    }
    if (bytes.size() == field.width && field.kind == zeb::FieldKind::text) {
        // As a reader has it: up to the first zero byte, and here without the blanks at the end.
        const std::string_view text = bytes.substr(0, bytes.find('\0'));
        json["value"] = textOf(text.substr(0, text.find_last_not_of(' ') + 1));
    }
    json["hex"] = hexadecimal(bytes);
    return json;
}

// So much of a range as is shown.
void addRange(Json & json, std::string_view bytes, bool asText, std::size_t most) {
    const std::string_view shown = bytes.substr(0, most);
    json["length"] = bytes.size();
    json["shown"] = shown.size();
    json["hex"] = hexadecimal(shown);
    if (asText) {
        json["text"] = textOf(shown.substr(0, shown.find('\0')));
    }
}

Json recordOf(const RecordView & record, std::size_t most) {
    Json fields = Json::array();
    for (const zeb::FieldLayout & field : *record.layout) {
        if (field.offset < record.bytes.size()) {
            fields.push_back(fieldOf(record, field));
        }
    }
    Json texts = Json::array();
    for (const VariableText & text : record.texts) {
        Json json{{"name", text.name}, {"offset", text.at - record.at}};
        addRange(json, text.text, true, most);
        texts.push_back(std::move(json));
    }
    Json json{{"record", record.layout->name},
              {"title", record.title},
              {"at", record.at},
              {"length", record.bytes.size()},
              {"fields", std::move(fields)}};
    if (!record.texts.empty()) {
        json["texts"] = std::move(texts);
    }
    return json;
}

} // namespace

std::string jsonDump(const MessageView & view, std::size_t most) {
    Json records = Json::array();
    for (const RecordView & record : view.records) {
        records.push_back(recordOf(record, most));
    }
    Json data{{"kind", nameOf(view.dataKind)}, {"at", view.dataAt}};
    if (view.dataKind != DataKind::refused) {
        data["format"] = textOf(view.description.format);
        data["encoding"] = view.description.encoding;
        data["characterSet"] = view.description.characterSet;
    }
    addRange(data, view.input.substr(view.dataAt), view.dataKind == DataKind::text, most);

    Json json{{"records", std::move(records)}, {"data", std::move(data)}, {"refused", nullptr}};
    if (view.refusal) {
        json["refused"] = {{"at", view.refusal->at},
                           {"reasonCode", view.refusal->reasonCode},
                           {"name", reasonName(view.refusal->reasonCode)},
                           {"completionCode", view.refusal->completionCode},
                           {"detail", textOf(view.refusal->detail)}};
    }
    return json.dump(2) + "\n";
}

} // namespace dump
