#include "ZebCac.hpp"

#include "frame/pointer_check.hpp"
#include "frame/report.hpp"
#include "frame/storage.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>

namespace {

using zeb::Report;

constexpr Report notAutomatic{"ZebCache::resizeBuffer (error): user buffer cannot be resized",
                              ZBRC_BUFFER_NOT_AUTOMATIC};
constexpr Report cutByResize{"ZebCache::resizeBuffer (warning): data truncated",
                             ZBRC_DATA_TRUNCATED, ZBCC_WARNING};
constexpr Report noStorageToResize{"ZebCache::resizeBuffer (error): storage not available",
                                   ZBRC_STORAGE_NOT_AVAILABLE};
constexpr Report insufficientBuffer{"ZebCache::moreBytes (error): insufficient buffer",
                                    ZBRC_INSUFFICIENT_BUFFER};
constexpr Report noStorageForMore{"ZebCache::moreBytes (error): storage not available",
                                  ZBRC_STORAGE_NOT_AVAILABLE};
constexpr Report lengthButNoPointer{"ZebCache::useEmpty/FullBuffer (error): length but no pointer",
                                    ZBRC_NULL_POINTER};
constexpr Report insufficientData{"ZebCache::read (error): insufficient data",
                                  ZBRC_INSUFFICIENT_DATA};
constexpr Report nullToRead{"ZebCache::read (error): null data pointer", ZBRC_NULL_POINTER};
constexpr Report nullToWrite{"ZebCache::write (error): null data pointer", ZBRC_NULL_POINTER};
constexpr Report cutByAssignment{"ZebCache::operator = (warning): data truncated",
                                 ZBRC_DATA_TRUNCATED, ZBCC_WARNING};

} // namespace

ZebCac::ZebCac() = default;

ZebCac::ZebCac(const ZebCac & source) : ZebErr() {
    *this = source;
}

ZebCac::~ZebCac() {
    adopt(nullptr, 0);
}

void ZebCac::operator=(const ZebCac & source) {
    if (this == &source) {
        return;
    }
    ZebErr::operator=(source);
    if (bufferLength_ < source.messageLength_ && automaticBuffer_) {
        resizeBuffer(source.messageLength_);
    }
    if (bufferLength_ < source.messageLength_) {
        zeb::report(*this, cutByAssignment);
    }
    const std::size_t copied = std::min(bufferLength_, source.messageLength_);
    if (copied != 0) {
        std::memmove(bufferPointer_, source.bufferPointer_, copied);
    }
    noteDefined(copied);
    setMessageLength(copied);
    // After a failed resize this may ask for storage once more; bytes that were never copied then
    // come up as zero.
    setDataOffset(source.dataOffset_);
}

/// Replaces the buffer by an automatic one that holds no message, and whose bytes are not set.
void ZebCac::adopt(char * block, std::size_t length) noexcept {
    if (automaticBuffer_) {
        zeb::releaseBlock(bufferPointer_);
    }
    bufferPointer_ = block;
    bufferLength_ = length;
    automaticBuffer_ = true;
    messageLength_ = 0;
    dataOffset_ = 0;
    definedLength_ = 0;
}

void ZebCac::noteDefined(std::size_t length) const noexcept {
    definedLength_ = std::max(definedLength_, length);
}

void ZebCac::defineUpTo(std::size_t length) const noexcept {
    noteDefined(messageLength_);
    if (definedLength_ < length) {
        std::memset(bufferPointer_ + definedLength_, 0, length - definedLength_);
        definedLength_ = length;
    }
}

bool ZebCac::useEmptyBuffer(const char * externalBuffer, std::size_t length) {
    if (length != 0) {
        if (externalBuffer == nullptr) {
            return zeb::report(*this, lengthButNoPointer);
        }
        if (!zeb::mayRead(*this, externalBuffer, length)) {
            return false;
        }
        adopt(const_cast<char *>(externalBuffer), length);
        automaticBuffer_ = false;
        // The application's bytes are defined by the application.
        definedLength_ = length;
    } else if (!automaticBuffer_) {
        adopt(nullptr, 0);
    }
    clearMessage();
    return true;
}

bool ZebCac::useFullBuffer(const char * externalBuffer, std::size_t length) {
    if (!useEmptyBuffer(externalBuffer, length)) {
        return false;
    }
    messageLength_ = length;
    return true;
}

