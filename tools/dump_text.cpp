#include "dump.hpp"

#include <algorithm>
#include <cstdio>

namespace dump {

namespace {

constexpr std::size_t bytesPerLine = 16;

struct Style {
    const char * heading;
    const char * name;
    const char * dim;
    const char * refused;
    const char * end;
};
constexpr Style plain{"", "", "", "", ""};
constexpr Style coloured{"\033[1m", "\033[36m", "\033[2m", "\033[1;31m", "\033[0m"};

template <class... Arguments> std::string print(const char * format, Arguments... arguments) {
    char text[256];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

std::string counted(std::size_t count, const char * what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string hexadecimal(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += print("%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    }
    return text;
}

class TextDump {
public:
    TextDump(const MessageView & view, bool colour, std::size_t most)
        : view_(view), style_(colour ? coloured : plain), most_(most) {}

    std::string run();

private:
    void heading(const char * name, const std::string & rest);
    void record(const RecordView & record);
    void field(const RecordView & record, const zeb::FieldLayout & field);
    void row(std::size_t offset, const std::string & name, const std::string & value, bool refused);
    void data();
    void hex(std::size_t at, std::size_t length);
    std::string shortened(std::string_view text) const;
    bool refusedIn(std::size_t at, std::size_t length) const {
        return view_.refusal && view_.refusal->at >= at && view_.refusal->at < at + length;
    }

    const MessageView & view_;
    const Style & style_;
    std::size_t most_;
    std::string out_;
};

void TextDump::heading(const char * name, const std::string & rest) {
    if (!out_.empty()) {
        out_ += '\n';
    }
    out_ += style_.heading + std::string(name) + style_.end + "  " + rest + "\n";
}

void TextDump::row(std::size_t offset, const std::string & name, const std::string & value,
                   bool refused) {
    out_ += refused ? style_.refused : "";
    out_ += refused ? "> " : "  ";
    out_ += print("%6zu  ", offset);
    out_ += refused ? "" : style_.name;
    out_ += print("%-28s", name.c_str());
    out_ += refused ? "" : style_.end;
    out_ += " " + value;
    if (refused) {
        out_ += print("  <- byte %zu refused", view_.refusal->at);
        out_ += style_.end;
    }
    out_ += '\n';
}

std::string TextDump::shortened(std::string_view text) const {
    const std::size_t shown = std::min(text.size(), most_);
    std::string value = quoted(text.substr(0, shown));
    if (shown < text.size()) {
        value += " and " + counted(text.size() - shown, "byte") + " more";
    }
    return value;
}

void TextDump::field(const RecordView & record, const zeb::FieldLayout & field) {
    if (field.offset >= record.bytes.size()) {
        return;
    }
    const std::string_view bytes = record.bytes.substr(field.offset, field.width);
    std::string value;
    if (bytes.size() < field.width) {
        value = hexadecimal(bytes) + print(", only %zu of %zu bytes", bytes.size(), field.width);
    } else if (field.kind == zeb::FieldKind::integer) {
        value = std::to_string(integerAt(record.bytes, field));
    } else if (field.kind == zeb::FieldKind::text) {
        // One kind of pad, taken off the end: its bytes are counted, not shown.
        const char pad = bytes.back() == ' ' ? ' ' : '\0';
        const std::size_t end = bytes.find_last_not_of(pad) + 1;
        value = quoted(bytes.substr(0, end));
        if (end < bytes.size()) {
            value += style_.dim + std::string(" + ") +
                     counted(bytes.size() - end, pad == ' ' ? "blank" : "zero byte") + style_.end;
        }
    } else {
        value = hexadecimal(bytes);
    }
    row(field.offset, field.name, value, refusedIn(record.at + field.offset, bytes.size()));
}

void TextDump::record(const RecordView & record) {
    heading(record.layout->name, std::string(record.title) + ", at " + std::to_string(record.at) +
                                     ", " + counted(record.bytes.size(), "byte"));
    for (const zeb::FieldLayout & row : *record.layout) {
        field(record, row);
    }
    for (const VariableText & text : record.texts) {
        row(text.at - record.at, text.name, shortened(text.text),
            refusedIn(text.at, text.text.size()));
    }
}

void TextDump::hex(std::size_t at, std::size_t length) {
    const std::size_t shown = std::min(length, most_);
    for (std::size_t start = at; start < at + shown; start += bytesPerLine) {
        const std::size_t end = std::min(start + bytesPerLine, at + shown);
        std::string characters;
        out_ += style_.dim + print("  %08zx ", start) + style_.end;
        for (std::size_t place = start; place < start + bytesPerLine; ++place) {
            if (place >= end) {
                out_ += "   ";
                continue;
            }
            const auto byte = static_cast<unsigned char>(view_.input[place]);
            const bool refused = refusedIn(place, 1);
            out_ += refused ? style_.refused : "";
            out_ += print(refused ? ">%02x" : " %02x", static_cast<unsigned>(byte));
            out_ += refused ? style_.end : "";
            characters += byte >= ' ' && byte <= '~' ? static_cast<char>(byte) : '.';
        }
        out_ += "  " + characters + '\n';
    }
    if (shown < length) {
        out_ += "  ... " + counted(length - shown, "byte") + " more, shown with --all\n";
    }
}

void TextDump::data() {
    const std::string_view bytes = view_.input.substr(view_.dataAt);
    std::string rest = "at " + std::to_string(view_.dataAt) + ", " + counted(bytes.size(), "byte");
    const Description & description = view_.description;
    const char * name = "data";
    switch (view_.dataKind) {
    case DataKind::refused:
        name = "not read";
        break;
    case DataKind::trigger:
        if (bytes.empty()) {
            return;
        }
        name = "behind the trigger";
        break;
    case DataKind::application:
    case DataKind::text:
    case DataKind::bytes:
        rest += ", format " + quoted(description.format) + ", encoding " +
                std::to_string(description.encoding) + ", character set " +
                std::to_string(description.characterSet);
        break;
    }
    heading(name, rest);
    if (view_.dataKind == DataKind::text) {
        // As a reader of the text has it: up to the first zero byte.
        const std::string_view text = bytes.substr(0, bytes.find('\0'));
        row(0, "text", shortened(text), false);
        if (text.size() < bytes.size()) {
            row(text.size(), "behind the text", counted(bytes.size() - text.size(), "byte"), false);
        }
    } else if (view_.dataKind == DataKind::bytes) {
        row(0, "bytes", counted(bytes.size(), "byte"), false);
    }
    hex(view_.dataAt, bytes.size());
}

std::string TextDump::run() {
    for (const RecordView & view : view_.records) {
        record(view);
    }
    data();
    if (view_.refusal) {
        out_ += '\n';
        out_ += style_.refused + refusalText(*view_.refusal) + style_.end + "\n";
    }
    return out_;
}

} // namespace

std::string textDump(const MessageView & view, bool colour, std::size_t most) {
    return TextDump(view, colour, most).run();
}

} // namespace dump
