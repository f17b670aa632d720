#include "ZebHih.hpp"

#include "headers/ZBHIH_layout.hpp"
#include "message/header_protocol.hpp"
#include "values/fixed_fields.hpp"

ZEB_ASSERT_LAYOUT(ZBHIH)

namespace {

constexpr zeb::ItemFacts facts{"ZebHSXBridgeHeader", "HIH ", "ZBHSX   "};

constexpr ZBHIH defaultRecord{
    .structureId = {'H', 'I', 'H', ' '},
    .version = 1,
    .structureLength = sizeof(ZBHIH),
    .encoding = zeb::nativeEncoding,
    .characterSet = 0,
    .format = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .headerFlags = 0,
    .logicalTerminalOverride = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .messageFormatServicesMapName = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .replyToFormat = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .authenticator = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .transactionInstanceId = {},
    .tailByte1 = ' ',
    .tailByte2 = '0',
    .tailByte3 = 'C',
    .tailByte4 = ' ',
};

} // namespace

ZebHih::ZebHih() : record_(defaultRecord) {}

ZebHih::ZebHih(const ZebHih & source) : ZebHdr(), record_(defaultRecord) {
    *this = source;
}

ZebHih::~ZebHih() = default;

void ZebHih::operator=(const ZebHih & source) {
    ZebHdr::operator=(source);
    record_ = source.record_;
}

bool ZebHih::copyOut(ZebMsg & message) {
    return zeb::writeHeader(*this, message, typeid(ZebHih), facts.format,
                            {{&record_, sizeof record_}});
}

bool ZebHih::pasteIn(ZebMsg & message) {
    return zeb::readHeader(*this, message, facts, record_);
}

std::int32_t ZebHih::characterSet() const {
    return record_.characterSet;
}

std::int32_t ZebHih::encoding() const {
    return record_.encoding;
}

ZebStr ZebHih::format() const {
    return zeb::fieldText(record_.format);
}

std::int32_t ZebHih::headerFlags() const {
    return record_.headerFlags;
}

void ZebHih::setCharacterSet(std::int32_t characterSet) {
    record_.characterSet = characterSet;
}

void ZebHih::setEncoding(std::int32_t encoding) {
    record_.encoding = encoding;
}

void ZebHih::setFormat(const char * format) {
    zeb::setFieldText(record_.format, format, zeb::blankPad);
}

void ZebHih::setHeaderFlags(std::int32_t flags) {
    record_.headerFlags = flags;
}

ZebStr ZebHih::replyToFormat() const {
    return zeb::fieldText(record_.replyToFormat);
}

void ZebHih::setReplyToFormat(const char * format) {
    zeb::setFieldText(record_.replyToFormat, format, zeb::blankPad);
}

ZebStr ZebHih::authenticator() const {
    return zeb::fieldText(record_.authenticator);
}

void ZebHih::setAuthenticator(const char * authenticator) {
    zeb::setFieldText(record_.authenticator, authenticator, zeb::zeroPad);
}

ZebStr ZebHih::logicalTerminalOverride() const {
    return zeb::strippedFieldText(record_.logicalTerminalOverride);
}

void ZebHih::setLogicalTerminalOverride(const char * terminal) {
    zeb::setFieldText(record_.logicalTerminalOverride, terminal, zeb::zeroPad);
}

ZebStr ZebHih::messageFormatServicesMapName() const {
    return zeb::strippedFieldText(record_.messageFormatServicesMapName);
}

void ZebHih::setMessageFormatServicesMapName(const char * name) {
    zeb::setFieldText(record_.messageFormatServicesMapName, name, zeb::zeroPad);
}

ZebBin ZebHih::transactionInstanceId() const {
    return zeb::fieldBytes(record_.transactionInstanceId);
}

void ZebHih::setTransactionInstanceId(const unsigned char * id) {
    zeb::setFieldBytes(record_.transactionInstanceId, id);
}

bool ZebHih::setTransactionInstanceId(const ZebBin & id) {
    return zeb::setFieldBytes(
        record_.transactionInstanceId, id, *this,
        {"ZebHSXBridgeHeader::setTransactionInstanceId (error): binary data length error",
         ZBRC_BINARY_DATA_LENGTH_ERROR});
}

char ZebHih::tailByte1() const {
    return record_.tailByte1;
}

void ZebHih::setTailByte1(char byte) {
    record_.tailByte1 = byte;
}

char ZebHih::tailByte2() const {
    return record_.tailByte2;
}

void ZebHih::setTailByte2(char byte) {
    record_.tailByte2 = byte;
}

char ZebHih::tailByte3() const {
    return record_.tailByte3;
}

void ZebHih::setTailByte3(char byte) {
    record_.tailByte3 = byte;
}

char ZebHih::tailByte4() const {
    return record_.tailByte4;
}

void ZebHih::setTailByte4(char byte) {
    record_.tailByte4 = byte;
}
