#include "ZebRfh.hpp"

#include "headers/ZBRMH_layout.hpp"
#include "message/header_protocol.hpp"
#include "values/fixed_fields.hpp"

#include <algorithm>
#include <cstring>
#include <limits>

ZEB_ASSERT_LAYOUT(ZBRMH)

namespace {

constexpr zeb::ItemFacts facts{"ZebReferenceHeader", "RMH ", "ZBHREF  "};

constexpr std::int32_t fixedLength = sizeof(ZBRMH);

constexpr ZBRMH defaultRecord{
    .structureId = {'R', 'M', 'H', ' '},
    .version = 1,
    .structureLength = 0,
    .encoding = zeb::nativeEncoding,
    .characterSet = 0,
    .format = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .headerFlags = 1,
    .referenceType = {},
    .instanceId = {},
    .sourceEnvironmentLength = 0,
    .sourceEnvironmentOffset = 0,
    .sourceNameLength = 0,
    .sourceNameOffset = 0,
    .destinationEnvironmentLength = 0,
    .destinationEnvironmentOffset = 0,
    .destinationNameLength = 0,
    .destinationNameOffset = 0,
    .tailWord1 = 0,
    .tailWord2 = 0,
    .tailWord3 = 0,
};

} // namespace

ZebRfh::ZebRfh() : record_(defaultRecord) {}

ZebRfh::ZebRfh(const ZebRfh & source) : ZebHdr(), record_(defaultRecord) {
    *this = source;
}

ZebRfh::~ZebRfh() = default;

void ZebRfh::operator=(const ZebRfh & source) {
    if (this == &source) {
        return;
    }
    ZebHdr::operator=(source);
    record_ = source.record_;
    setDestinationEnvironment(source.destinationEnvironment_.text());
    setDestinationName(source.destinationName_.text());
    setSourceEnvironment(source.sourceEnvironment_.text());
    setSourceName(source.sourceName_.text());
}

// The texts in the order in which they stand behind the record: visit(text, length, offset).
template <class Visit> void ZebRfh::forEachText(Visit visit) {
    visit(sourceEnvironment_, record_.sourceEnvironmentLength, record_.sourceEnvironmentOffset);
    visit(sourceName_, record_.sourceNameLength, record_.sourceNameOffset);
    visit(destinationEnvironment_, record_.destinationEnvironmentLength,
          record_.destinationEnvironmentOffset);
    visit(destinationName_, record_.destinationNameLength, record_.destinationNameOffset);
}

// Computes lengths and offsets. False, with nothing changed, where they don't fit their fields.
bool ZebRfh::layOut() {
    std::uint64_t total = fixedLength;
    forEachText([&](const ZebStr & text, std::int32_t, std::int32_t) { total += text.length(); });
    if (total > std::numeric_limits<std::int32_t>::max()) {
        return false;
    }
    std::int32_t end = fixedLength;
    forEachText([&](const ZebStr & text, std::int32_t & length, std::int32_t & offset) {
        offset = end;
        length = static_cast<std::int32_t>(text.length());
        end += length;
    });
    record_.structureLength = end;
    return true;
}

bool ZebRfh::copyOut(ZebMsg & message) {
    if (!layOut()) {
        return zeb::report(*this, {nullptr, ZBRC_STRUCTURE_LENGTH_ERROR});
    }
    const auto piece = [](const ZebStr & text, std::int32_t length) {
        return zeb::HeaderPiece{text.text(), static_cast<std::size_t>(length)};
    };
    return zeb::writeHeader(*this, message, typeid(ZebRfh), facts.format,
                            {{&record_, sizeof record_},
                             piece(sourceEnvironment_, record_.sourceEnvironmentLength),
                             piece(sourceName_, record_.sourceNameLength),
                             piece(destinationEnvironment_, record_.destinationEnvironmentLength),
                             piece(destinationName_, record_.destinationNameLength)});
}

