#ifndef FRAME_REPORT_HPP
#define FRAME_REPORT_HPP

#include "ZebErr.hpp"

/// The one way in which the library reports a failure or a warning, and the one way in which codes
/// pass from a message to an item and back.

namespace zeb {

/// What an operation reports: the trace text, null where it says nothing, and the two codes.
struct Report {
    const char * message;
    std::int32_t reason;
    std::int32_t completion = ZBCC_FAILED;
};

/// Stores codes on any object of the hierarchy.
struct CodeWriter {
    static void store(ZebErr & object, std::int32_t reason, std::int32_t completion) noexcept {
        object.reasonCode_ = reason;
        object.completionCode_ = completion;
    }
};

/// Writes the message to the trace, then stores the codes over what stood there. The result is what
/// the operation goes on with: false for a failure, true for a warning.
bool report(ZebErr & object, const Report & what);

/// Reports a failure in the words "longName::operation (error): text".
bool fail(ZebErr & object, const char * longName, const char * operation, const char * text,
          std::int32_t reason);

/// Takes over both codes of another object.
inline void takeCodes(ZebErr & object, const ZebErr & source) noexcept {
    CodeWriter::store(object, source.reasonCode(), source.completionCode());
}

/// Takes over both codes of the message whose operation failed; false.
inline bool failAs(ZebErr & object, const ZebErr & source) noexcept {
    takeCodes(object, source);
    return false;
}

} // namespace zeb

#endif
