#ifndef FUZZ_RECORD_MODEL_HPP
#define FUZZ_RECORD_MODEL_HPP

#include "fuzz/input.hpp"
#include "support/checks.hpp"
#include "zebbase.hpp"

#include <vector>

/// What reading an item from any data must come to: a plain model of each class says it beforehand.
namespace model {

using Texts = std::vector<std::string>;
using support::wordAt;

struct Kind {
    std::string name = {}; // as in traces
    std::string id = {};   // empty: a value, which is all data from the cursor on
    std::string format = {};
    std::size_t length = 0;
    std::size_t descriptionAt = 0;                                  // 0: no header
    std::unique_ptr<ZebItm> (*make)(const ZebItm * from) = nullptr; // from null: a new one
};

template <class Item> std::unique_ptr<ZebItm> make(const ZebItm * from) {
    return from == nullptr ? std::make_unique<Item>()
                           : std::make_unique<Item>(static_cast<const Item &>(*from));
}

inline const Kind kinds[] = {
    {"ZebDeadLetterHeader", "DLH ", "ZBDEAD  ", 172, 108, make<ZebDlh>},
    {"ZebTPMXBridgeHeader", "TIH ", "ZBTPMX  ", 180, 12, make<ZebTih>},
    {"ZebHSXBridgeHeader", "HIH ", "ZBHSX   ", 84, 12, make<ZebHih>},
    {"ZebWorkHeader", "WIH ", "ZBHWIH  ", 120, 12, make<ZebWih>},
    {"ZebReferenceHeader", "RMH ", "ZBHREF  ", 108, 12, make<ZebRfh>},
    {"ZebTrigger", "TM  ", "ZBTRIG  ", 684, 0, make<ZebTrg>},
    {"ZebString", "", "ZBSTR   ", 0, 0, make<ZebStr>},
    {"ZebBinary", "", "        ", 0, 0, make<ZebBin>},
};

struct Outcome {
    std::int32_t reason = 0;
    Texts traces;
    std::size_t taken = 0;  // how far the cursor moves
    std::string record;     // what the reader then writes
    bool onMessage = false; // whether the message bears the reason as well
};

/// A reference as it is written: these fixed bytes, and texts that end at their first zero byte.
inline std::string reference(const std::string & fixed, const Texts & texts) {
    std::string behind, places;
    for (const std::string & text : texts) {
        const std::string kept = text.c_str();
        places += support::word(static_cast<std::int32_t>(kept.size()));
        places += support::word(static_cast<std::int32_t>(108 + behind.size()));
        behind += kept;
    }
    const std::string record = support::with(fixed.substr(0, 108), 64, places);
    const auto length = static_cast<std::int32_t>(108 + behind.size());
    return support::with(record, 8, support::word(length)) + behind;
}

inline Outcome referenceOutcome(const std::string & data, std::size_t room,
                                const std::string & former) {
    const std::string says = "ZebReferenceHeader::pasteIn (error): ";
    if (data.size() < 108) {
        return {6114, {says + "insufficient data"}, 0, former};
    }
    Texts texts;
    std::int64_t end = 108;
    bool allInside = true;
    for (std::size_t at = 64; at != 96; at += 8) {
        const std::int64_t length = wordAt(&data[at]), offset = wordAt(&data[at + 4]);
        const bool isInside =
            offset >= 0 && offset + length <= static_cast<std::int64_t>(data.size());
        if (length > 0 && isInside) {
            texts.push_back(
                data.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length)));
            end = std::max(end, offset + length);
        } else { // the reader keeps the text that it had
            texts.push_back(former.substr(static_cast<std::size_t>(wordAt(&former[at + 4])),
                                          static_cast<std::size_t>(wordAt(&former[at]))));
            allInside = allInside && length <= 0;
        }
    }
    const std::string record = reference(data, texts);
    const std::int32_t structureLength = wordAt(&data[8]);
    if (!allInside) {
        return {6114, {says + "insufficient data"}, 0, record};
    }
    if (end > structureLength) {
        return {6123, {says + "structure length error"}, 0, record};
    }
    const auto taken = static_cast<std::size_t>(structureLength);
    if (taken > room) {
        const std::string refusal = "ZebCache::resizeBuffer (error): user buffer cannot be resized";
        return {6112, {refusal}, 0, record, true};
    }
    return {0, {}, taken, record};
}

/// All data, and those from the cursor on.
inline std::string dataOf(const ZebMsg & message) {
    return std::string(message.bufferPointer(), message.messageLength());
}
inline std::string leftOf(const ZebMsg & message) {
    return dataOf(message).substr(message.dataOffset());
}

/// What the item writes.
inline std::string imageOf(ZebItm & item) {
    ZebMsg message;
    if (const auto * header = dynamic_cast<const ZebHdr *>(&item)) {
        // Writing takes the description of the message, so that is made equal first.
        message.setEncoding(header->encoding());
        message.setCharacterSet(header->characterSet());
        message.setFormat(header->format().text());
    }
    CHECK(item.copyOut(message));
    return dataOf(message);
}

