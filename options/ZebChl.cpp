#include "ZebChl.hpp"

#include "options/ZBCD_layout.hpp"
#include "options/exit_list.hpp"
#include "values/fixed_fields.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

ZEB_ASSERT_LAYOUT(ZBCD)

namespace {

constexpr std::int32_t listEnd = -1;

// Whatever isn't named here is zero bytes or null.
constexpr ZBCD makeDefaultRecord() {
    ZBCD record{};
    record.word20 = 8;
    record.word24 = 1;
    record.transportType = 1;
    record.word304 = 50;
    record.word308 = 6000;
    record.word312 = 10;
    record.word316 = 60;
    record.word320 = 999999999;
    record.word324 = 1200;
    record.word840 = 999999999;
    record.maximumMessageLength = 4194304;
    record.word848 = 1;
    record.word1020 = 1;
    record.word1472 = 10;
    record.word1476 = 1000;
    record.heartBeatInterval = 300;
    record.word1488 = 2;
    record.structureLength = sizeof(ZBCD);
    record.exitNameLength = 128;
    record.exitUserDataLength = 32;
    record.keepAliveInterval = -1;
    std::ranges::fill(record.headerCompressionList, listEnd);
    std::ranges::fill(record.messageCompressionList, listEnd);
    record.word1872 = 50;
    return record;
}

constexpr ZBCD defaultRecord = makeDefaultRecord();

template <std::size_t Width>
bool setText(char (&field)[Width], const char * text, ZebErr & channel) {
    return ZebStr::copy(field, Width, text, channel, zeb::zeroPad);
}

bool setInteger(std::int32_t & field, std::int32_t value) {
    field = value;
    return true;
}

void setPeerName(ZBCD & record, char * block, std::size_t length) noexcept {
    record.sslPeerNamePointer = block;
    record.sslPeerNameLength = static_cast<std::int32_t>(length);
}

void releasePeerName(ZBCD & record) noexcept {
    delete[] record.sslPeerNamePointer;
    setPeerName(record, nullptr, 0);
}

void copyPeerName(ZBCD & record, const ZBCD & source) {
    if (source.sslPeerNamePointer == nullptr) {
        return;
    }
    const std::size_t length = zeb::sizeFrom(source.sslPeerNameLength);
    auto block = std::make_unique<char[]>(length);
    std::memcpy(block.get(), source.sslPeerNamePointer, length);
    setPeerName(record, block.release(), length);
}

void releaseBlocks(ZBCD & record) noexcept {
    zeb::ExitList::receiving(record).clear();
    zeb::ExitList::sending(record).clear();
    releasePeerName(record);
}

// A record's bytes without its claim to the blocks behind them.
ZBCD withoutBlocks(const ZBCD & record) noexcept {
    ZBCD image = record;
    zeb::ExitList::receiving(image).forget();
    zeb::ExitList::sending(image).forget();
    setPeerName(image, nullptr, 0);
    return image;
}

template <std::size_t Capacity>
std::size_t compressionCount(const std::int32_t (&entries)[Capacity]) {
    const auto * end = std::find(entries, entries + Capacity, listEnd);
    return static_cast<std::size_t>(end - entries);
}

template <std::size_t Capacity>
bool readCompression(const std::int32_t (&entries)[Capacity], std::size_t count,
                     std::int32_t list[]) {
    if (list != nullptr) {
        std::copy_n(entries, std::min(count, Capacity), list);
    }
    return true;
}

// The entries behind those given end the list; otherwise it could never get shorter.
template <std::size_t Capacity>
bool setCompression(std::int32_t (&entries)[Capacity], std::size_t count,
                    const std::int32_t list[]) {
    if (list == nullptr && count != 0) {
        return true;
    }
    std::int32_t * end = std::copy_n(list, std::min(count, Capacity), entries);
    std::fill(end, entries + Capacity, listEnd);
    return true;
}

} // namespace

ZebChl::ZebChl() : record_(new ::ZBCD(defaultRecord)) {}

// The object is complete when the assignment begins: where that throws, the destructor runs.
ZebChl::ZebChl(const ZebChl & source) : ZebChl() {
    *this = source;
}

ZebChl::~ZebChl() {
    releaseBlocks(*record_);
    delete record_;
}

void ZebChl::operator=(const ZebChl & source) {
    if (this == &source) {
        return;
    }
    ZebErr::operator=(source);
    releaseBlocks(*record_);
    *record_ = withoutBlocks(*source.record_);
    zeb::ExitList::receiving(*record_).copyFrom(zeb::ExitList::receiving(*source.record_));
    zeb::ExitList::sending(*record_).copyFrom(zeb::ExitList::sending(*source.record_));
    copyPeerName(*record_, *source.record_);
}

