#include "ZebBin.hpp"

#include "frame/pointer_check.hpp"
#include "frame/report.hpp"
#include "frame/storage.hpp"

#include <algorithm>
#include <cstring>

namespace {

constexpr zeb::Report noStorage{"ZebBinary::setDataLength (error): storage not available",
                                ZBRC_STORAGE_NOT_AVAILABLE};
constexpr zeb::Report noDestination{"ZebBinary::copyOut (error): no destination buffer",
                                    ZBRC_NO_BUFFER};

} // namespace

ZebBin::ZebBin() = default;

ZebBin::ZebBin(const void * data, std::size_t length) {
    set(data, length);
}

ZebBin::ZebBin(const ZebBin & source) : ZebItm() {
    *this = source;
}

ZebBin::~ZebBin() {
    clear();
}

void ZebBin::operator=(const ZebBin & source) {
    if (this == &source) {
        return;
    }
    ZebItm::operator=(source);
    if (changeLength(source.dataLength_) && dataLength_ != 0) {
        std::memcpy(dataPointer_, source.dataPointer_, dataLength_);
    }
}

bool ZebBin::operator==(const ZebBin & other) const {
    return std::equal(dataPointer_, dataPointer_ + dataLength_, other.dataPointer_,
                      other.dataPointer_ + other.dataLength_);
}

void ZebBin::clear() {
    if (dataLength_ != 0) {
        zeb::releaseBlock(reinterpret_cast<char *>(dataPointer_));
        dataPointer_ = nullptr;
        dataLength_ = 0;
    }
}

// The steps of setDataLength for callers that fill the block themselves.
bool ZebBin::changeLength(std::size_t length) {
    if (length == dataLength_) {
        return true;
    }
    char * block = nullptr;
    if (length != 0) {
        block = zeb::obtainBlock(length);
        if (block == nullptr) {
            return zeb::report(*this, noStorage);
        }
    }
    clear();
    dataPointer_ = reinterpret_cast<unsigned char *>(block);
    dataLength_ = length;
    return true;
}

bool ZebBin::setDataLength(std::size_t length) {
    if (length == dataLength_) {
        return true;
    }
    if (!changeLength(length)) {
        return false;
    }
    std::fill_n(dataPointer_, length, static_cast<unsigned char>(0));
    return true;
}

bool ZebBin::set(const void * data, std::size_t length) {
    if (length != 0 && !zeb::mayRead(*this, data, length)) {
        return false;
    }
    if (length == dataLength_) {
        // Nothing is released, so the data may even lie inside the present block.
        if (length != 0) {
            std::memmove(dataPointer_, data, length);
        }
        return true;
    }
    ZebBin fresh;
    if (!fresh.changeLength(length)) {
        zeb::takeCodes(*this, fresh);
        return false;
    }
    if (length != 0) {
        std::memcpy(fresh.dataPointer_, data, length);
    }
    std::swap(dataPointer_, fresh.dataPointer_);
    std::swap(dataLength_, fresh.dataLength_);
    return true;
}

bool ZebBin::copyOut(void * target, std::size_t length, char pad) {
    if (length == 0) {
        return true;
    }
    if (target == nullptr) {
        return zeb::report(*this, noDestination);
    }
    if (!zeb::mayWrite(*this, target, length)) {
        return false;
    }
    const std::size_t count = std::min(dataLength_, length);
    char * const bytes = static_cast<char *>(target);
    if (count != 0) {
        std::memmove(bytes, dataPointer_, count);
    }
    std::memset(bytes + count, pad, length - count);
    return true;
}

bool ZebBin::isNull() const {
    return std::all_of(dataPointer_, dataPointer_ + dataLength_,
                       [](unsigned char byte) { return byte == 0; });
}
