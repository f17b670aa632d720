#ifndef ZEBHIH_HPP
#define ZEBHIH_HPP

#include "ZebBin.hpp"
#include "ZebHdr.hpp"

/// The HSX bridge header's record: 84 bytes, as they stand in message data.
struct ZBHIH {
    char structureId[4];                     ///< "HIH ".
    std::int32_t version;                    ///< 1; carried unchanged, never tested.
    std::int32_t structureLength;            ///< 84; carried unchanged, never tested.
    std::int32_t encoding;                   ///< Encoding of what follows.
    std::int32_t characterSet;               ///< Character set of what follows.
    char format[8];                          ///< Format of what follows, blank-padded.
    std::int32_t headerFlags;                ///< Flags.
    char logicalTerminalOverride[8];         ///< Logical terminal override.
    char messageFormatServicesMapName[8];    ///< Map name of the message format services.
    char replyToFormat[8];                   ///< Format of the reply, blank-padded.
    char authenticator[8];                   ///< Authenticator.
    unsigned char transactionInstanceId[16]; ///< Identifier of the transaction instance.
    char tailByte1;                          ///< Blank; carried unchanged.
    char tailByte2;                          ///< The digit 0; carried unchanged.
    char tailByte3;                          ///< The letter C; carried unchanged.
    char tailByte4;                          ///< Blank; carried unchanged.
};

/// The HSX bridge header: carries a message through the bridge to the HSX transaction system.
/// Structure id "HIH ", announced by format "ZBHSX   ".
///
///     ZebHih bridge;
///     bridge.setLogicalTerminalOverride("LTERM01");
///     bridge.setReplyToFormat("ORDER");
///     message.writeItem(bridge);
///
/// ZebHdr tells how it is written, read and chained, what each failure leaves behind, and what the
/// accessors of the description mean. All text fields have 8 bytes, are blank on a new object, and
/// are read up to the first zero byte; a text cut short is not reported. They differ in the rest:
///
///     field                          set                 read
///     replyToFormat                  padded with blanks  trailing blanks kept
///     authenticator                  padded with zeros   trailing blanks kept
///     logicalTerminalOverride        padded with zeros   trailing blanks removed
///     messageFormatServicesMapName   padded with zeros   trailing blanks removed
///
/// A null text fills the field with its pad.
///
/// Ownership: the record is held by value. On a new object bytes without a default of their own are
/// zero.
class ZEB_EXPORT ZebHih : public ZebHdr {
public:
    /// The default record: version 1, encoding 546, character set 0, all texts blank, a zero
    /// identifier, and the tail bytes as told at ZBHIH.
    ZebHih();
    /// Takes the source's codes and record.
    ZebHih(const ZebHih & source);
    ~ZebHih() override;
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
    /// Takes the source's codes and record.
    void operator=(const ZebHih & source);

    /// `replyToFormat`; 8 characters.
    ZebStr replyToFormat() const;
    /// Sets `replyToFormat`; 8 bytes.
    void setReplyToFormat(const char * format);
    /// `authenticator`; up to 8 characters, trailing blanks kept.
    ZebStr authenticator() const;
    /// Sets `authenticator`; 8 bytes.
    void setAuthenticator(const char * authenticator);
    /// `logicalTerminalOverride`; up to 8 characters.
    ZebStr logicalTerminalOverride() const;
    /// Sets `logicalTerminalOverride`; 8 bytes.
    void setLogicalTerminalOverride(const char * terminal);
    /// `messageFormatServicesMapName`; up to 8 characters.
    ZebStr messageFormatServicesMapName() const;
    /// Sets `messageFormatServicesMapName`; 8 bytes.
    void setMessageFormatServicesMapName(const char * name);

    /// `transactionInstanceId`; always 16 bytes, also when all are zero.
    ZebBin transactionInstanceId() const;
    /// Sets `transactionInstanceId` to the 16 bytes at `id`, to zero bytes for null.
    void setTransactionInstanceId(const unsigned char * id);
    /// Sets `transactionInstanceId` to a value of 16 bytes, to zero bytes for an empty one. Codes:
    /// ZBRC_BINARY_DATA_LENGTH_ERROR for any other length, and then the identifier stays.
    bool setTransactionInstanceId(const ZebBin & id);

    /// `tailByte1`, a character without a meaning here.
    char tailByte1() const;
    /// Sets `tailByte1`.
    void setTailByte1(char byte);
    /// `tailByte2`, a character without a meaning here.
    char tailByte2() const;
    /// Sets `tailByte2`.
    void setTailByte2(char byte);
    /// `tailByte3`, a character without a meaning here.
    char tailByte3() const;
    /// Sets `tailByte3`.
    void setTailByte3(char byte);
    /// `tailByte4`, a character without a meaning here.
    char tailByte4() const;
    /// Sets `tailByte4`.
    void setTailByte4(char byte);

private:
    ZBHIH record_;
};

#endif
