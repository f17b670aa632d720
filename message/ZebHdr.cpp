#include "ZebHdr.hpp"

ZebHdr::ZebHdr() = default;

ZebHdr::ZebHdr(const ZebHdr & source) = default;

ZebHdr::~ZebHdr() = default;

void ZebHdr::operator=(const ZebHdr & source) {
    ZebItm::operator=(source);
}
