#include "ZebGmo.hpp"

#include "options/ZBGMO_layout.hpp"
#include "options/get_options.hpp"
#include "values/fixed_fields.hpp"

#include <atomic>

ZEB_ASSERT_LAYOUT(ZBGMO)

namespace {

// A word on its own: nothing else is published with it.
std::atomic<std::int32_t> versionSupported{2};

ZBGMO newRecord() {
    ZBGMO record{};
    zeb::setGetOptionsDefaults(record);
    record.version = versionSupported.load(std::memory_order_relaxed);
    return record;
}

} // namespace

ZebGmo::ZebGmo() : record_(newRecord()) {}

ZebGmo::ZebGmo(const ZebGmo & source) : ZebGmo() {
    *this = source;
}

ZebGmo::~ZebGmo() = default;

void ZebGmo::operator=(const ZebGmo & source) {
    if (this == &source) {
        return;
    }
    ZebErr::operator=(source);
    record_ = source.record_;
}

ZBGMO & ZebGmo::record() {
    return record_;
}

const ZBGMO & ZebGmo::record() const {
    return record_;
}

std::int32_t ZebGmo::options() const {
    return record_.options;
}

void ZebGmo::setOptions(std::int32_t options) {
    record_.options = options;
}

bool ZebGmo::syncPointParticipation() const {
    return zeb::participates(record_);
}

void ZebGmo::setSyncPointParticipation(bool participate) {
    zeb::setParticipation(record_, participate);
}

ZebStr ZebGmo::resolvedQueueName() const {
    return zeb::strippedFieldText(record_.resolvedQueueName);
}

void ZebGmo::setResolvedQueueName(const char * name) {
    zeb::setFieldText(record_.resolvedQueueName, name, zeb::zeroPad);
}

void ZebGmo::setVersionSupported(std::int32_t version) {
    versionSupported.store(version, std::memory_order_relaxed);
}
