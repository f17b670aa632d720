#include "frame/report.hpp"

#include "ZebTrc.hpp"
#include "frame/pointer_check.hpp"

#include <cstdio>

namespace zeb {

bool report(ZebErr & object, const Report & what) {
    if (what.message != nullptr) {
        ZebTrc::traceMessage(what.message);
    }
    CodeWriter::store(object, what.reason, what.completion);
    return what.completion != ZBCC_FAILED;
}

bool fail(ZebErr & object, const char * longName, const char * operation, const char * text,
          std::int32_t reason) {
    // The names are the library's own, so the longest of them fits with room to spare; there is no
    // storage to ask for on a path that may be reporting that there is none.
    char message[128];
    std::snprintf(message, sizeof message, "%s::%s (error): %s", longName, operation, text);
    return report(object, {message, reason});
}

bool refuseToRead(ZebErr & object) {
    return report(object, {"ZebError::checkReadPointer (error): buffer error", ZBRC_BUFFER_ERROR});
}

bool refuseToWrite(ZebErr & object) {
    return report(object, {"ZebError::checkWritePointer (error): buffer error", ZBRC_BUFFER_ERROR});
}

} // namespace zeb
