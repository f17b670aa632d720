#include "ZebMsg.hpp"

#include "ZebItm.hpp"
#include "frame/item_protocol.hpp"
#include "frame/report.hpp"
#include "message/ZBMD_layout.hpp"
#include "values/fixed_fields.hpp"

#include <atomic>

ZEB_ASSERT_LAYOUT(ZBMD)

namespace {

constexpr ZBMD defaultDescriptor{
    .structureId = {'M', 'D', ' ', ' '},
    .version = 2,
    .descriptorWord8 = 0,
    .descriptorWord12 = 8,
    .descriptorWord16 = -1,
    .feedback = 0,
    .encoding = zeb::nativeEncoding,
    .characterSet = 0,
    .format = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '},
    .descriptorWord40 = -1,
    .descriptorWord44 = 2,
    .messageId = {},
    .correlationId = {},
    .descriptorWord96 = 0,
    .replyToQueueName = {},
    .replyToQueueManagerName = {},
    .userId = {},
    .accountingToken = {},
    .applicationIdData = {},
    .descriptorWord272 = 0,
    .putApplicationName = {},
    .putDate = {},
    .putTime = {},
    .applicationOriginData = {},
    .groupId = {},
    .descriptorWord348 = 1,
    .descriptorWord352 = 0,
    .descriptorWord356 = 0,
    .descriptorWord360 = -1,
};

std::atomic<std::int32_t> versionSupported{2};

/// A pair of codes, kept while an assignment overwrites those of the object.
struct Codes {
    explicit Codes(const ZebErr & object)
        : reason(object.reasonCode()), completion(object.completionCode()) {}

    void keepWorst(const ZebErr & object) {
        if (object.completionCode() > completion) {
            *this = Codes(object);
        }
    }

    std::int32_t reason;
    std::int32_t completion;
};

} // namespace

ZebMsg::ZebMsg() : descriptor_(defaultDescriptor) {
    wireTracker();
    descriptor_.version = versionSupported.load(std::memory_order_relaxed);
}

ZebMsg::ZebMsg(const ZebMsg & source)
    : ZebErr(), ZebCac(), ZebMtr(), descriptor_(defaultDescriptor) {
    wireTracker();
    *this = source;
}

ZebMsg::~ZebMsg() {
    // The tracker would release what its pointers point at, and here that is the descriptor.
    accountingTokenField = nullptr;
    correlationIdField = nullptr;
    feedbackField = nullptr;
    groupIdField = nullptr;
    messageIdField = nullptr;
}

void ZebMsg::wireTracker() noexcept {
    accountingTokenField = descriptor_.accountingToken;
    correlationIdField = descriptor_.correlationId;
    feedbackField = &descriptor_.feedback;
    groupIdField = descriptor_.groupId;
    messageIdField = descriptor_.messageId;
}

void ZebMsg::operator=(const ZebMsg & source) {
    if (this == &source) {
        return;
    }
    Codes worst(source);
    ZebCac::operator=(source);
    worst.keepWorst(*this);
    ZebMtr::operator=(source);
    worst.keepWorst(*this);
    setErrorCodes(worst.reason, worst.completion);
    descriptor_ = source.descriptor_;
    carriedWord_ = source.carriedWord_;
}

ZBMD & ZebMsg::descriptor() {
    return descriptor_;
}

const ZBMD & ZebMsg::descriptor() const {
    return descriptor_;
}

std::int64_t ZebMsg::carriedWord() const {
    return carriedWord_;
}

void ZebMsg::setCarriedWord(std::int64_t word) {
    carriedWord_ = word;
}

std::int32_t ZebMsg::encoding() const {
    return descriptor_.encoding;
}

void ZebMsg::setEncoding(std::int32_t encoding) {
    descriptor_.encoding = encoding;
}

std::int32_t ZebMsg::characterSet() const {
    return descriptor_.characterSet;
}

void ZebMsg::setCharacterSet(std::int32_t characterSet) {
    descriptor_.characterSet = characterSet;
}

ZebStr ZebMsg::format() const {
    return zeb::fieldText(descriptor_.format);
}

void ZebMsg::setFormat(const char * format) {
    zeb::setFieldText(descriptor_.format, format, zeb::blankPad);
}

bool ZebMsg::formatIs(const char * name) const {
    if (name == nullptr) {
        return false;
    }
    // Not memcmp, which may look at all 8 bytes: a shorter name differs at its terminator, and
    // nothing behind that is read.
    for (const char byte : descriptor_.format) {
        if (byte != *name++) {
            return false;
        }
    }
    return true;
}

ZebStr ZebMsg::applicationIdData() const {
    return zeb::strippedFieldText(descriptor_.applicationIdData);
}

void ZebMsg::setApplicationIdData(const char * data) {
    zeb::setFieldText(descriptor_.applicationIdData, data, zeb::zeroPad);
}

ZebStr ZebMsg::applicationOriginData() const {
    return zeb::strippedFieldText(descriptor_.applicationOriginData);
}

void ZebMsg::setApplicationOriginData(const char * data) {
    zeb::setFieldText(descriptor_.applicationOriginData, data, zeb::zeroPad);
}

ZebStr ZebMsg::putApplicationName() const {
    return zeb::strippedFieldText(descriptor_.putApplicationName);
}

void ZebMsg::setPutApplicationName(const char * name) {
    zeb::setFieldText(descriptor_.putApplicationName, name, zeb::zeroPad);
}

ZebStr ZebMsg::putDate() const {
    return zeb::strippedFieldText(descriptor_.putDate);
}

void ZebMsg::setPutDate(const char * date) {
    zeb::setFieldText(descriptor_.putDate, date, zeb::zeroPad);
}

ZebStr ZebMsg::putTime() const {
    return zeb::strippedFieldText(descriptor_.putTime);
}

void ZebMsg::setPutTime(const char * time) {
    zeb::setFieldText(descriptor_.putTime, time, zeb::zeroPad);
}

ZebStr ZebMsg::replyToQueueManagerName() const {
    return zeb::strippedFieldText(descriptor_.replyToQueueManagerName);
}

void ZebMsg::setReplyToQueueManagerName(const char * name) {
    zeb::setFieldText(descriptor_.replyToQueueManagerName, name, zeb::zeroPad);
}

ZebStr ZebMsg::replyToQueueName() const {
    return zeb::strippedFieldText(descriptor_.replyToQueueName);
}

void ZebMsg::setReplyToQueueName(const char * name) {
    zeb::setFieldText(descriptor_.replyToQueueName, name, zeb::zeroPad);
}

ZebStr ZebMsg::userId() const {
    return zeb::strippedFieldText(descriptor_.userId);
}

void ZebMsg::setUserId(const char * userId) {
    zeb::setFieldText(descriptor_.userId, userId, zeb::zeroPad);
}

bool ZebMsg::readItem(ZebItm & item) {
    const bool taken = item.pasteIn(*this);
    zeb::takeCodes(*this, item);
    return taken;
}

bool ZebMsg::writeItem(ZebItm & item) {
    const bool put = item.copyOut(*this);
    zeb::takeCodes(*this, item);
    return put;
}

void ZebMsg::setVersionSupported(std::int32_t version) {
    versionSupported.store(version, std::memory_order_relaxed);
}