bool ZebRfh::pasteIn(ZebMsg & message) {
    if (!zeb::isAnnounced(*this, message, facts)) {
        return false;
    }
    const zeb::Report insufficientData{"ZebReferenceHeader::pasteIn (error): insufficient data",
                                       ZBRC_INSUFFICIENT_DATA};
    if (message.dataLength() < sizeof record_) {
        return zeb::report(*this, insufficientData);
    }
    const char * const data = zeb::CacheReader::dataOf(message);
    std::memcpy(&record_, data, sizeof record_);

    // What the record says is the sender's: every sum is taken in 64 bits, and a text is touched
    // only when it lies wholly inside the data, whose length counts as a 32-bit number here.
    const std::int64_t available = static_cast<std::int32_t>(message.dataLength());
    std::int64_t recordEnd = fixedLength;
    bool allInside = true;
    forEachText([&](ZebStr & text, std::int32_t length, std::int32_t offset) {
        if (length <= 0) {
            return;
        }
        const std::int64_t end = std::int64_t{offset} + length;
        if (offset < 0 || end > available) {
            allInside = false;
            return;
        }
        text.set(data + offset, static_cast<std::size_t>(length));
        recordEnd = std::max(recordEnd, end);
    });
    if (!allInside) {
        return zeb::report(*this, insufficientData);
    }
    if (recordEnd > record_.structureLength) {
        return zeb::report(*this, {"ZebReferenceHeader::pasteIn (error): structure length error",
                                   ZBRC_STRUCTURE_LENGTH_ERROR});
    }
    const auto length = static_cast<std::size_t>(record_.structureLength);
    if (!message.setDataOffset(message.dataOffset() + length)) {
        return zeb::failAs(*this, message);
    }
    zeb::handOn(*this, message, typeid(ZebRfh), record_.format);
    return true;
}

std::int32_t ZebRfh::characterSet() const {
    return record_.characterSet;
}

std::int32_t ZebRfh::encoding() const {
    return record_.encoding;
}

ZebStr ZebRfh::format() const {
    return zeb::fieldText(record_.format);
}

std::int32_t ZebRfh::headerFlags() const {
    return record_.headerFlags;
}

void ZebRfh::setCharacterSet(std::int32_t characterSet) {
    record_.characterSet = characterSet;
}

void ZebRfh::setEncoding(std::int32_t encoding) {
    record_.encoding = encoding;
}

void ZebRfh::setFormat(const char * format) {
    zeb::setFieldText(record_.format, format, zeb::blankPad);
}

void ZebRfh::setHeaderFlags(std::int32_t flags) {
    record_.headerFlags = flags;
}

ZebStr ZebRfh::referenceType() const {
    return zeb::strippedFieldText(record_.referenceType);
}

void ZebRfh::setReferenceType(const char * type) {
    zeb::setFieldText(record_.referenceType, type, zeb::zeroPad);
}

ZebBin ZebRfh::instanceId() const {
    return zeb::fieldBytes(record_.instanceId);
}

void ZebRfh::setInstanceId(const unsigned char * id) {
    zeb::setFieldBytes(record_.instanceId, id);
}

bool ZebRfh::setInstanceId(const ZebBin & id) {
    return zeb::setFieldBytes(
        record_.instanceId, id, *this,
        {"ZebReferenceHeader::setInstanceId (error): binary data length error",
         ZBRC_BINARY_DATA_LENGTH_ERROR});
}

ZebStr ZebRfh::sourceEnvironment() const {
    return sourceEnvironment_;
}

void ZebRfh::setSourceEnvironment(const char * environment) {
    sourceEnvironment_ = ZebStr(environment);
}

ZebStr ZebRfh::sourceName() const {
    return sourceName_;
}

void ZebRfh::setSourceName(const char * name) {
    sourceName_ = ZebStr(name);
}

ZebStr ZebRfh::destinationEnvironment() const {
    return destinationEnvironment_;
}

void ZebRfh::setDestinationEnvironment(const char * environment) {
    destinationEnvironment_ = ZebStr(environment);
}

ZebStr ZebRfh::destinationName() const {
    return destinationName_;
}

void ZebRfh::setDestinationName(const char * name) {
    destinationName_ = ZebStr(name);
}

std::int32_t ZebRfh::tailWord1() const {
    return record_.tailWord1;
}

void ZebRfh::setTailWord1(std::int32_t word) {
    record_.tailWord1 = word;
}

std::int32_t ZebRfh::tailWord2() const {
    return record_.tailWord2;
}

void ZebRfh::setTailWord2(std::int32_t word) {
    record_.tailWord2 = word;
}

std::int32_t ZebRfh::tailWord3() const {
    return record_.tailWord3;
}

void ZebRfh::setTailWord3(std::int32_t word) {
    record_.tailWord3 = word;
}