/// The check of the memory that is read to may be refused.
inline Outcome outcomeOf(const Kind & kind, const ZebMsg & message, const ZebItm & reader,
                         bool isRefused) {
    const std::string data = leftOf(message), former = imageOf(*kind.make(&reader));
    const std::string says = kind.name + "::pasteIn (error): wrong ";
    const bool isValue = kind.id.empty();
    if (!isValue && data.substr(0, 4) != kind.id) {
        const std::string differs =
            "ZebItem::structureIdIs (information): structure id is not equal";
        return {6107, {differs, says + "structure id"}, 0, former};
    }
    if (!isValue && message.descriptor().encoding != 546) {
        return {6106, {says + "message encoding"}, 0, former};
    }
    if (std::memcmp(message.descriptor().format, kind.format.data(), 8) != 0) {
        return {6119, {says + "message format"}, 0, former};
    }
    Outcome refused{2004, {"ZebError::checkWritePointer (error): buffer error"}, 0, former, true};
    if (isValue) {
        const auto * const text = dynamic_cast<const ZebStr *>(&reader);
        if (data.empty() || !isRefused) {
            const std::string taken = text != nullptr ? data.c_str() : data;
            return {0, {}, data.size(), data.empty() && text != nullptr ? former : taken};
        }
        const bool hasRoom =
            text != nullptr ? data.size() <= text->storage() : data.size() == former.size();
        if (!hasRoom) { // what made room has lost its value
            refused.record = text != nullptr ? "" : support::zeros(data.size());
        }
        return refused;
    }
    std::size_t length = kind.length;
    const bool isTih = kind.id == "TIH ";
    if (isTih && isRefused) { // already in the first of its two steps
        return refused;
    }
    if (isTih && data.size() >= 8) {
        const std::int32_t version = wordAt(&data[4]);
        if (version != 1 && version != 2) {
            return {6128, {}, 0, former};
        }
        length = version == 1 ? 164 : 180;
    }
    Outcome outcome{0, {}, length, data.substr(0, length)};
    if (kind.id == "RMH ") {
        const std::size_t end = message.automaticBuffer() ? SIZE_MAX : message.bufferLength();
        outcome = referenceOutcome(data, end - message.dataOffset(), former);
    } else if (data.size() < length) { // what is read in two steps stays behind the first
        return {6114, {"ZebCache::read (error): insufficient data"}, isTih ? 4U : 0U, former, true};
    } else if (isRefused) {
        return refused;
    } else if (isTih) {
        const std::string written = support::word(static_cast<std::int32_t>(length));
        outcome.record = support::with(outcome.record, 8, written);
    }
    if (kind.descriptionAt != 0) { // a format ends at its first zero byte
        const std::string format = outcome.record.substr(kind.descriptionAt + 8, 8).c_str();
        outcome.record.replace(kind.descriptionAt + 8, 8, support::fitted(format, 8, ' '));
    }
    return outcome;
}

/// Holds all that can be seen of reader and message after `pasteIn` against the model.
template <class PasteIn>
Outcome read(const Kind & kind, ZebMsg & message, ZebItm & reader, const PasteIn & pasteIn,
             bool isRefused = false) {
    const std::size_t cursor = message.dataOffset();
    const Outcome outcome = outcomeOf(kind, message, reader, isRefused);
    const bool isRead = outcome.reason == 0;
    // A text makes room for the data, and then for a terminator, and never gives room back.
    const auto * const text = dynamic_cast<const ZebStr *>(&reader);
    std::size_t room = text != nullptr ? text->storage() : 0;
    if (text != nullptr && outcome.reason != ZBRC_INCONSISTENT_FORMAT) {
        const std::string left = leftOf(message);
        const bool isOpen = isRead && !left.empty() && left.back() != '\0';
        room = std::max(room, left.size() + (isOpen ? 1 : 0));
    }
    // A record that is longer than the data takes up what the application's buffer holds behind
    // them, and otherwise zero bytes.
    const std::size_t held =
        message.automaticBuffer() ? message.messageLength() : message.bufferLength();
    std::string data(message.bufferPointer(), held);
    data.resize(std::max(message.messageLength(), cursor + outcome.taken));
    ZBMD descriptor = message.descriptor();
    if (isRead && kind.descriptionAt != 0) {
        const char * const described = &outcome.record[kind.descriptionAt];
        descriptor.encoding = wordAt(described);
        descriptor.characterSet = wordAt(described + 4);
        std::memcpy(descriptor.format, described + 8, 8);
    }
    const Codes onReader{outcome.reason, isRead ? ZBCC_OK : ZBCC_FAILED};
    message.clearErrorCodes();
    CHECK(pasteIn() == isRead);
    CHECK(onReader.areThoseOf(reader));
    CHECK((outcome.onMessage ? onReader : Codes()).areThoseOf(message));
    CHECK(message.dataOffset() == cursor + outcome.taken);
    CHECK(dataOf(message) == data);
    CHECK(std::memcmp(&message.descriptor(), &descriptor, sizeof descriptor) == 0);
    CHECK(imageOf(*kind.make(&reader)) == outcome.record && imageOf(reader) == outcome.record);
    CHECK(text == nullptr || text->storage() == room);
    return outcome;
}

}

#endif
