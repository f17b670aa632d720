#include "ZebDlh.hpp"

#include "headers/ZBDLH_layout.hpp"
#include "message/header_protocol.hpp"
#include "values/fixed_fields.hpp"

ZEB_ASSERT_LAYOUT(ZBDLH)

namespace {

constexpr zeb::ItemFacts facts{"ZebDeadLetterHeader", "DLH ", "ZBDEAD  "};

constexpr ZBDLH defaultRecord{
    .structureId = {'D', 'L', 'H', ' '},
    .version = 1,
    .deadLetterWord8 = 0,
    .destinationQueueName = {},
    .destinationQueueManagerName = {},
    .encoding = zeb::nativeEncoding,
    .characterSet = 0,
    .format = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .deadLetterWord124 = 0,
    .putApplicationName = {},
    .putDate = {},
    .putTime = {},
};

} // namespace

ZebDlh::ZebDlh() : record_(defaultRecord) {}

ZebDlh::ZebDlh(const ZebDlh & source) : ZebHdr(), record_(defaultRecord) {
    *this = source;
}

ZebDlh::~ZebDlh() = default;

void ZebDlh::operator=(const ZebDlh & source) {
    if (this == &source) {
        return;
    }
    ZebHdr::operator=(source);
    record_ = source.record_;
    setHeaderFlags(source.headerFlags());
}

bool ZebDlh::copyOut(ZebMsg & message) {
    return zeb::writeHeader(*this, message, typeid(ZebDlh), facts.format,
                            {{&record_, sizeof record_}});
}

bool ZebDlh::pasteIn(ZebMsg & message) {
    return zeb::readHeader(*this, message, facts, record_);
}

std::int32_t ZebDlh::characterSet() const {
    return record_.characterSet;
}

std::int32_t ZebDlh::encoding() const {
    return record_.encoding;
}

ZebStr ZebDlh::format() const {
    return zeb::fieldText(record_.format);
}

std::int32_t ZebDlh::headerFlags() const {
    return headerFlags_;
}

void ZebDlh::setCharacterSet(std::int32_t characterSet) {
    record_.characterSet = characterSet;
}

void ZebDlh::setEncoding(std::int32_t encoding) {
    record_.encoding = encoding;
}

void ZebDlh::setFormat(const char * format) {
    zeb::setFieldText(record_.format, format, zeb::blankPad);
}

void ZebDlh::setHeaderFlags(std::int32_t flags) {
    headerFlags_ = flags;
}

ZebStr ZebDlh::destinationQueueName() const {
    return zeb::strippedFieldText(record_.destinationQueueName);
}

void ZebDlh::setDestinationQueueName(const char * name) {
    zeb::setFieldText(record_.destinationQueueName, name, zeb::zeroPad);
}

ZebStr ZebDlh::destinationQueueManagerName() const {
    return zeb::strippedFieldText(record_.destinationQueueManagerName);
}

void ZebDlh::setDestinationQueueManagerName(const char * name) {
    zeb::setFieldText(record_.destinationQueueManagerName, name, zeb::zeroPad);
}

ZebStr ZebDlh::putApplicationName() const {
    return zeb::strippedFieldText(record_.putApplicationName);
}

void ZebDlh::setPutApplicationName(const char * name) {
    zeb::setFieldText(record_.putApplicationName, name, zeb::zeroPad);
}

ZebStr ZebDlh::putDate() const {
    return zeb::strippedFieldText(record_.putDate);
}

void ZebDlh::setPutDate(const char * date) {
    zeb::setFieldText(record_.putDate, date, zeb::zeroPad);
}

ZebStr ZebDlh::putTime() const {
    return zeb::strippedFieldText(record_.putTime);
}

void ZebDlh::setPutTime(const char * time) {
    zeb::setFieldText(record_.putTime, time, zeb::zeroPad);
}

std::int32_t ZebDlh::deadLetterWord8() const {
    return record_.deadLetterWord8;
}

void ZebDlh::setDeadLetterWord8(std::int32_t word) {
    record_.deadLetterWord8 = word;
}

std::int32_t ZebDlh::deadLetterWord124() const {
    return record_.deadLetterWord124;
}

void ZebDlh::setDeadLetterWord124(std::int32_t word) {
    record_.deadLetterWord124 = word;
}