bool ZebCac::resizeBuffer(std::size_t length) {
    if (!automaticBuffer_) {
        return zeb::report(*this, notAutomatic);
    }
    if (length == bufferLength_) {
        return true;
    }
    if (length < messageLength_) {
        zeb::report(*this, cutByResize);
    }
    char * block = nullptr;
    if (length != 0) {
        block = zeb::obtainBlock(length);
        if (block == nullptr) {
            return zeb::report(*this, noStorageToResize);
        }
    }
    const std::size_t kept = std::min(messageLength_, length);
    if (kept != 0) {
        std::memcpy(block, bufferPointer_, kept);
    }
    const std::size_t offset = std::min(dataOffset_, length);
    adopt(block, length);
    definedLength_ = kept;
    messageLength_ = kept;
    dataOffset_ = offset;
    return true;
}

bool ZebCac::grownLength(std::size_t bufferLength, std::size_t dataOffset,
                         std::size_t bytesRequired, std::size_t & length) noexcept {
    if (bytesRequired > SIZE_MAX - dataOffset) {
        return false;
    }
    length = std::max(bytesRequired + dataOffset, 2 * bufferLength);
    return true;
}

bool ZebCac::moreBytes(std::size_t bytesRequired) {
    if (bytesRequired <= bufferLength_ - dataOffset_) {
        return true;
    }
    if (!automaticBuffer_) {
        return zeb::report(*this, insufficientBuffer);
    }
    std::size_t length = 0;
    if (!grownLength(bufferLength_, dataOffset_, bytesRequired, length)) {
        return zeb::report(*this, noStorageForMore);
    }
    return resizeBuffer(length);
}

bool ZebCac::setMessageLength(std::size_t length) {
    if (length > bufferLength_ && !resizeBuffer(length)) {
        return false;
    }
    defineUpTo(length);
    messageLength_ = length;
    dataOffset_ = std::min(dataOffset_, length);
    return true;
}

bool ZebCac::setDataOffset(std::size_t offset) {
    if (offset > messageLength_ && !setMessageLength(offset)) {
        return false;
    }
    dataOffset_ = offset;
    return true;
}

void ZebCac::clearMessage() {
    noteDefined(messageLength_);
    messageLength_ = 0;
    dataOffset_ = 0;
}

bool ZebCac::read(std::size_t length, char *& externalBuffer) {
    if (length > dataLength()) {
        return zeb::report(*this, insufficientData);
    }
    if (length == 0) {
        return true;
    }
    if (externalBuffer == nullptr) {
        return zeb::report(*this, nullToRead);
    }
    if (!zeb::mayWrite(*this, externalBuffer, length)) {
        return false;
    }
    // The application's memory may overlap the buffer, above all a user buffer.
    std::memmove(externalBuffer, bufferPointer_ + dataOffset_, length);
    dataOffset_ += length;
    return true;
}

bool ZebCac::write(std::size_t length, const char * externalBuffer) {
    if (length > bufferLength_ - dataOffset_) {
        // Bytes of this very buffer move with it.
        const std::less<> isBefore;
        const bool isOwn = !isBefore(externalBuffer, bufferPointer_) &&
                           isBefore(externalBuffer, bufferPointer_ + bufferLength_);
        const std::ptrdiff_t place = isOwn ? externalBuffer - bufferPointer_ : 0;
        if (!moreBytes(length)) {
            return false;
        }
        if (isOwn) {
            defineUpTo(bufferLength_);
            externalBuffer = bufferPointer_ + place;
        }
    }
    if (length == 0) {
        return true;
    }
    if (externalBuffer == nullptr) {
        return zeb::report(*this, nullToWrite);
    }
    char * const target = bufferPointer_ + dataOffset_;
    if (!zeb::mayRead(*this, externalBuffer, length) || !zeb::mayWrite(*this, target, length)) {
        return false;
    }
    std::memmove(target, externalBuffer, length);
    dataOffset_ += length;
    messageLength_ = std::max(messageLength_, dataOffset_);
    return true;
}

std::size_t ZebCac::dataLength() const {
    return messageLength_ - dataOffset_;
}

// Who gets a pointer may write anywhere behind it: from then on all of the buffer counts as
// written.
char * ZebCac::bufferPointer() const {
    defineUpTo(bufferLength_);
    return bufferPointer_;
}

std::size_t ZebCac::bufferLength() const {
    return bufferLength_;
}

std::size_t ZebCac::messageLength() const {
    return messageLength_;
}

std::size_t ZebCac::dataOffset() const {
    return dataOffset_;
}

char * ZebCac::dataPointer() const {
    char * const begin = bufferPointer();
    return begin != nullptr ? begin + dataOffset_ : nullptr;
}

bool ZebCac::automaticBuffer() const {
    return automaticBuffer_;
}
