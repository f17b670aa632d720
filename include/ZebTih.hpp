#ifndef ZEBTIH_HPP
#define ZEBTIH_HPP

#include "ZebBin.hpp"
#include "ZebHdr.hpp"

#include <memory>

/// The TPMX bridge header's record: 180 bytes, as they stand in message data. Version 1 is the
/// first 164 of them. All text fields are padded with blanks.
struct ZBTIH {
    char structureId[4];               ///< "TIH ".
    std::int32_t version;              ///< 1 or 2: how many bytes stand in a message.
    std::int32_t structureLength;      ///< Length of the record; ZebTih::copyOut sets it.
    std::int32_t encoding;             ///< Encoding of what follows.
    std::int32_t characterSet;         ///< Character set of what follows.
    char format[8];                    ///< Format of what follows.
    std::int32_t headerFlags;          ///< Flags.
    std::int32_t bridgeReturnCode;     ///< Return code of the bridge.
    std::int32_t bridgeCompletionCode; ///< Completion code of the bridge.
    std::int32_t bridgeReasonCode;     ///< Reason code of the bridge.
    std::int32_t UOWControl;           ///< Control of the unit of work, default 273.
    std::int32_t getWaitInterval;      ///< Wait interval of a get, default -2.
    std::int32_t linkType;             ///< Type of link, default 1.
    std::int32_t outputDataLength;     ///< Length of the output data, default -1.
    std::int32_t facilityKeepTime;     ///< Keep time of the facility.
    std::int32_t ADSDescriptor;        ///< ADS descriptor.
    std::int32_t conversationalTask;   ///< Conversational task.
    std::int32_t taskEndStatus;        ///< End status of the task.
    unsigned char facilityToken[8];    ///< Token of the facility.
    char function[4];                  ///< Function of the bridge.
    char bridgeAbendCode[4];           ///< Abend code of the bridge.
    char authenticator[8];             ///< Authenticator.
    char spareText1[8];                ///< Carried unchanged.
    char replyToFormat[8];             ///< Format of the reply.
    char spareText2[4];                ///< Carried unchanged.
    char spareText3[4];                ///< Carried unchanged.
    char transactionIdentifier[4];     ///< Transaction.
    char facilityLike[4];              ///< Facility model.
    char attentionIdentifier[4];       ///< Attention identifier.
    char startCode[4];                 ///< Start code.
    char bridgeCancelCode[4];          ///< Cancel code of the bridge.
    char nextTransactionIdentifier[4]; ///< Next transaction.
    char spareText4[8];                ///< Carried unchanged.
    char spareText5[8];                ///< Carried unchanged.
    std::int32_t cursorPosition;       ///< Cursor position; version 2 only.
    std::int32_t bridgeErrorOffset;    ///< Error offset of the bridge; version 2 only.
    std::int32_t spareWord1;           ///< Carried unchanged; version 2 only.
    std::int32_t spareWord2;           ///< Carried unchanged; version 2 only.
};

/// The TPMX bridge header: carries a message through the bridge to the TPMX transaction processor,
/// and brings back what the bridge says about it. Structure id "TIH ", announced by format
/// "ZBTPMX  ".
///
///     ZebTih bridge;
///     bridge.setTransactionIdentifier("PAY1");
///     bridge.setVersion(1);                    // for a bridge that knows 164 bytes only
///     message.writeItem(bridge);
///
/// ZebHdr tells how it is written, read and chained, what each failure leaves behind, and what the
/// accessors of the description mean. Text fields are cut or padded with blanks when set, a null
/// text fills them with blanks, and they are read up to the first zero byte with trailing blanks
/// kept. A text cut short is not reported.
///
/// Versions. Reading takes the version that stands in the message. The fields from `cursorPosition`
/// on are kept by an object of either version, but travel with version 2 alone; reading a version 1
/// record leaves them as they were.
///
/// Failures of pasteIn beside ZebHdr's: a version other than 1 and 2 is ZBRC_WRONG_VERSION, without
/// a trace, and leaves message and record as they were. A record that ends early is
/// ZBRC_INSUFFICIENT_DATA, and then the cursor stands 4 bytes behind the record's start; the record
/// is as it was.
///
/// Ownership: each object has a record of its own on the heap, always of 180 bytes, allocated
/// plainly by the constructors. On a new object bytes without a default of their own are zero.
class ZEB_EXPORT ZebTih : public ZebHdr {
public:
    /// The default record: version 2, encoding 546, character set 0, all texts blank, and the
    /// numbers as told at ZBTIH, 0 where nothing is told.
    ZebTih();
    /// Takes the source's codes and all 180 bytes of its record.
    ZebTih(const ZebTih & source);
    ~ZebTih() override;
    /// As ZebHdr tells; writes 164 bytes under version 1 and 180 under version 2, with
    /// `structureLength` saying which. The object's own field says so too after a success.
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
    /// Takes the source's codes and all 180 bytes of its record; on itself, nothing.
    void operator=(const ZebTih & source);

    /// `version`: 1 or 2.
    std::int32_t version() const;
    /// Sets `version` to 1 or 2. Codes: ZBRC_WRONG_VERSION for any other, without a trace, and then
    /// the version stays.
    bool setVersion(std::int32_t version);

