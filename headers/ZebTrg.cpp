#include "ZebTrg.hpp"

#include "frame/item_protocol.hpp"
#include "headers/ZBTMC2_layout.hpp"
#include "headers/ZBTM_layout.hpp"
#include "values/fixed_fields.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>

ZEB_ASSERT_LAYOUT(ZBTM)
ZEB_ASSERT_LAYOUT(ZBTMC2)

namespace {

constexpr zeb::ItemFacts facts{"ZebTrigger", "TM  ", "ZBTRIG  "};

constexpr ZBTM defaultRecord{
    .structureId = {'T', 'M', ' ', ' '},
    .version = 1,
    .queueName = {},
    .processName = {},
    .triggerData = {},
    .triggerWord168 = 0,
    .applicationId = {},
    .environmentData = {},
    .userData = {},
};

template <std::size_t Width> void putText(char (&field)[Width], ZebStr text) {
    text.copyOut(field, Width, zeb::blankPad);
}

// The number in decimal, on the right of the field; of a longer one its first digits.
template <std::size_t Width> void putNumber(char (&field)[Width], std::int32_t number) {
    char digits[16];
    const char * const end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    const std::size_t length = std::min(Width, static_cast<std::size_t>(end - digits));
    std::fill_n(field, Width, zeb::blankPad);
    std::copy_n(digits, length, field + (Width - length));
}

} // namespace

ZebTrg::ZebTrg() : record_(defaultRecord) {}

ZebTrg::ZebTrg(const ZebTrg & source) : ZebItm(), record_(defaultRecord) {
    *this = source;
}

ZebTrg::~ZebTrg() = default;

void ZebTrg::operator=(const ZebTrg & source) {
    if (this == &source) {
        return;
    }
    ZebItm::operator=(source);
    record_ = source.record_;
}

bool ZebTrg::copyOut(ZebMsg & message) {
    return zeb::replaceData(*this, message, facts.format, &record_, sizeof record_);
}

bool ZebTrg::pasteIn(ZebMsg & message) {
    return zeb::isAnnounced(*this, message, facts) &&
           zeb::readBytes(*this, message, &record_, sizeof record_);
}

bool ZebTrg::copyOut(ZBTMC2 * target) {
    if (target == nullptr) {
        return zeb::report(
            *this, {"ZebTrigger::copyOut (error): null pointer to ZBTMC2", ZBRC_NULL_POINTER});
    }
    std::memcpy(target->structureId, "TMC ", sizeof target->structureId);
    std::memcpy(target->version, "   2", sizeof target->version);
    putText(target->queueName, queueName());
    putText(target->processName, processName());
    putText(target->triggerData, triggerData());
    putNumber(target->triggerWord168, triggerWord168());
    putText(target->applicationId, applicationId());
    putText(target->environmentData, environmentData());
    putText(target->userData, userData());
    std::ranges::fill(target->blankTail, zeb::blankPad);
    return true;
}

ZebStr ZebTrg::queueName() const {
    return zeb::strippedFieldText(record_.queueName);
}

void ZebTrg::setQueueName(const char * name) {
    zeb::setFieldText(record_.queueName, name, zeb::zeroPad);
}

ZebStr ZebTrg::processName() const {
    return zeb::strippedFieldText(record_.processName);
}

void ZebTrg::setProcessName(const char * name) {
    zeb::setFieldText(record_.processName, name, zeb::zeroPad);
}

ZebStr ZebTrg::triggerData() const {
    return zeb::strippedFieldText(record_.triggerData);
}

void ZebTrg::setTriggerData(const char * data) {
    zeb::setFieldText(record_.triggerData, data, zeb::zeroPad);
}

ZebStr ZebTrg::applicationId() const {
    return zeb::strippedFieldText(record_.applicationId);
}

void ZebTrg::setApplicationId(const char * id) {
    zeb::setFieldText(record_.applicationId, id, zeb::zeroPad);
}

ZebStr ZebTrg::environmentData() const {
    return zeb::strippedFieldText(record_.environmentData);
}

void ZebTrg::setEnvironmentData(const char * data) {
    zeb::setFieldText(record_.environmentData, data, zeb::zeroPad);
}

ZebStr ZebTrg::userData() const {
    return zeb::strippedFieldText(record_.userData);
}

void ZebTrg::setUserData(const char * data) {
    zeb::setFieldText(record_.userData, data, zeb::zeroPad);
}

std::int32_t ZebTrg::triggerWord168() const {
    return record_.triggerWord168;
}

void ZebTrg::setTriggerWord168(std::int32_t word) {
    record_.triggerWord168 = word;
}
