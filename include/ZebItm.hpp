#ifndef ZEBITM_HPP
#define ZEBITM_HPP

#include "ZebErr.hpp"

class ZebMsg;

/// Everything that can travel in a message's data: texts, byte strings, the trigger and the
/// headers.
///
/// Applications write and read items with ZebMsg::writeItem and ZebMsg::readItem, and may derive
/// items of their own. A class that implements the two operations keeps these rules:
///
/// - copyOut puts the item into the data and makes the message's format, encoding (546) and
///   character set (0) describe what stands first. A value replaces the data, a header goes in
///   front of them. The cursor then stands behind all that was written.
/// - pasteIn takes the item from the cursor on. It tests at least the format; a failed test is
///   reported on the item alone and leaves the message as it was. The cursor then stands behind
///   what was taken.
/// - A failing operation of the message reports on the message; the item takes over both codes and
///   returns false. A success touches no codes.
///
/// An item holds no data in this base, and its codes are its own, apart from any message's.
class ZEB_EXPORT ZebItm : public ZebErr {
public:
    ZebItm();
    /// Takes the source's codes.
    ZebItm(const ZebItm & source);
    ~ZebItm() override;
    /// Puts the item into the message.
    virtual bool copyOut(ZebMsg & message) = 0;
    /// Takes the item out of the message.
    virtual bool pasteIn(ZebMsg & message) = 0;
    /// Takes the source's codes; on itself, nothing.
    void operator=(const ZebItm & source);

    /// Whether the data at the message's cursor begin with these 4 bytes. Moves nothing, sets no
    /// code; a no (a null id and fewer than 4 bytes of data among them) is told in the trace.
    static bool structureIdIs(const char * structureId, const ZebMsg & message);
};

#endif
