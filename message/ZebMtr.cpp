#include "ZebMtr.hpp"

#include "frame/pointer_check.hpp"
#include "frame/report.hpp"
#include "values/fixed_fields.hpp"

namespace {

using zeb::Report;

constexpr std::size_t tokenWidth = 32;
constexpr std::size_t idWidth = 24;

constexpr Report wrongAccountingToken{
    "ZebMessageTracker::setAccountingToken (error): binary data length error",
    ZBRC_BINARY_DATA_LENGTH_ERROR};
constexpr Report wrongCorrelationId{
    "ZebMessageTracker::setCorrelationId (error): binary data length error",
    ZBRC_BINARY_DATA_LENGTH_ERROR};
constexpr Report wrongGroupId{"ZebMessageTracker::setGroupId (error): binary data length error",
                              ZBRC_BINARY_DATA_LENGTH_ERROR};
constexpr Report wrongMessageId{"ZebMessageTracker::setMessageId (error): binary data length error",
                                ZBRC_BINARY_DATA_LENGTH_ERROR};

// A block starts as zero bytes: a refused first value then reads as the all-zero one.
unsigned char * storageOf(unsigned char *& field, std::size_t width) {
    if (field == nullptr) {
        field = new unsigned char[width]();
    }
    return field;
}

ZebBin valueOf(const unsigned char * field, std::size_t width) {
    return field != nullptr ? zeb::fieldBytes(field, width) : ZebBin();
}

// The bytes that valueOf would give, without a block for them; null where they can't be read.
const unsigned char * readable(const unsigned char * field, std::size_t width) {
    ZebErr codesOfTheValue;
    return field != nullptr && zeb::mayRead(codesOfTheValue, field, width) ? field : nullptr;
}

} // namespace

ZebMtr::ZebMtr() = default;

// A completed default construction: should a block not be had, the destructor releases the others.
ZebMtr::ZebMtr(const ZebMtr & source) : ZebMtr() {
    *this = source;
}

ZebMtr::~ZebMtr() {
    delete[] accountingTokenField;
    delete[] correlationIdField;
    delete feedbackField;
    delete[] groupIdField;
    delete[] messageIdField;
}

void ZebMtr::operator=(const ZebMtr & source) {
    if (this == &source) {
        return;
    }
    ZebErr::operator=(source);
    setAccountingToken(readable(source.accountingTokenField, tokenWidth));
    setCorrelationId(readable(source.correlationIdField, idWidth));
    setFeedback(source.feedback());
    setGroupId(readable(source.groupIdField, idWidth));
    setMessageId(readable(source.messageIdField, idWidth));
}

ZebBin ZebMtr::accountingToken() const {
    return valueOf(accountingTokenField, tokenWidth);
}

ZebBin ZebMtr::correlationId() const {
    return valueOf(correlationIdField, idWidth);
}

ZebBin ZebMtr::groupId() const {
    return valueOf(groupIdField, idWidth);
}

ZebBin ZebMtr::messageId() const {
    return valueOf(messageIdField, idWidth);
}

std::int32_t ZebMtr::feedback() const {
    return feedbackField != nullptr ? *feedbackField : 0;
}

void ZebMtr::setFeedback(std::int32_t feedback) {
    if (feedbackField == nullptr) {
        feedbackField = new std::int32_t(feedback);
    } else {
        *feedbackField = feedback;
    }
}

void ZebMtr::setAccountingToken(const unsigned char * token) {
    zeb::setFieldBytes(storageOf(accountingTokenField, tokenWidth), tokenWidth, token);
}

void ZebMtr::setCorrelationId(const unsigned char * id) {
    zeb::setFieldBytes(storageOf(correlationIdField, idWidth), idWidth, id);
}

void ZebMtr::setGroupId(const unsigned char * id) {
    zeb::setFieldBytes(storageOf(groupIdField, idWidth), idWidth, id);
}

void ZebMtr::setMessageId(const unsigned char * id) {
    zeb::setFieldBytes(storageOf(messageIdField, idWidth), idWidth, id);
}

bool ZebMtr::setAccountingToken(const ZebBin & token) {
    return zeb::setFieldBytes(storageOf(accountingTokenField, tokenWidth), tokenWidth, token, *this,
                              wrongAccountingToken);
}

bool ZebMtr::setCorrelationId(const ZebBin & id) {
    return zeb::setFieldBytes(storageOf(correlationIdField, idWidth), idWidth, id, *this,
                              wrongCorrelationId);
}

bool ZebMtr::setGroupId(const ZebBin & id) {
    return zeb::setFieldBytes(storageOf(groupIdField, idWidth), idWidth, id, *this, wrongGroupId);
}

bool ZebMtr::setMessageId(const ZebBin & id) {
    return zeb::setFieldBytes(storageOf(messageIdField, idWidth), idWidth, id, *this,
                              wrongMessageId);
}
