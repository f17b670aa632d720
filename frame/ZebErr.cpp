#include "ZebErr.hpp"

#include "frame/pointer_check.hpp"
#include "frame/report.hpp"

ZebErr::ZebErr() = default;

ZebErr::ZebErr(const ZebErr & source) = default;

ZebErr::~ZebErr() = default;

void ZebErr::operator=(const ZebErr & source) {
    zeb::takeCodes(*this, source);
}

void ZebErr::clearErrorCodes() {
    setErrorCodes(ZBRC_NONE, ZBCC_OK);
}

std::int32_t ZebErr::completionCode() const {
    return completionCode_;
}

std::int32_t ZebErr::reasonCode() const {
    return reasonCode_;
}

void * ZebErr::operator new(std::size_t size) {
    return ::operator new(size);
}

void * ZebErr::operator new[](std::size_t size) {
    return ::operator new[](size);
}

void * ZebErr::operator new(std::size_t size, const std::nothrow_t & tag) noexcept {
    return ::operator new(size, tag);
}

void * ZebErr::operator new[](std::size_t size, const std::nothrow_t & tag) noexcept {
    return ::operator new[](size, tag);
}

void ZebErr::operator delete(void * block) noexcept {
    ::operator delete(block);
}

void ZebErr::operator delete[](void * block) noexcept {
    ::operator delete[](block);
}

void ZebErr::operator delete(void * block, const std::nothrow_t &) noexcept {
    ::operator delete(block);
}

void ZebErr::operator delete[](void * block, const std::nothrow_t &) noexcept {
    ::operator delete[](block);
}

bool ZebErr::checkReadPointer(const void * pointer, std::size_t length) {
    return zeb::mayRead(*this, pointer, length);
}

bool ZebErr::checkWritePointer(const void * pointer, std::size_t length) {
    return zeb::mayWrite(*this, pointer, length);
}
