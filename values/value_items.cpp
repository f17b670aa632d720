// The two values as message items: the whole data of a message.

#include "ZebBin.hpp"
#include "ZebStr.hpp"
#include "frame/item_protocol.hpp"
#include "frame/report.hpp"

#include <cstring>

namespace {

constexpr const char * textFormat = "ZBSTR   ";
constexpr const char * bytesFormat = "        ";

constexpr zeb::Report wrongTextFormat{"ZebString::pasteIn (error): wrong message format",
                                      ZBRC_INCONSISTENT_FORMAT};
constexpr zeb::Report wrongBytesFormat{"ZebBinary::pasteIn (error): wrong message format",
                                       ZBRC_INCONSISTENT_FORMAT};

} // namespace

bool ZebStr::copyOut(ZebMsg & message) {
    return zeb::replaceData(*this, message, textFormat, text_, length());
}

bool ZebStr::pasteIn(ZebMsg & message) {
    if (!message.formatIs(textFormat)) {
        return zeb::report(*this, wrongTextFormat);
    }
    const std::size_t count = message.dataLength();
    if (storageSize_ < count) {
        if (!setStorage(count)) {
            return false;
        }
        text_[0] = '\0';
    }
    if (count == 0) {
        return true;
    }
    const std::size_t begin = message.dataOffset();
    if (!zeb::readBytes(*this, message, text_, count)) {
        return false;
    }
    if (text_[count - 1] == '\0') {
        return true;
    }
    if (storageSize_ < count + 1 && !setStorage(count + 1)) {
        // No block stands without a null, and what was not taken stays to be read.
        text_[0] = '\0';
        message.setDataOffset(begin);
        return false;
    }
    text_[count] = '\0';
    return true;
}

bool ZebBin::copyOut(ZebMsg & message) {
    return zeb::replaceData(*this, message, bytesFormat, dataPointer_, dataLength_);
}

bool ZebBin::pasteIn(ZebMsg & message) {
    if (!message.formatIs(bytesFormat)) {
        return zeb::report(*this, wrongBytesFormat);
    }
    const std::size_t count = message.dataLength();
    const bool newBlock = count != dataLength_;
    if (!changeLength(count)) {
        return false;
    }
    if (count == 0 || zeb::readBytes(*this, message, dataPointer_, count)) {
        return true;
    }
    if (newBlock) {
        std::memset(dataPointer_, 0, count);
    }
    return false;
}
