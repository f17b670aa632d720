#include "ZebTih.hpp"

#include "headers/ZBTIH_layout.hpp"
#include "message/header_protocol.hpp"
#include "values/fixed_fields.hpp"

#include <cstddef>
#include <cstring>

ZEB_ASSERT_LAYOUT(ZBTIH)

namespace {

constexpr zeb::ItemFacts facts{"ZebTPMXBridgeHeader", "TIH ", "ZBTPMX  "};

constexpr ZBTIH defaultRecord{
    .structureId = {'T', 'I', 'H', ' '},
    .version = 2,
    .structureLength = sizeof(ZBTIH),
    .encoding = zeb::nativeEncoding,
    .characterSet = 0,
    .format = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .headerFlags = 0,
    .bridgeReturnCode = 0,
    .bridgeCompletionCode = 0,
    .bridgeReasonCode = 0,
    .UOWControl = 273,
    .getWaitInterval = -2,
    .linkType = 1,
    .outputDataLength = -1,
    .facilityKeepTime = 0,
    .ADSDescriptor = 0,
    .conversationalTask = 0,
    .taskEndStatus = 0,
    .facilityToken = {},
    .function = {' ', ' ', ' ', ' '},
    .bridgeAbendCode = {' ', ' ', ' ', ' '},
    .authenticator = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .spareText1 = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .replyToFormat = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .spareText2 = {' ', ' ', ' ', ' '},
    .spareText3 = {' ', ' ', ' ', ' '},
    .transactionIdentifier = {' ', ' ', ' ', ' '},
    .facilityLike = {' ', ' ', ' ', ' '},
    .attentionIdentifier = {' ', ' ', ' ', ' '},
    .startCode = {' ', ' ', ' ', ' '},
    .bridgeCancelCode = {' ', ' ', ' ', ' '},
    .nextTransactionIdentifier = {' ', ' ', ' ', ' '},
    .spareText4 = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .spareText5 = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .cursorPosition = 0,
    .bridgeErrorOffset = 0,
    .spareWord1 = 0,
    .spareWord2 = 0,
};

// What a message holds of the record: 0 for a version that is none.
constexpr std::size_t recordLength(std::int32_t version) {
    switch (version) {
    case 1:
        return offsetof(ZBTIH, cursorPosition);
    case 2:
        return sizeof(ZBTIH);
    default:
        return 0;
    }
}

} // namespace

ZebTih::ZebTih() : record_(std::make_unique<ZBTIH>(defaultRecord)) {}

ZebTih::ZebTih(const ZebTih & source)
    : ZebHdr(source), record_(std::make_unique<ZBTIH>(*source.record_)) {}

ZebTih::~ZebTih() = default;

void ZebTih::operator=(const ZebTih & source) {
    if (this == &source) {
        return;
    }
    ZebHdr::operator=(source);
    *record_ = *source.record_;
}

bool ZebTih::copyOut(ZebMsg & message) {
    const std::size_t length = recordLength(record_->version);
    if (length == 0) {
        return zeb::report(*this, {nullptr, ZBRC_WRONG_VERSION});
    }
    // A receiver finds what follows by `structureLength`. The field comes from the constructor or
    // from a message and knows nothing of setVersion, so it is settled where the length is: under
    // version 1 the 180 of a new object would hide the first 16 bytes behind the header. The object
    // keeps what it has written, and its former value where nothing came of it.
    const std::int32_t formerLength = record_->structureLength;
    record_->structureLength = static_cast<std::int32_t>(length);
    if (!zeb::writeHeader(*this, message, typeid(ZebTih), facts.format,
                          {{record_.get(), length}})) {
        record_->structureLength = formerLength;
        return false;
    }
    return true;
}