::ZBCD * ZebChl::ZBCD() const {
    return record_;
}

ZebStr ZebChl::channelName() const {
    return zeb::strippedFieldText(record_->channelName);
}

bool ZebChl::setChannelName(const char * name) {
    return setText(record_->channelName, name, *this);
}

ZebStr ZebChl::connectionName() const {
    return zeb::strippedFieldText(record_->connectionName);
}

bool ZebChl::setConnectionName(const char * name) {
    return setText(record_->connectionNameHead, name, *this) &&
           setText(record_->connectionName, name, *this);
}

ZebStr ZebChl::localAddress() const {
    return zeb::strippedFieldText(record_->localAddress);
}

bool ZebChl::setLocalAddress(const char * address) {
    return setText(record_->localAddress, address, *this);
}

ZebStr ZebChl::modeName() const {
    return zeb::strippedFieldText(record_->modeName);
}

bool ZebChl::setModeName(const char * name) {
    return setText(record_->modeName, name, *this);
}

ZebStr ZebChl::password() const {
    return zeb::strippedFieldText(record_->password);
}

bool ZebChl::setPassword(const char * password) {
    return setText(record_->password, password, *this);
}

ZebStr ZebChl::securityExitName() const {
    return zeb::strippedFieldText(record_->securityExitName);
}

bool ZebChl::setSecurityExitName(const char * name) {
    return setText(record_->securityExitName, name, *this);
}

ZebStr ZebChl::securityUserData() const {
    return zeb::strippedFieldText(record_->securityUserData);
}

bool ZebChl::setSecurityUserData(const char * data) {
    return setText(record_->securityUserData, data, *this);
}

ZebStr ZebChl::sslCipherSpecification() const {
    return zeb::strippedFieldText(record_->sslCipherSpecification);
}

bool ZebChl::setSslCipherSpecification(const char * specification) {
    return setText(record_->sslCipherSpecification, specification, *this);
}

ZebStr ZebChl::transactionProgramName() const {
    return zeb::strippedFieldText(record_->transactionProgramName);
}

bool ZebChl::setTransactionProgramName(const char * name) {
    return setText(record_->transactionProgramName, name, *this);
}

ZebStr ZebChl::userId() const {
    return zeb::strippedFieldText(record_->userId);
}

bool ZebChl::setUserId(const char * userId) {
    return setText(record_->userId, userId, *this);
}

ZebStr ZebChl::sslPeerName() const {
    if (record_->sslPeerNamePointer == nullptr) {
        return {};
    }
    return zeb::strippedFieldText(record_->sslPeerNamePointer,
                                  zeb::sizeFrom(record_->sslPeerNameLength));
}

bool ZebChl::setSslPeerName(const char * name) {
    if (name == nullptr) {
        releasePeerName(*record_);
        return true;
    }
    // A copy of no bytes still checks the text, before anything counts it.
    if (!ZebStr::copy(nullptr, 0, name, *this, zeb::zeroPad)) {
        return false;
    }
    constexpr auto maximum = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
    const std::size_t length = std::min(std::strlen(name), maximum);
    auto block = std::make_unique<char[]>(length);
    if (!ZebStr::copy(block.get(), length, name, *this, zeb::zeroPad)) {
        return false;
    }
    releasePeerName(*record_);
    setPeerName(*record_, block.release(), length);
    return true;
}

std::int32_t ZebChl::batchHeartBeat() const {
    return record_->batchHeartBeat;
}

bool ZebChl::setBatchHeartBeat(std::int32_t interval) {
    return setInteger(record_->batchHeartBeat, interval);
}

std::int32_t ZebChl::heartBeatInterval() const {
    return record_->heartBeatInterval;
}

bool ZebChl::setHeartBeatInterval(std::int32_t interval) {
    return setInteger(record_->heartBeatInterval, interval);
}

std::int32_t ZebChl::keepAliveInterval() const {
    return record_->keepAliveInterval;
}

bool ZebChl::setKeepAliveInterval(std::int32_t interval) {
    return setInteger(record_->keepAliveInterval, interval);
}

std::int32_t ZebChl::maximumMessageLength() const {
    return record_->maximumMessageLength;
}

bool ZebChl::setMaximumMessageLength(std::int32_t length) {
    return setInteger(record_->maximumMessageLength, length);
}

std::int32_t ZebChl::sslClientAuthentication() const {
    return record_->sslClientAuthentication;
}

