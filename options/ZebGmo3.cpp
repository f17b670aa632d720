#include "ZebGmo3.hpp"

#include "options/ZBGMO3_layout.hpp"
#include "options/get_options.hpp"
#include "values/fixed_fields.hpp"

#include <atomic>

ZEB_ASSERT_LAYOUT(ZBGMO3)

namespace {

// A word on its own: nothing else is published with it.
std::atomic<std::int32_t> versionSupported{3};

ZBGMO3 newRecord() {
    ZBGMO3 record{};
    zeb::setGetOptionsDefaults(record);
    record.gmoWord96 = -1;
    record.version = versionSupported.load(std::memory_order_relaxed);
    return record;
}

} // namespace

ZebGmo3::ZebGmo3() : record_(new ZBGMO3(newRecord())) {}

ZebGmo3::ZebGmo3(const ZebGmo3 & source) : ZebGmo3() {
    *this = source;
}

ZebGmo3::~ZebGmo3() {
    delete record_;
}

void ZebGmo3::operator=(const ZebGmo3 & source) {
    if (this == &source) {
        return;
    }
    ZebErr::operator=(source);
    *record_ = *source.record_;
}

ZBGMO3 & ZebGmo3::record() {
    return *record_;
}

const ZBGMO3 & ZebGmo3::record() const {
    return *record_;
}

std::int32_t ZebGmo3::options() const {
    return record_->options;
}

void ZebGmo3::setOptions(std::int32_t options) {
    record_->options = options;
}

bool ZebGmo3::syncPointParticipation() const {
    return zeb::participates(*record_);
}

void ZebGmo3::setSyncPointParticipation(bool participate) {
    zeb::setParticipation(*record_, participate);
}

ZebStr ZebGmo3::resolvedQueueName() const {
    return zeb::strippedFieldText(record_->resolvedQueueName);
}

void ZebGmo3::setResolvedQueueName(const char * name) {
    zeb::setFieldText(record_->resolvedQueueName, name, zeb::zeroPad);
}

ZebBin ZebGmo3::messageToken() const {
    return zeb::fieldBytes(record_->messageToken);
}

void ZebGmo3::setMessageToken(const unsigned char * token) {
    zeb::setFieldBytes(record_->messageToken, token);
}

bool ZebGmo3::setMessageToken(const ZebBin & token) {
    return zeb::setFieldBytes(
        record_->messageToken, token, *this,
        {"ZebGetMessageOptions::setMessageToken (error): binary data length error",
         ZBRC_BINARY_DATA_LENGTH_ERROR});
}

void ZebGmo3::setVersionSupported(std::int32_t version) {
    versionSupported.store(version, std::memory_order_relaxed);
}
