#ifndef FUZZ_RECORD_MODEL_HPP
#define FUZZ_RECORD_MODEL_HPP

#include "fuzz/cache_model.hpp"
#include "fuzz/text_model.hpp"
#include "zebbase.hpp"

#include <array>

/// What reading and writing items must come to: plain models of the message and of each class.
namespace model {

using support::word;
using support::wordAt;

struct Kind {
    string name = {}; // as in traces
    string id = {};   // empty: a value, which is all data from the cursor on
    string format = {};
    size_t length = 0;
    size_t descriptionAt = 0;                                       // 0: no header
    std::unique_ptr<ZebItm> (*make)(const ZebItm * from) = nullptr; // from null: a new one

    bool isOf(const ZBMD & descriptor) const {
        return std::memcmp(descriptor.format, format.data(), 8) == 0;
    }
};

template <class C> std::unique_ptr<ZebItm> make(const ZebItm * from) {
    return from == nullptr ? std::make_unique<C>()
                           : std::make_unique<C>(static_cast<const C &>(*from));
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

/// Sets a description: encoding, character set, and a format, which ends at its first zero byte.
/// Where that can't be written, nobody is told but the trace.
inline void describe(char * target, const string & source) {
    source.copy(target, 8);
    if (TracedCodes().check(2, 8, "ZebString::copy (error): buffer error", 0)) {
        support::fitted(source.substr(8).c_str(), 8, ' ').copy(target + 8, 8);
    }
}
/// Sets it as another one, whose format may be refused.
inline void handOn(const char * source, char * target) {
    const bool isReadable = TracedCodes().mayRead(8);
    describe(target, string(source, isReadable ? 16 : 8));
}

/// A message. What stands in its descriptor needs no model, but for the description.
struct Message : CacheModel {
    ZBMD descriptor = ZebMsg().descriptor();
    std::int64_t carriedWord = 0;

    string all() { return string(bufferPointer(), message); }
    string left() { return all().substr(offset); }
    char * description() { return reinterpret_cast<char *>(&descriptor.encoding); }
    bool put(const string & bytes) { return write(bytes.size(), bytes.data()); }

    // Also takes the values of the tracker, each with codes of its own, and ends with the worse
    // codes: the source's or what came of this.
    bool assign(Message & source) {
        if (this == &source) {
            return true;
        }
        const Codes former = source;
        CacheModel::assign(source);
        for (const size_t width : {32, 24, 24, 24}) {
            TracedCodes().mayRead(width);
        }
        if (completion <= former.completion) {
            Codes::operator=(former);
        }
        descriptor = source.descriptor;
        carriedWord = source.carriedWord;
        return true;
    }
    // Room for an item at the cursor, and for the message behind it. As far as the buffer has to
    // grow for that, it does so at once, to a block to which nobody has written yet.
    bool makeRoom(size_t item) {
        const auto grown = [](size_t from, size_t held, size_t more) {
            return more <= from - held ? from : std::max(held + more, 2 * from);
        };
        if (!automatic || grown(grown(length, offset, item), item, message) == length) {
            return moreBytes(item);
        }
        if (!isThereStorage(item)) {
            return trace("ZebCache::resizeBuffer (error): storage not available",
                         ZBRC_STORAGE_NOT_AVAILABLE);
        }
        own.assign(own.size(), '\0');
        step.storage = {};
        return moreBytes(item);
    }
    bool agreesWith(const ZebMsg & real) const {
        return CacheModel::agreesWith(real) && carriedWord == real.carriedWord() &&
               std::memcmp(&descriptor, &real.descriptor(), sizeof descriptor) == 0;
    }
};

/// What the item writes.
inline string imageOf(ZebItm & item) {
    ZebMsg message;
    if (const auto * header = dynamic_cast<const ZebHdr *>(&item)) {
        // Writing takes the description of the message, so that is made equal first.
        message.setEncoding(header->encoding());
        message.setCharacterSet(header->characterSet());
        message.setFormat(header->format().text());
    }
    CHECK(item.copyOut(message));
    return string(message.bufferPointer(), message.messageLength());
}

/// The texts of a reference in the order in which it writes them.
inline std::vector<ZebStr> textsOf(const ZebRfh & header) {
    return {header.sourceEnvironment(), header.sourceName(), header.destinationEnvironment(),
            header.destinationName()};
}

/// An item, and in plain terms what it holds: the record or the block of a value, and the texts of
/// a reference.
struct Item : Block {
    const Kind & kind;
    std::unique_ptr<ZebItm> real = kind.make(nullptr);
    const bool isText = kind.name == "ZebString", isHeader = kind.descriptionAt != 0;
    std::vector<Text> texts;

    explicit Item(const Kind & k)
        : Block(k.name == "ZebBinary" ? "ZebBinary::setDataLength (error): storage not available"
                                      : "ZebString::setStorage (error): storage not available"),
          kind(k),
          texts(k.id == "RMH " ? 4 : 0) {
        block = imageOf(*real);
    }

    char * description() { return &block[kind.descriptionAt]; }
    bool refuse(const char * words, std::int32_t why) {
        return trace((kind.name + "::pasteIn (error): " + words).c_str(), why);
    }
    bool failAs(const Codes & message) { return Codes::operator=(message), false; }

    string image() const {
        string image = isText ? block.c_str() : block;
        if (isHeader) { // a format ends at its first zero byte
            const size_t at = kind.descriptionAt + 8;
            image.replace(at, 8, support::fitted(image.substr(at, 8).c_str(), 8, ' '));
        }
        for (size_t i = 0; i != texts.size(); ++i) {
            const string text = texts[i].view();
            const string place = word(std::int32_t(text.size())) + word(std::int32_t(image.size()));
            image = support::with(image, 64 + 8 * i, place) + text;
        }
        const string length = word(std::int32_t(image.size()));
        return texts.empty() ? image : support::with(image, 8, length);
    }

    // A header goes in front of the message, and anything else takes its place.
    bool copyOut(Message & message) {
        const string body = isHeader ? message.all() : "";
        if (!isHeader) {
            message.clearMessage();
        }
        if (!message.makeRoom(image().size())) {
            return failAs(message);
        }
        if (isHeader) {
            handOn(message.description(), description());
        }
        describe(message.description(), word(546) + word(0) + kind.format);
        message.clearMessage();
        bool isWritten = message.put(image().substr(0, block.size()));
        for (const Text & text : texts) {
            isWritten = isWritten && message.put(text.view());
        }
        return (isWritten && message.put(body)) || failAs(message);
    }

    bool pasteIn(Message & message) {
        const string data = message.left();
        if (!kind.id.empty() && data.substr(0, 4) != kind.id) {
            step.lines.push_back(
                "text ZebItem::structureIdIs (information): structure id is not equal");
            return refuse("wrong structure id", ZBRC_STRUCTURE_ID_ERROR);
        }
        if (!kind.id.empty() && message.descriptor.encoding != 546) {
            return refuse("wrong message encoding", ZBRC_ENCODING_ERROR);
        }
        if (!kind.isOf(message.descriptor)) {
            return refuse("wrong message format", ZBRC_INCONSISTENT_FORMAT);
        }
        const bool isRead = kind.id.empty()     ? readValue(message, data.size())
                            : kind.id == "TIH " ? readVersioned(message, data)
                            : kind.id == "RMH " ? readReference(message, data)
                                                : read(message, block, kind.length);
        if (isRead && isHeader) {
            handOn(description(), message.description());
        }
        return isRead;
    }
    // All of it or nothing.
    bool read(Message & message, string & target, size_t length) {
        string data(length, '\0');
        return message.read(length, data.data()) ? (target.replace(0, length, data), true)
                                                 : failAs(message);
    }
    // In two steps: where the second fails, the cursor stays behind the first.
    bool readVersioned(Message & message, const string & data) {
        const std::int32_t version = data.size() < 8 ? 1 : wordAt(&data[4]);
        string record(version == 1 ? 164 : 180, '\0');
        if (!message.read(4, record.data())) {
            return failAs(message);
        }
        if (version != 1 && version != 2) {
            message.setDataOffset(message.offset - 4);
            return report(ZBRC_WRONG_VERSION);
        }
        if (!message.read(record.size() - 4, &record[4])) {
            return failAs(message);
        }
        block = support::with(record, 8, word(std::int32_t(record.size())));
        return true;
    }
    bool readReference(Message & message, const string & data) {
        if (data.size() < 108) {
            return refuse("insufficient data", ZBRC_INSUFFICIENT_DATA);
        }
        block = data.substr(0, 108);
        std::int64_t end = 108;
        bool allInside = true;
        for (size_t i = 0; i != texts.size(); ++i) {
            const std::int64_t length = wordAt(&data[64 + 8 * i]), at = wordAt(&data[68 + 8 * i]);
            const bool isInside = at >= 0 && at + length <= std::int64_t(data.size());
            if (length > 0 && isInside) {
                texts[i].set(&data[size_t(at)], size_t(length));
            }
            end = length > 0 ? std::max(end, at + length) : end;
            allInside = allInside && (length <= 0 || isInside);
        }
        if (!allInside) {
            return refuse("insufficient data", ZBRC_INSUFFICIENT_DATA);
        }
        const std::int32_t length = wordAt(&data[8]);
        if (end > length) {
            return refuse("structure length error", ZBRC_STRUCTURE_LENGTH_ERROR);
        }
        return message.setDataOffset(message.offset + size_t(length)) || failAs(message);
    }
    // A text makes room for the data and then for a null, and never gives room back.
    bool readValue(Message & message, size_t count) {
        const size_t begin = message.offset;
        const bool hasRoom = isText ? block.size() >= count : block.size() == count;
        if ((!hasRoom && !take(string(count, '\0'))) || count == 0) {
            return count == 0;
        }
        if (!read(message, block, count)) {
            return false;
        }
        const bool isOpen = isText && block.size() == count && block.back() != '\0';
        if (isOpen && !take(block + '\0')) {
            block[0] = '\0';
            message.setDataOffset(begin); // what was to be taken stays to be read
            return false;
        }
        if (block.size() > count) {
            block[count] = '\0';
        }
        return true;
    }

    // Whether that is all that can be seen of the real one.
    bool agrees() const {
        const auto * const text = dynamic_cast<const ZebStr *>(real.get());
        const auto * const reference = dynamic_cast<const ZebRfh *>(real.get());
        const auto held = reference != nullptr ? textsOf(*reference) : std::vector<ZebStr>();
        return areThoseOf(*real) && imageOf(*kind.make(real.get())) == image() &&
               imageOf(*real) == image() && (text == nullptr || text->storage() == block.size()) &&
               std::equal(texts.begin(), texts.end(), held.begin(), held.end(),
                          [](const Text & one, const ZebStr & other) { return one.isLike(other); });
    }
};

/// Whether reading makes the message grow no further than a run can pay: a reference may ask for
/// more than there is.
inline bool isAffordable(const Kind & kind, Message & message) {
    const string left = message.left();
    return kind.id != "RMH " || !message.automatic || left.size() < 108 ||
           wordAt(&left[8]) <= 1 << 16;
}

}

#endif