bool ZebChl::setSslClientAuthentication(std::int32_t authentication) {
    return setInteger(record_->sslClientAuthentication, authentication);
}

std::int32_t ZebChl::transportType() const {
    return record_->transportType;
}

bool ZebChl::setTransportType(std::int32_t type) {
    return setInteger(record_->transportType, type);
}

std::size_t ZebChl::receiveExitCount() const {
    return zeb::ExitList::receiving(*record_).count();
}

ZebStr ZebChl::receiveExitName() {
    return zeb::ExitList::receiving(*record_).firstName(*this);
}

ZebStr ZebChl::receiveUserData() {
    return zeb::ExitList::receiving(*record_).firstUserData(*this);
}

bool ZebChl::receiveExitNames(std::size_t count, ZebStr * const strings[]) {
    return zeb::ExitList::receiving(*record_).readNames(*this, count, strings);
}

bool ZebChl::receiveUserData(std::size_t count, ZebStr * const strings[]) {
    return zeb::ExitList::receiving(*record_).readUserData(*this, count, strings);
}

bool ZebChl::setReceiveExitName(const char * name) {
    return zeb::ExitList::receiving(*record_).setName(*this, name);
}

bool ZebChl::setReceiveExitNames(std::size_t count, const char * const names[]) {
    return zeb::ExitList::receiving(*record_).setNames(*this, count, names);
}

bool ZebChl::setReceiveExitNames(std::size_t count, const ZebStr * const names[]) {
    return zeb::ExitList::receiving(*record_).setNames(*this, count, names);
}

bool ZebChl::setReceiveUserData(const char * data) {
    return zeb::ExitList::receiving(*record_).setUserData(*this, 1, &data);
}

bool ZebChl::setReceiveUserData(std::size_t count, const char * const data[]) {
    return zeb::ExitList::receiving(*record_).setUserData(*this, count, data);
}

bool ZebChl::setReceiveUserData(std::size_t count, const ZebStr * const data[]) {
    return zeb::ExitList::receiving(*record_).setUserData(*this, count, data);
}

std::size_t ZebChl::sendExitCount() const {
    return zeb::ExitList::sending(*record_).count();
}

ZebStr ZebChl::sendExitName() {
    return zeb::ExitList::sending(*record_).firstName(*this);
}

ZebStr ZebChl::sendUserData() {
    return zeb::ExitList::sending(*record_).firstUserData(*this);
}

bool ZebChl::sendExitNames(std::size_t count, ZebStr * const strings[]) {
    return zeb::ExitList::sending(*record_).readNames(*this, count, strings);
}

bool ZebChl::sendUserData(std::size_t count, ZebStr * const strings[]) {
    return zeb::ExitList::sending(*record_).readUserData(*this, count, strings);
}

bool ZebChl::setSendExitName(const char * name) {
    return zeb::ExitList::sending(*record_).setName(*this, name);
}

bool ZebChl::setSendExitNames(std::size_t count, const char * const names[]) {
    return zeb::ExitList::sending(*record_).setNames(*this, count, names);
}

bool ZebChl::setSendExitNames(std::size_t count, const ZebStr * const names[]) {
    return zeb::ExitList::sending(*record_).setNames(*this, count, names);
}

bool ZebChl::setSendUserData(const char * data) {
    return zeb::ExitList::sending(*record_).setUserData(*this, 1, &data);
}

bool ZebChl::setSendUserData(std::size_t count, const char * const data[]) {
    return zeb::ExitList::sending(*record_).setUserData(*this, count, data);
}

bool ZebChl::setSendUserData(std::size_t count, const ZebStr * const data[]) {
    return zeb::ExitList::sending(*record_).setUserData(*this, count, data);
}

std::size_t ZebChl::headerCompressionCount() const {
    return compressionCount(record_->headerCompressionList);
}

bool ZebChl::headerCompression(std::size_t count, std::int32_t list[]) const {
    return readCompression(record_->headerCompressionList, count, list);
}

bool ZebChl::setHeaderCompression(std::size_t count, const std::int32_t list[]) {
    return setCompression(record_->headerCompressionList, count, list);
}

std::size_t ZebChl::messageCompressionCount() const {
    return compressionCount(record_->messageCompressionList);
}

bool ZebChl::messageCompression(std::size_t count, std::int32_t list[]) const {
    return readCompression(record_->messageCompressionList, count, list);
}

bool ZebChl::setMessageCompression(std::size_t count, const std::int32_t list[]) {
    return setCompression(record_->messageCompressionList, count, list);
}