bool ZebTih::pasteIn(ZebMsg & message) {
    constexpr std::size_t idLength = sizeof record_->structureId;
    if (!zeb::isAnnounced(*this, message, facts) ||
        !zeb::readBytes(*this, message, record_->structureId, idLength)) {
        return false;
    }
    // With less than a version at the cursor the record is short whichever it is: read says so.
    std::int32_t version = 1;
    if (message.dataLength() >= sizeof version) {
        std::memcpy(&version, zeb::CacheReader::dataOf(message), sizeof version);
    }
    const std::size_t length = recordLength(version);
    if (length == 0) {
        message.setDataOffset(message.dataOffset() - idLength);
        return zeb::report(*this, {nullptr, ZBRC_WRONG_VERSION});
    }
    if (!zeb::readBytes(*this, message, &record_->version, length - idLength)) {
        return false;
    }
    zeb::handOn(*this, message, typeid(ZebTih), record_->format);
    return true;
}

std::int32_t ZebTih::characterSet() const {
    return record_->characterSet;
}

std::int32_t ZebTih::encoding() const {
    return record_->encoding;
}

ZebStr ZebTih::format() const {
    return zeb::fieldText(record_->format);
}

std::int32_t ZebTih::headerFlags() const {
    return record_->headerFlags;
}

void ZebTih::setCharacterSet(std::int32_t characterSet) {
    record_->characterSet = characterSet;
}

void ZebTih::setEncoding(std::int32_t encoding) {
    record_->encoding = encoding;
}

void ZebTih::setFormat(const char * format) {
    zeb::setFieldText(record_->format, format, zeb::blankPad);
}

void ZebTih::setHeaderFlags(std::int32_t flags) {
    record_->headerFlags = flags;
}

std::int32_t ZebTih::version() const {
    return record_->version;
}

bool ZebTih::setVersion(std::int32_t version) {
    if (version < 1 || version > versionSupported_) {
        return zeb::report(*this, {nullptr, ZBRC_WRONG_VERSION});
    }
    record_->version = version;
    return true;
}

std::int32_t ZebTih::UOWControl() const {
    return record_->UOWControl;
}

void ZebTih::setUOWControl(std::int32_t control) {
    record_->UOWControl = control;
}

std::int32_t ZebTih::getWaitInterval() const {
    return record_->getWaitInterval;
}

void ZebTih::setGetWaitInterval(std::int32_t interval) {
    record_->getWaitInterval = interval;
}

std::int32_t ZebTih::linkType() const {
    return record_->linkType;
}

void ZebTih::setLinkType(std::int32_t type) {
    record_->linkType = type;
}

std::int32_t ZebTih::outputDataLength() const {
    return record_->outputDataLength;
}

void ZebTih::setOutputDataLength(std::int32_t length) {
    record_->outputDataLength = length;
}

std::int32_t ZebTih::facilityKeepTime() const {
    return record_->facilityKeepTime;
}

void ZebTih::setFacilityKeepTime(std::int32_t time) {
    record_->facilityKeepTime = time;
}

std::int32_t ZebTih::ADSDescriptor() const {
    return record_->ADSDescriptor;
}

void ZebTih::setADSDescriptor(std::int32_t descriptor) {
    record_->ADSDescriptor = descriptor;
}

std::int32_t ZebTih::conversationalTask() const {
    return record_->conversationalTask;
}

void ZebTih::setConversationalTask(std::int32_t task) {
    record_->conversationalTask = task;
}

std::int32_t ZebTih::cursorPosition() const {
    return record_->cursorPosition;
}

void ZebTih::setCursorPosition(std::int32_t position) {
    record_->cursorPosition = position;
}

std::int32_t ZebTih::bridgeReturnCode() const {
    return record_->bridgeReturnCode;
}

std::int32_t ZebTih::bridgeCompletionCode() const {
    return record_->bridgeCompletionCode;
}

std::int32_t ZebTih::bridgeReasonCode() const {
    return record_->bridgeReasonCode;
}

std::int32_t ZebTih::taskEndStatus() const {
    return record_->taskEndStatus;
}

std::int32_t ZebTih::bridgeErrorOffset() const {
    return record_->bridgeErrorOffset;
}

ZebStr ZebTih::replyToFormat() const {
    return zeb::fieldText(record_->replyToFormat);
}

void ZebTih::setReplyToFormat(const char * format) {
    zeb::setFieldText(record_->replyToFormat, format, zeb::blankPad);
}

