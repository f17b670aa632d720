#include "ZebWih.hpp"

#include "headers/ZBWIH_layout.hpp"
#include "message/header_protocol.hpp"
#include "values/fixed_fields.hpp"

ZEB_ASSERT_LAYOUT(ZBWIH)

namespace {

constexpr zeb::ItemFacts facts{"ZebWorkHeader", "WIH ", "ZBHWIH  "};

constexpr ZBWIH defaultRecord{
    .structureId = {'W', 'I', 'H', ' '},
    .version = 1,
    .structureLength = sizeof(ZBWIH),
    .encoding = zeb::nativeEncoding,
    .characterSet = 0,
    .format = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .headerFlags = 0,
    .serviceName = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ',
                    ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .serviceStep = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .messageToken = {},
    .spareArea = {},
};

} // namespace

ZebWih::ZebWih() : record_(defaultRecord) {}

ZebWih::ZebWih(const ZebWih & source) : ZebHdr(), record_(defaultRecord) {
    *this = source;
}

ZebWih::~ZebWih() = default;

void ZebWih::operator=(const ZebWih & source) {
    if (this == &source) {
        return;
    }
    ZebHdr::operator=(source);
    record_ = source.record_;
}

bool ZebWih::copyOut(ZebMsg & message) {
    return zeb::writeHeader(*this, message, typeid(ZebWih), facts.format,
                            {{&record_, sizeof record_}});
}

bool ZebWih::pasteIn(ZebMsg & message) {
    return zeb::readHeader(*this, message, facts, record_);
}

std::int32_t ZebWih::characterSet() const {
    return record_.characterSet;
}

std::int32_t ZebWih::encoding() const {
    return record_.encoding;
}

ZebStr ZebWih::format() const {
    return zeb::fieldText(record_.format);
}

std::int32_t ZebWih::headerFlags() const {
    return record_.headerFlags;
}

void ZebWih::setCharacterSet(std::int32_t characterSet) {
    record_.characterSet = characterSet;
}

void ZebWih::setEncoding(std::int32_t encoding) {
    record_.encoding = encoding;
}

void ZebWih::setFormat(const char * format) {
    zeb::setFieldText(record_.format, format, zeb::blankPad);
}

void ZebWih::setHeaderFlags(std::int32_t flags) {
    record_.headerFlags = flags;
}

ZebStr ZebWih::serviceName() const {
    return zeb::fieldText(record_.serviceName);
}

void ZebWih::setServiceName(const char * name) {
    zeb::setFieldText(record_.serviceName, name, zeb::blankPad);
}

ZebStr ZebWih::serviceStep() const {
    return zeb::fieldText(record_.serviceStep);
}

void ZebWih::setServiceStep(const char * step) {
    zeb::setFieldText(record_.serviceStep, step, zeb::blankPad);
}

ZebBin ZebWih::messageToken() const {
    return zeb::fieldBytes(record_.messageToken);
}

void ZebWih::setMessageToken(const unsigned char * token) {
    zeb::setFieldBytes(record_.messageToken, token);
}

bool ZebWih::setMessageToken(const ZebBin & token) {
    // The line feed belongs to the text of this failure.
    return zeb::setFieldBytes(record_.messageToken, token, *this,
                              {"ZebWorkHeader::setMessageToken (error): binary data length error\n",
                               ZBRC_BINARY_DATA_LENGTH_ERROR});
}

ZebBin ZebWih::spareArea() const {
    return zeb::fieldBytes(record_.spareArea);
}

void ZebWih::setSpareArea(const unsigned char * bytes) {
    zeb::setFieldBytes(record_.spareArea, bytes);
}

bool ZebWih::setSpareArea(const ZebBin & bytes) {
    return zeb::setFieldBytes(record_.spareArea, bytes, *this,
                              {nullptr, ZBRC_BINARY_DATA_LENGTH_ERROR});
}
