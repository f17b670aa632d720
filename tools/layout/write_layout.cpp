#include "tools/json_words.hpp"
#include "tools/layout/records.hpp"

#include <nlohmann/json.hpp>

#include <cstring>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>

// Writes what other languages need to know of the records, as JSON:
//
//     write_layout layout.json vectors.json

namespace {

using Json = nlohmann::ordered_json;
using records::Bytes;
using records::Record;

const char * nameOf(zeb::FieldPad pad) {
    switch (pad) {
    case zeb::FieldPad::none:
        return "none";
    case zeb::FieldPad::blank:
        return "blank";
    case zeb::FieldPad::zero:
        return "zero";
    }
    return "";
}

std::int32_t integerAt(const Bytes & image, std::size_t offset) {
    std::int32_t value = 0;
    std::memcpy(&value, image.data() + offset, sizeof value);
    return value;
}

// A field as JSON: a number or numbers, a text up to its first zero byte, or bytes in hexadecimal.
Json valueOf(const Bytes & image, const zeb::FieldLayout & field) {
    const Bytes bytes = image.substr(field.offset, field.width);
    switch (field.kind) {
    case zeb::FieldKind::text:
        return bytes.substr(0, bytes.find('\0'));
    case zeb::FieldKind::integer:
        return integerAt(image, field.offset);
    case zeb::FieldKind::integers: {
        Json list = Json::array();
        for (std::size_t at = 0; at < field.width; at += 4) {
            list.push_back(integerAt(image, field.offset + at));
        }
        return list;
    }
    case zeb::FieldKind::bytes:
    case zeb::FieldKind::pointer:
    case zeb::FieldKind::gap:
        return hexadecimal(bytes);
    }
    return nullptr;
}

Json layoutOf(const Record & record) {
    Json fields = Json::array();
    for (const zeb::FieldLayout & field : record.layout) {
        fields.push_back({{"name", field.name},
                          {"offset", field.offset},
                          {"width", field.width},
                          {"kind", kindName(field.kind)},
                          {"pad", nameOf(field.pad)},
                          {"default", valueOf(record.images[0].bytes, field)}});
    }
    Json json{{"name", record.layout.name},
              {"class", record.className},
              {"header", record.header},
              {"length", record.layout.length()}};
    if (record.format != nullptr) {
        json["format"] = record.format;
    }
    for (std::size_t i = 0; i < record.versionLengths.size(); ++i) {
        json["versionLengths"][std::to_string(i + 1)] = record.versionLengths[i];
    }
    for (const records::VariableText & text : record.texts) {
        json["texts"].push_back({{"name", text.name},
                                 {"lengthField", text.lengthField},
                                 {"offsetField", text.offsetField}});
    }
    json["fields"] = std::move(fields);
    return json;
}

Json vectorsOf(const Record & record) {
    Json vectors = Json::array();
    for (const records::Image & image : record.images) {
        Json fields = Json::object();
        for (const zeb::FieldLayout & field : record.layout) {
            if (field.offset < image.bytes.size()) {
                fields[field.name] = valueOf(image.bytes, field);
            }
        }
        Json json{{"record", record.layout.name}, {"name", image.name}};
        for (const records::VariableText & text : record.texts) {
            const auto offset = fields[text.offsetField].get<std::size_t>();
            const auto length = fields[text.lengthField].get<std::size_t>();
            json["texts"][text.name] = image.bytes.substr(offset, length);
        }
        for (const records::Block & block : image.blocks) {
            json["blocks"][block.field] = hexadecimal(block.bytes);
        }
        json["fields"] = std::move(fields);
        json["hex"] = hexadecimal(image.bytes);
        vectors.push_back(std::move(json));
    }
    return vectors;
}

Json descriptionOf(const ZebMsg & message) {
    return {{"format", message.format().text()},
            {"encoding", message.encoding()},
            {"characterSet", message.characterSet()}};
}

Json messageOf(const char * name, const ZebMsg & message) {
    const Bytes descriptor(reinterpret_cast<const char *>(&message.descriptor()), sizeof(ZBMD));
    return {{"name", name},
            {"descriptor", hexadecimal(descriptor)},
            {"data", hexadecimal(Bytes(message.bufferPointer(), message.messageLength()))}};
}

// All five headers in front of data, and where each of them stands.
Json chainOf(const std::vector<Record> & all) {
    ZebMsg message;
    message.setFormat("FRUIT");
    message.setCharacterSet(819);
    message.write(10, "3 x lemons");
    ZebRfh reference;
    reference.setReferenceType("FILE");
    reference.setSourceName("/data/in");
    reference.setDestinationName("/data/out");
    ZebWih work;
    work.setServiceName("ORDERS");
    ZebHih second;
    second.setLogicalTerminalOverride("LTERM01");
    ZebTih first;
    first.setVersion(1);
    first.setTransactionIdentifier("PAYM");
    ZebDlh dead;
    dead.setDestinationQueueName("GROCER.ORDERS");
    for (ZebHdr * header : {static_cast<ZebHdr *>(&reference), static_cast<ZebHdr *>(&work),
                            static_cast<ZebHdr *>(&second), static_cast<ZebHdr *>(&first),
                            static_cast<ZebHdr *>(&dead)}) {
        records::require(message.writeItem(*header), "a header of the chain can't be written");
    }
    Json json = messageOf("chain", message);
    json["items"] = Json::array();
    message.setDataOffset(0);
    for (bool found = true; found;) {
        found = false;
        for (const Record & record : all) {
            if (record.format != nullptr && message.formatIs(record.format)) {
                const std::size_t at = message.dataOffset();
                records::require(message.readItem(*record.makeItem()),
                                 "a header of the chain can't be read");
                json["items"].push_back({{"record", record.layout.name},
                                         {"at", at},
                                         {"length", message.dataOffset() - at}});
                found = true;
                break;
            }
        }
    }
    json["rest"] = descriptionOf(message);
    json["rest"]["at"] = message.dataOffset();
    json["rest"]["length"] = message.dataLength();
    return json;
}

Json valuesIn() {
    Json json = Json::array();
    ZebMsg text;
    ZebStr value("3 x lemons");
    records::require(text.writeItem(value), "a text can't be written");
    json.push_back(messageOf("text", text));
    ZebMsg bytes;
    ZebBin binary("\0\1\2\377", 4);
    records::require(bytes.writeItem(binary), "bytes can't be written");
    json.push_back(messageOf("bytes", bytes));
    return json;
}

// A message that its reader refuses, and how.
struct Damage {
    const char * name;
    std::function<void(Bytes & data, ZebMsg & message)> apply;
};

void setInteger(Bytes & data, const zeb::RecordLayout & layout, const char * name,
                std::int32_t value) {
    for (const zeb::FieldLayout & field : layout) {
        if (std::strcmp(field.name, name) == 0) {
            std::memcpy(data.data() + field.offset, &value, sizeof value);
            return;
        }
    }
    records::require(false, "a field to damage isn't there");
}

std::vector<Damage> damagesOf(const Record & record) {
    const zeb::RecordLayout & layout = record.layout;
    std::vector<Damage> damages{
        {"structure id", [](Bytes & data, ZebMsg &) { data[0] = '?'; }},
        {"encoding", [](Bytes &, ZebMsg & message) { message.setEncoding(273); }},
        {"format", [](Bytes &, ZebMsg & message) { message.setFormat("FRUIT"); }},
        {"three bytes", [](Bytes & data, ZebMsg &) { data.resize(3); }},
        {"one byte short", [](Bytes & data, ZebMsg &) { data.pop_back(); }},
    };
    if (!record.versionLengths.empty()) {
        const auto next = static_cast<std::int32_t>(record.versionLengths.size() + 1);
        for (const auto & [name, version] :
             {std::pair("version above", next), std::pair("version zero", 0)}) {
            damages.push_back({name, [&layout, value = version](Bytes & data, ZebMsg &) {
                                   setInteger(data, layout, "version", value);
                               }});
        }
    }
    if (!record.texts.empty()) {
        damages.push_back({"fixed part short", [&layout](Bytes & data, ZebMsg &) {
                               data.resize(layout.length() - 1);
                           }});
        damages.push_back({"structure length", [&layout](Bytes & data, ZebMsg &) {
                               const auto length = static_cast<std::int32_t>(data.size());
                               setInteger(data, layout, "structureLength", length - 1);
                           }});
        damages.push_back({"negative offset", [&layout](Bytes & data, ZebMsg &) {
                               setInteger(data, layout, "sourceNameOffset", -1);
                           }});
        damages.push_back({"offset that wraps", [&layout](Bytes & data, ZebMsg &) {
                               setInteger(data, layout, "sourceNameOffset", 0x7fffffff);
                           }});
    }
    return damages;
}

Json refusedOf(const Record & record) {
    Json json = Json::array();
    for (const Damage & damage : damagesOf(record)) {
        Bytes data = record.images[1].bytes;
        ZebMsg message;
        message.setFormat(record.format);
        damage.apply(data, message);
        records::require(message.write(data.size(), data.data()) && message.setDataOffset(0),
                         "a damaged record can't be put into a message");
        Json entry{{"record", record.layout.name}, {"damage", damage.name}};
        entry.update(descriptionOf(message));
        const std::unique_ptr<ZebItm> item = record.makeItem();
        records::require(!message.readItem(*item), "a damaged record is read");
        entry["completionCode"] = message.completionCode();
        entry["reasonCode"] = message.reasonCode();
        entry["cursor"] = message.dataOffset();
        entry["data"] = hexadecimal(data);
        json.push_back(std::move(entry));
    }
    return json;
}

void writeFile(const char * path, const Json & json) {
    std::ofstream file(path, std::ios::binary);
    file << json.dump(1) << '\n';
    file.close();
    records::require(!file.fail(), "a file can't be written");
}

int run(int count, char ** arguments) {
    if (count != 3) {
        std::cerr << "usage: write_layout LAYOUT.json VECTORS.json\n";
        return 1;
    }
    Json layout{{"integers", "32-bit signed, low byte first"},
                {"pointers", "8 bytes"},
                {"encoding", 546},
                {"records", Json::array()}};
    Json vectors{
        {"records", Json::array()}, {"messages", Json::array()}, {"refused", Json::array()}};
    const std::vector<Record> all = records::all();
    for (const Record & record : all) {
        layout["records"].push_back(layoutOf(record));
        for (Json & vector : vectorsOf(record)) {
            vectors["records"].push_back(std::move(vector));
        }
        if (record.makeItem != nullptr) {
            for (Json & refused : refusedOf(record)) {
                vectors["refused"].push_back(std::move(refused));
            }
        }
    }
    vectors["messages"] = valuesIn();
    vectors["messages"].push_back(chainOf(all));
    writeFile(arguments[1], layout);
    writeFile(arguments[2], vectors);
    return 0;
}

} // namespace

int main(int count, char ** arguments) {
    try {
        return run(count, arguments);
    } catch (const std::exception & problem) {
        std::cerr << "write_layout: " << problem.what() << '\n';
        return 1;
    }
}