ZebStr ZebTih::authenticator() const {
    return zeb::fieldText(record_->authenticator);
}

void ZebTih::setAuthenticator(const char * authenticator) {
    zeb::setFieldText(record_->authenticator, authenticator, zeb::blankPad);
}

ZebStr ZebTih::transactionIdentifier() const {
    return zeb::fieldText(record_->transactionIdentifier);
}

void ZebTih::setTransactionIdentifier(const char * identifier) {
    zeb::setFieldText(record_->transactionIdentifier, identifier, zeb::blankPad);
}

ZebStr ZebTih::facilityLike() const {
    return zeb::fieldText(record_->facilityLike);
}

void ZebTih::setFacilityLike(const char * facility) {
    zeb::setFieldText(record_->facilityLike, facility, zeb::blankPad);
}

ZebStr ZebTih::attentionIdentifier() const {
    return zeb::fieldText(record_->attentionIdentifier);
}

void ZebTih::setAttentionIdentifier(const char * identifier) {
    zeb::setFieldText(record_->attentionIdentifier, identifier, zeb::blankPad);
}

ZebStr ZebTih::startCode() const {
    return zeb::fieldText(record_->startCode);
}

void ZebTih::setStartCode(const char * code) {
    zeb::setFieldText(record_->startCode, code, zeb::blankPad);
}

ZebStr ZebTih::bridgeCancelCode() const {
    return zeb::fieldText(record_->bridgeCancelCode);
}

void ZebTih::setBridgeCancelCode(const char * code) {
    zeb::setFieldText(record_->bridgeCancelCode, code, zeb::blankPad);
}

ZebStr ZebTih::function() const {
    return zeb::fieldText(record_->function);
}

ZebStr ZebTih::bridgeAbendCode() const {
    return zeb::fieldText(record_->bridgeAbendCode);
}

ZebStr ZebTih::nextTransactionIdentifier() const {
    return zeb::fieldText(record_->nextTransactionIdentifier);
}

ZebBin ZebTih::facilityToken() const {
    return zeb::fieldBytes(record_->facilityToken);
}

void ZebTih::setFacilityToken(const unsigned char * token) {
    zeb::setFieldBytes(record_->facilityToken, token);
}

bool ZebTih::setFacilityToken(const ZebBin & token) {
    // The line feed belongs to the text of this failure.
    return zeb::setFieldBytes(
        record_->facilityToken, token, *this,
        {"ZebTPMXBridgeHeader::setFacilityToken (error): binary data length error\n",
         ZBRC_BINARY_DATA_LENGTH_ERROR});
}

ZebStr ZebTih::spareText1() const {
    return zeb::fieldText(record_->spareText1);
}

void ZebTih::setSpareText1(const char * text) {
    zeb::setFieldText(record_->spareText1, text, zeb::blankPad);
}

ZebStr ZebTih::spareText2() const {
    return zeb::fieldText(record_->spareText2);
}

void ZebTih::setSpareText2(const char * text) {
    zeb::setFieldText(record_->spareText2, text, zeb::blankPad);
}

ZebStr ZebTih::spareText3() const {
    return zeb::fieldText(record_->spareText3);
}

void ZebTih::setSpareText3(const char * text) {
    zeb::setFieldText(record_->spareText3, text, zeb::blankPad);
}

ZebStr ZebTih::spareText4() const {
    return zeb::fieldText(record_->spareText4);
}

void ZebTih::setSpareText4(const char * text) {
    zeb::setFieldText(record_->spareText4, text, zeb::blankPad);
}

ZebStr ZebTih::spareText5() const {
    return zeb::fieldText(record_->spareText5);
}

void ZebTih::setSpareText5(const char * text) {
    zeb::setFieldText(record_->spareText5, text, zeb::blankPad);
}

std::int32_t ZebTih::spareWord1() const {
    return record_->spareWord1;
}

void ZebTih::setSpareWord1(std::int32_t word) {
    record_->spareWord1 = word;
}

std::int32_t ZebTih::spareWord2() const {
    return record_->spareWord2;
}

void ZebTih::setSpareWord2(std::int32_t word) {
    record_->spareWord2 = word;
}
