#include "ZebTrc.hpp"

#include "frame/pointer_check.hpp"

void zeb::initializeThread() {
    unsigned char area[16];
    svcInitialize(48, 1031, 0, 0, area);
}

void ZebTrc::traceEntry(unsigned int, unsigned int) {}

void ZebTrc::traceExit(unsigned int, unsigned int, unsigned int) {}

void ZebTrc::traceMessage(const char * text) {
    zeb::setUpThread();
    trcText(text);
}

bool ZebTrc::checkReadPointer(const void * pointer, std::size_t length) {
    return zeb::isUsable(pointer, length, zeb::modeRead);
}

bool ZebTrc::checkWritePointer(const void * pointer, std::size_t length) {
    return zeb::isUsable(pointer, length, zeb::modeWrite);
}
