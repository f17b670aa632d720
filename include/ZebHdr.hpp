#ifndef ZEBHDR_HPP
#define ZEBHDR_HPP

#include "ZebItm.hpp"
#include "ZebStr.hpp"

/// A record that stands in front of a message's data and says what follows it.
///
/// Headers chain. The message's descriptor describes the first thing at the cursor, and each
/// header's own format, encoding and character set describe what follows that header:
///
///     message.writeItem(dead);    // descriptor: "ZBDEAD  ", dead.format(): the application's
///     message.setDataOffset(0);
///     message.readItem(dead);     // descriptor: the application's again, cursor behind the header
///
/// copyOut takes over the message's description, clears the message, and writes the record and the
/// old data behind it, from the first byte of the data, whatever the cursor was. A message without
/// room for the record at its cursor is refused with both unchanged. Where a user buffer has room
/// for the record but not for the data behind it, the record alone remains and the data are lost.
/// Storage is obtained before anything changes: without it message and header stay as they were
/// (ZBRC_STORAGE_NOT_AVAILABLE). An object of a class that an application derives from one of the
/// headers takes each step by itself, with the data aside while its setters run: should the buffer
/// then not grow for the data, the record alone remains.
///
/// pasteIn tests the structure id, the message's encoding and the message's format, in this order
/// (ZBRC_STRUCTURE_ID_ERROR, ZBRC_ENCODING_ERROR, ZBRC_INCONSISTENT_FORMAT), reads the record
/// (ZBRC_INSUFFICIENT_DATA) and hands its description on to the message. After a failure message
/// and record are as they were, unless the class's comment says otherwise.
///
/// The accessors below mean the record's field of that name. Setters store without any test.
class ZEB_EXPORT ZebHdr : public ZebItm {
public:
    ZebHdr();
    /// Takes the source's codes.
    ZebHdr(const ZebHdr & source);
    ~ZebHdr() override;
    bool copyOut(ZebMsg & message) override = 0;
    bool pasteIn(ZebMsg & message) override = 0;
    /// Character set of what follows the header; 32 bits.
    virtual std::int32_t characterSet() const = 0;
    /// Encoding of what follows the header; 32 bits.
    virtual std::int32_t encoding() const = 0;
    /// Format of what follows the header: 8 characters, trailing blanks kept.
    virtual ZebStr format() const = 0;
    /// The header's flags; 32 bits.
    virtual std::int32_t headerFlags() const = 0;
    /// Sets the character set of what follows the header.
    virtual void setCharacterSet(std::int32_t characterSet) = 0;
    /// Sets the encoding of what follows the header.
    virtual void setEncoding(std::int32_t encoding) = 0;
    /// Sets the format of what follows the header: 8 bytes, cut or padded with blanks.
    virtual void setFormat(const char * format) = 0;
    /// Sets the header's flags.
    virtual void setHeaderFlags(std::int32_t flags) = 0;

    /// Takes the source's codes; on itself, nothing.
    void operator=(const ZebHdr & source);
};

#endif
