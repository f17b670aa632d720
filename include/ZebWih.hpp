#ifndef ZEBWIH_HPP
#define ZEBWIH_HPP

#include "ZebBin.hpp"
#include "ZebHdr.hpp"

/// The work header's record: 120 bytes, as they stand in message data. All text fields are padded
/// with blanks.
struct ZBWIH {
    char structureId[4];            ///< "WIH ".
    std::int32_t version;           ///< 1; carried unchanged, never tested.
    std::int32_t structureLength;   ///< 120; carried unchanged, never tested.
    std::int32_t encoding;          ///< Encoding of what follows.
    std::int32_t characterSet;      ///< Character set of what follows.
    char format[8];                 ///< Format of what follows.
    std::int32_t headerFlags;       ///< Flags.
    char serviceName[32];           ///< Name of the service.
    char serviceStep[8];            ///< Step of the service.
    unsigned char messageToken[16]; ///< Message token.
    unsigned char spareArea[32];    ///< Carried unchanged.
};

/// The work header: names a service and a step of it, and carries a message token. Structure id
/// "WIH ", announced by format "ZBHWIH  ".
///
///     ZebWih work;
///     work.setServiceName("ORDERS");
///     work.setServiceStep("CHECK");
///     message.writeItem(work);
///
/// ZebHdr tells how it is written, read and chained, what each failure leaves behind, and what the
/// accessors of the description mean. Text fields are cut or padded with blanks when set, a null
/// text fills them with blanks, and they are read up to the first zero byte with trailing blanks
/// kept. A text cut short is not reported.
///
/// Ownership: the record is held by value. On a new object bytes without a default of their own
/// (`spareArea`) are zero.
class ZEB_EXPORT ZebWih : public ZebHdr {
public:
    /// The default record: version 1, encoding 546, character set 0, all texts blank, a zero token.
    ZebWih();
    /// Takes the source's codes and record.
    ZebWih(const ZebWih & source);
    ~ZebWih() override;
    bool copyOut(ZebMsg & message) override;
    bool pasteIn(ZebMsg & message) override;
    std::int32_t characterSet() const override;
    std::int32_t encoding() const override;
    ZebStr format() const override;
    /// `headerFlags`; 32 bits.
    std::int32_t headerFlags() const override;
    void setCharacterSet(std::int32_t characterSet) override;
    void setEncoding(std::int32_t encoding) override;
    void setFormat(const char * format) override;
    /// Sets `headerFlags`.
    void setHeaderFlags(std::int32_t flags) override;
    /// Takes the source's codes and record; on itself, nothing.
    void operator=(const ZebWih & source);

    /// `serviceName`; 32 characters.
    ZebStr serviceName() const;
    /// Sets `serviceName`; 32 bytes.
    void setServiceName(const char * name);
    /// `serviceStep`; 8 characters.
    ZebStr serviceStep() const;
    /// Sets `serviceStep`; 8 bytes.
    void setServiceStep(const char * step);

    /// `messageToken`; always 16 bytes, also when all are zero.
    ZebBin messageToken() const;
    /// Sets `messageToken` to the 16 bytes at `token`, to zero bytes for null.
    void setMessageToken(const unsigned char * token);
    /// Sets `messageToken` to a value of 16 bytes, to zero bytes for an empty one. Codes:
    /// ZBRC_BINARY_DATA_LENGTH_ERROR for any other length, and then the token stays.
    bool setMessageToken(const ZebBin & token);

    /// `spareArea`, bytes without a meaning here; always 32.
    ZebBin spareArea() const;
    /// Sets `spareArea` to the 32 bytes at `bytes`, to zero bytes for null.
    void setSpareArea(const unsigned char * bytes);
    /// Takes a value of 32 bytes; an empty one sets them to zero. Any other length:
    /// ZBRC_BINARY_DATA_LENGTH_ERROR, without a trace, and the area stays.
    bool setSpareArea(const ZebBin & bytes);

private:
    ZBWIH record_;
};

#endif
