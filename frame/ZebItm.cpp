#include "ZebItm.hpp"

#include "ZebTrc.hpp"
#include "frame/item_protocol.hpp"

#include <cstring>

ZebItm::ZebItm() = default;

ZebItm::ZebItm(const ZebItm & source) = default;

ZebItm::~ZebItm() = default;

void ZebItm::operator=(const ZebItm & source) {
    ZebErr::operator=(source);
}

bool ZebItm::structureIdIs(const char * structureId, const ZebMsg & message) {
    constexpr std::size_t width = 4;
    if (structureId != nullptr && message.dataLength() >= width &&
        std::memcmp(structureId, zeb::CacheReader::dataOf(message), width) == 0) {
        return true;
    }
    ZebTrc::traceMessage("ZebItem::structureIdIs (information): structure id is not equal");
    return false;
}