    /// `UOWControl`; 32 bits.
    std::int32_t UOWControl() const;
    /// Sets `UOWControl`.
    void setUOWControl(std::int32_t control);
    /// `getWaitInterval`; 32 bits.
    std::int32_t getWaitInterval() const;
    /// Sets `getWaitInterval`.
    void setGetWaitInterval(std::int32_t interval);
    /// `linkType`; 32 bits.
    std::int32_t linkType() const;
    /// Sets `linkType`.
    void setLinkType(std::int32_t type);
    /// `outputDataLength`; 32 bits.
    std::int32_t outputDataLength() const;
    /// Sets `outputDataLength`.
    void setOutputDataLength(std::int32_t length);
    /// `facilityKeepTime`; 32 bits.
    std::int32_t facilityKeepTime() const;
    /// Sets `facilityKeepTime`.
    void setFacilityKeepTime(std::int32_t time);
    /// `ADSDescriptor`; 32 bits.
    std::int32_t ADSDescriptor() const;
    /// Sets `ADSDescriptor`.
    void setADSDescriptor(std::int32_t descriptor);
    /// `conversationalTask`; 32 bits.
    std::int32_t conversationalTask() const;
    /// Sets `conversationalTask`.
    void setConversationalTask(std::int32_t task);
    /// `cursorPosition`; 32 bits; travels with version 2 only.
    std::int32_t cursorPosition() const;
    /// Sets `cursorPosition`, under either version.
    void setCursorPosition(std::int32_t position);
    /// `bridgeReturnCode`; 32 bits, set by the bridge alone.
    std::int32_t bridgeReturnCode() const;
    /// `bridgeCompletionCode`; 32 bits, set by the bridge alone.
    std::int32_t bridgeCompletionCode() const;
    /// `bridgeReasonCode`; 32 bits, set by the bridge alone.
    std::int32_t bridgeReasonCode() const;
    /// `taskEndStatus`; 32 bits, set by the bridge alone.
    std::int32_t taskEndStatus() const;
    /// `bridgeErrorOffset`; 32 bits, set by the bridge alone; travels with version 2 only.
    std::int32_t bridgeErrorOffset() const;

    /// `replyToFormat`; 8 characters.
    ZebStr replyToFormat() const;
    /// Sets `replyToFormat`; 8 bytes.
    void setReplyToFormat(const char * format);
    /// `authenticator`; 8 characters.
    ZebStr authenticator() const;
    /// Sets `authenticator`; 8 bytes.
    void setAuthenticator(const char * authenticator);
    /// `transactionIdentifier`; 4 characters.
    ZebStr transactionIdentifier() const;
    /// Sets `transactionIdentifier`; 4 bytes.
    void setTransactionIdentifier(const char * identifier);
    /// `facilityLike`; 4 characters.
    ZebStr facilityLike() const;
    /// Sets `facilityLike`; 4 bytes.
    void setFacilityLike(const char * facility);
    /// `attentionIdentifier`; 4 characters.
    ZebStr attentionIdentifier() const;
    /// Sets `attentionIdentifier`; 4 bytes.
    void setAttentionIdentifier(const char * identifier);
    /// `startCode`; 4 characters.
    ZebStr startCode() const;
    /// Sets `startCode`; 4 bytes.
    void setStartCode(const char * code);
    /// `bridgeCancelCode`; 4 characters.
    ZebStr bridgeCancelCode() const;
    /// Sets `bridgeCancelCode`; 4 bytes.
    void setBridgeCancelCode(const char * code);
    /// `function`; 4 characters, set by the bridge alone.
    ZebStr function() const;
    /// `bridgeAbendCode`; 4 characters, set by the bridge alone.
    ZebStr bridgeAbendCode() const;
    /// `nextTransactionIdentifier`; 4 characters, set by the bridge alone.
    ZebStr nextTransactionIdentifier() const;

    /// `facilityToken`; always 8 bytes, also when all are zero.
    ZebBin facilityToken() const;
    /// Sets `facilityToken` to the 8 bytes at `token`, to zero bytes for null.
    void setFacilityToken(const unsigned char * token);
    /// Sets `facilityToken` to a value of 8 bytes, to zero bytes for an empty one. Codes:
    /// ZBRC_BINARY_DATA_LENGTH_ERROR for any other length, and then the token stays.
    bool setFacilityToken(const ZebBin & token);

    /// `spareText1`, a text without a meaning here; 8 characters.
    ZebStr spareText1() const;
    /// Sets `spareText1`; 8 bytes.
    void setSpareText1(const char * text);
    /// `spareText2`, a text without a meaning here; 4 characters.
    ZebStr spareText2() const;
    /// Sets `spareText2`; 4 bytes.
    void setSpareText2(const char * text);
    /// `spareText3`, a text without a meaning here; 4 characters.
    ZebStr spareText3() const;
    /// Sets `spareText3`; 4 bytes.
    void setSpareText3(const char * text);
    /// `spareText4`, a text without a meaning here; 8 characters.
    ZebStr spareText4() const;
    /// Sets `spareText4`; 8 bytes.
    void setSpareText4(const char * text);
    /// `spareText5`, a text without a meaning here; 8 characters.
    ZebStr spareText5() const;
    /// Sets `spareText5`; 8 bytes.
    void setSpareText5(const char * text);
    /// `spareWord1`, a word without a meaning here; 32 bits; travels with version 2 only.
    std::int32_t spareWord1() const;
    /// Sets `spareWord1`, under either version.
    void setSpareWord1(std::int32_t word);
    /// `spareWord2`, a word without a meaning here; 32 bits; travels with version 2 only.
    std::int32_t spareWord2() const;
    /// Sets `spareWord2`, under either version.
    void setSpareWord2(std::int32_t word);

private:
    const std::int32_t versionSupported_ = 2;
    std::unique_ptr<ZBTIH> record_;
};

#endif
