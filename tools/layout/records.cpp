#include "tools/layout/records.hpp"

#include "headers/ZBDLH_layout.hpp"
#include "headers/ZBHIH_layout.hpp"
#include "headers/ZBRMH_layout.hpp"
#include "headers/ZBTIH_layout.hpp"
#include "headers/ZBTMC2_layout.hpp"
#include "headers/ZBTM_layout.hpp"
#include "headers/ZBWIH_layout.hpp"
#include "message/ZBMD_layout.hpp"
#include "options/ZBCD_layout.hpp"
#include "options/ZBGMO3_layout.hpp"
#include "options/ZBGMO_layout.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string_view>

namespace records {

void require(bool condition, const char * what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

namespace {

template <class Structure> Bytes bytesOf(const Structure & structure) {
    return {reinterpret_cast<const char *>(&structure), sizeof structure};
}

// What a full image holds: a text its field's own name, the n-th field 0x01020300 + n as an
// integer, further entries of a list 0x100 more each, bytes that count up from 16 n. The fields
// that `kept` names, and all pointers and gaps, stay as they are.
void fill(Bytes & image, const zeb::RecordLayout & layout,
          const std::set<std::string_view> & kept) {
    std::int32_t index = 0;
    for (const zeb::FieldLayout & field : layout) {
        char * const at = image.data() + field.offset;
        ++index;
        if (field.offset >= image.size() || kept.contains(field.name)) {
            continue;
        }
        switch (field.kind) {
        case zeb::FieldKind::text: {
            const std::size_t length = std::min(std::strlen(field.name), field.width);
            std::memset(at, field.pad == zeb::FieldPad::blank ? ' ' : '\0', field.width);
            std::memcpy(at, field.name, length);
            break;
        }
        case zeb::FieldKind::integer:
        case zeb::FieldKind::integers:
            for (std::size_t i = 0; i < field.width / 4; ++i) {
                const std::int32_t value =
                    0x01020300 + index + 0x100 * static_cast<std::int32_t>(i);
                std::memcpy(at + 4 * i, &value, sizeof value);
            }
            break;
        case zeb::FieldKind::bytes:
            for (std::size_t i = 0; i < field.width; ++i) {
                at[i] = static_cast<char>(16 * static_cast<std::size_t>(index) + i);
            }
            break;
        case zeb::FieldKind::pointer:
        case zeb::FieldKind::gap:
            break;
        }
    }
}

// The data that an item makes of a message whose description is given.
Bytes written(ZebItm & item, const char * format, std::int32_t encoding,
              std::int32_t characterSet) {
    ZebMsg message;
    message.setFormat(format);
    message.setEncoding(encoding);
    message.setCharacterSet(characterSet);
    require(message.writeItem(item), "an item can't be written");
    return {message.bufferPointer(), message.messageLength()};
}

template <class Item> Bytes defaultOf() {
    Item item;
    return written(item, "", 546, 0);
}

// The image as it comes out of a message and goes into another.
template <class Item> Bytes throughLibrary(const Bytes & image, const char * format) {
    ZebMsg message;
    message.setFormat(format);
    require(message.write(image.size(), image.data()) && message.setDataOffset(0),
            "an image can't be put into a message");
    Item item;
    require(message.readItem(item), "an image can't be read");
    return written(item, message.format().text(), message.encoding(), message.characterSet());
}

std::set<std::string_view> frame() {
    return {"structureId", "version", "structureLength"};
}

template <class Item> std::unique_ptr<ZebItm> make() {
    return std::make_unique<Item>();
}

// A record of fixed length that travels in messages.
template <class Item>
Record inMessages(const zeb::RecordLayout & layout, const char * className, const char * header,
                  const char * format) {
    const Bytes image = defaultOf<Item>();
    Bytes full = image;
    fill(full, layout, frame());
    return {layout,     className,
            header,     format,
            make<Item>, {{"default", image, {}}, {"full", throughLibrary<Item>(full, format), {}}},
            {},         {}};
}

Record bridgeHeader() {
    Record record = inMessages<ZebTih>(zeb::layoutOfZBTIH, "ZebTih", "ZebTih.hpp", "ZBTPMX  ");
    ZebTih first;
    require(first.setVersion(1), "version 1 is refused");
    Bytes image = written(first, "", 546, 0);
    record.versionLengths = {image.size(), record.images[0].bytes.size()};
    record.images.push_back({"default of version 1", image, {}});
    fill(image, record.layout, frame());
    record.images.push_back({"full, version 1", throughLibrary<ZebTih>(image, record.format), {}});
    return record;
}

Record referenceHeader() {
    Record record{
        zeb::layoutOfZBRMH,
        "ZebRfh",
        "ZebRfh.hpp",
        "ZBHREF  ",
        make<ZebRfh>,
        {{"default", defaultOf<ZebRfh>(), {}}},
        {},
        {{"sourceEnvironment", "sourceEnvironmentLength", "sourceEnvironmentOffset"},
         {"sourceName", "sourceNameLength", "sourceNameOffset"},
         {"destinationEnvironment", "destinationEnvironmentLength", "destinationEnvironmentOffset"},
         {"destinationName", "destinationNameLength", "destinationNameOffset"}}};
    std::set<std::string_view> kept = frame();
    for (const VariableText & text : record.texts) {
        kept.insert({text.lengthField, text.offsetField});
    }
    ZebRfh reference;
    for (const VariableText & text : record.texts) {
        if (std::string_view(text.name) == "destinationEnvironment") {
            continue; // an empty text takes no bytes
        }
        using Setter = void (ZebRfh::*)(const char *);
        const Setter setter =
            std::string_view(text.name) == "sourceEnvironment" ? &ZebRfh::setSourceEnvironment
            : std::string_view(text.name) == "sourceName"      ? &ZebRfh::setSourceName
                                                               : &ZebRfh::setDestinationName;
        (reference.*setter)(text.name);
    }
    Bytes full = written(reference, "", 546, 0);
    fill(full, record.layout, kept);
    record.images.push_back({"full", throughLibrary<ZebRfh>(full, record.format), {}});
    return record;
}

// The descriptor and the options, whose record an application reaches.
template <class Object, class Structure>
Record reachable(const zeb::RecordLayout & layout, const char * className, const char * header,
                 Structure & (Object::*reach)()) {
    Object object;
    const Bytes image = bytesOf((object.*reach)());
    Bytes full = image;
    fill(full, layout, frame());
    std::memcpy(&(object.*reach)(), full.data(), full.size());
    Object copy(object);
    return {layout,  className, header,
            nullptr, nullptr,   {{"default", image, {}}, {"full", bytesOf((copy.*reach)()), {}}},
            {},      {}};
}

Bytes characters(ZebTrg & trigger) {
    ZBTMC2 record;
    require(trigger.copyOut(&record), "a trigger has no characters");
    return bytesOf(record);
}

Record triggerInCharacters(const Record & trigger) {
    ZebTrg empty;
    ZebMsg message;
    message.setFormat(trigger.format);
    const Bytes & image = trigger.images[1].bytes;
    ZebTrg full;
    require(message.write(image.size(), image.data()) && message.setDataOffset(0) &&
                message.readItem(full),
            "a full trigger can't be read");
    full.setTriggerWord168(-42);
    return {zeb::layoutOfZBTMC2,
            "ZebTrg",
            "ZebTrg.hpp",
            nullptr,
            nullptr,
            {{"default", characters(empty), {}}, {"full", characters(full), {}}},
            {},
            {}};
}

struct Channel : ZebChl {
    using ZebChl::ZBCD;
};

Image channelImage(const char * name, const Channel & channel) {
    ZBCD record = *channel.ZBCD();
    const auto slots = [&](std::int32_t count, std::int32_t width) {
        return static_cast<std::size_t>(count) * static_cast<std::size_t>(width);
    };
    const std::array<std::pair<const char *, std::size_t>, 5> owned{
        {{"sendExitNameArray", slots(record.sendExitCount, record.exitNameLength)},
         {"sendUserDataArray", slots(record.sendExitCount, record.exitUserDataLength)},
         {"receiveExitNameArray", slots(record.receiveExitCount, record.exitNameLength)},
         {"receiveUserDataArray", slots(record.receiveExitCount, record.exitUserDataLength)},
         {"sslPeerNamePointer", static_cast<std::size_t>(record.sslPeerNameLength)}}};
    const std::array<char **, 5> pointers{&record.sendExitNameArray, &record.sendUserDataArray,
                                          &record.receiveExitNameArray,
                                          &record.receiveUserDataArray, &record.sslPeerNamePointer};
    Image image{name, {}, {}};
    for (std::size_t i = 0; i < owned.size(); ++i) {
        if (*pointers[i] != nullptr) {
            image.blocks.push_back({owned[i].first, Bytes(*pointers[i], owned[i].second)});
            *pointers[i] = nullptr;
        }
    }
    image.bytes = bytesOf(record);
    return image;
}

Record channelDefinition() {
    const std::set<std::string_view> kept{"structureLength",    "exitNameLength",
                                          "exitUserDataLength", "sendExitCount",
                                          "receiveExitCount",   "sslPeerNameLength"};
    Channel channel;
    Record record{zeb::layoutOfZBCD,
                  "ZebChl",
                  "ZebChl.hpp",
                  nullptr,
                  nullptr,
                  {channelImage("default", channel)},
                  {},
                  {}};
    Bytes full = record.images[0].bytes;
    fill(full, record.layout, kept);
    std::memcpy(channel.ZBCD(), full.data(), full.size());
    const char * const send[] = {"audit(Sent)", "pack(Deflate)"};
    const char * const sendData[] = {"level=2"};
    require(channel.setSendExitNames(2, send) && channel.setSendUserData(1, sendData) &&
                channel.setReceiveExitName("unpack(Deflate)") &&
                channel.setReceiveUserData("checked") && channel.setSslPeerName("CN=harbour"),
            "the lists of a channel can't be set");
    record.images.push_back(channelImage("full", Channel(channel)));
    return record;
}

} // namespace

std::vector<Record> all() {
    std::vector<Record> records;
    records.push_back(
        reachable<ZebMsg, ZBMD>(zeb::layoutOfZBMD, "ZebMsg", "ZebMsg.hpp", &ZebMsg::descriptor));
    records.push_back(inMessages<ZebDlh>(zeb::layoutOfZBDLH, "ZebDlh", "ZebDlh.hpp", "ZBDEAD  "));
    records.push_back(bridgeHeader());
    records.push_back(inMessages<ZebHih>(zeb::layoutOfZBHIH, "ZebHih", "ZebHih.hpp", "ZBHSX   "));
    records.push_back(inMessages<ZebWih>(zeb::layoutOfZBWIH, "ZebWih", "ZebWih.hpp", "ZBHWIH  "));
    records.push_back(referenceHeader());
    records.push_back(inMessages<ZebTrg>(zeb::layoutOfZBTM, "ZebTrg", "ZebTrg.hpp", "ZBTRIG  "));
    records.push_back(triggerInCharacters(records.back()));
    records.push_back(
        reachable<ZebGmo, ZBGMO>(zeb::layoutOfZBGMO, "ZebGmo", "ZebGmo.hpp", &ZebGmo::record));
    records.push_back(reachable<ZebGmo3, ZBGMO3>(zeb::layoutOfZBGMO3, "ZebGmo3", "ZebGmo3.hpp",
                                                 &ZebGmo3::record));
    records.push_back(channelDefinition());
    return records;
}

} // namespace records
