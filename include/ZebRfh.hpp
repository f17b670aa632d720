#ifndef ZEBRFH_HPP
#define ZEBRFH_HPP

#include "ZebBin.hpp"
#include "ZebHdr.hpp"

/// The fixed part of the reference header's record: 108 bytes, as they stand in message data. Each
/// offset counts from the start of the record.
struct ZBRMH {
    char structureId[4];                       ///< "RMH ".
    std::int32_t version;                      ///< 1; carried unchanged, never tested.
    std::int32_t structureLength;              ///< Length of the whole record with its texts.
    std::int32_t encoding;                     ///< Encoding of what follows.
    std::int32_t characterSet;                 ///< Character set of what follows.
    char format[8];                            ///< Format of what follows, blank-padded.
    std::int32_t headerFlags;                  ///< Flags, default 1.
    char referenceType[8];                     ///< Type of the reference.
    unsigned char instanceId[24];              ///< Instance identifier.
    std::int32_t sourceEnvironmentLength;      ///< Length of the source environment.
    std::int32_t sourceEnvironmentOffset;      ///< Offset of the source environment.
    std::int32_t sourceNameLength;             ///< Length of the source name.
    std::int32_t sourceNameOffset;             ///< Offset of the source name.
    std::int32_t destinationEnvironmentLength; ///< Length of the destination environment.
    std::int32_t destinationEnvironmentOffset; ///< Offset of the destination environment.
    std::int32_t destinationNameLength;        ///< Length of the destination name.
    std::int32_t destinationNameOffset;        ///< Offset of the destination name.
    std::int32_t tailWord1;                    ///< Carried unchanged.
    std::int32_t tailWord2;                    ///< Carried unchanged.
    std::int32_t tailWord3;                    ///< Carried unchanged.
};

/// The reference header: stands for an object that is elsewhere, and names where it is and where it
/// is to go. Structure id "RMH ", announced by format "ZBHREF  ".
///
///     ZebRfh reference;
///     reference.setReferenceType("FILE");
///     reference.setSourceName("/data/in");
///     reference.setDestinationName("/data/out");
///     message.writeItem(reference);            // 125 bytes: 108, and the two names behind them
///
/// ZebHdr tells how it is written, read and chained, and what the accessors of the description
/// mean. The four texts have any length; copyOut lays them behind the fixed part without gaps and
/// computes the record's lengths, offsets and `structureLength`, which stay in the object even when
/// it then fails. Texts too long for these 32-bit fields: ZBRC_STRUCTURE_LENGTH_ERROR, without a
/// trace, and message and header are as they were.
///
/// pasteIn goes by each text's own offset and length, in any order, overlapping or with gaps. A
/// text of length 0 or less leaves what the object held for it. Codes beside those of ZebHdr's
/// three tests: ZBRC_INSUFFICIENT_DATA for fewer than 108 bytes, or for a text that does not lie
/// wholly inside the data; ZBRC_STRUCTURE_LENGTH_ERROR where `structureLength` ends before a text
/// or before the fixed part does; those of ZebCac::setDataOffset, from the message, where it
/// reaches behind the data and the message can't be made that long. After each of these the message
/// is as it was; but once 108 bytes were there the object holds the new record, and the new text of
/// every field that did lie inside the data. A text that gets no storage is reported on the text
/// alone: its accessor's result has the codes.
///
/// Ownership: the record and the texts are held by value, each text with storage of its own. On a
/// new object bytes without a default of their own (lengths and offsets) are zero.
class ZEB_EXPORT ZebRfh : public ZebHdr {
public:
    /// The default record: version 1, encoding 546, character set 0, format 8 blanks, flags 1; all
    /// texts empty.
    ZebRfh();
    /// Takes the source's codes, record and texts.
    ZebRfh(const ZebRfh & source);
    ~ZebRfh() override;
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
    /// Takes the source's codes, record and texts, each text up to its first zero byte; on itself,
    /// nothing. A text that gets no storage is reported on the text alone.
    void operator=(const ZebRfh & source);

    /// `referenceType`; up to 8 characters, without trailing blanks.
    ZebStr referenceType() const;
    /// Sets `referenceType`; 8 bytes, cut or padded with zero bytes, all zero for null.
    void setReferenceType(const char * type);

    /// `instanceId`; always 24 bytes, also when all are zero.
    ZebBin instanceId() const;
    /// Sets `instanceId` to the 24 bytes at `id`, to zero bytes for null.
    void setInstanceId(const unsigned char * id);
    /// Sets `instanceId` to a value of 24 bytes, to zero bytes for an empty one. Codes:
    /// ZBRC_BINARY_DATA_LENGTH_ERROR for any other length, and then the identifier stays.
    bool setInstanceId(const ZebBin & id);

    /// The source environment, of any length, with the codes of its last change.
    ZebStr sourceEnvironment() const;
    /// Sets the source environment; null empties it.
    void setSourceEnvironment(const char * environment);
    /// The source name, of any length, with the codes of its last change.
    ZebStr sourceName() const;
    /// Sets the source name; null empties it.
    void setSourceName(const char * name);
    /// The destination environment, of any length, with the codes of its last change.
    ZebStr destinationEnvironment() const;
    /// Sets the destination environment; null empties it.
    void setDestinationEnvironment(const char * environment);
    /// The destination name, of any length, with the codes of its last change.
    ZebStr destinationName() const;
    /// Sets the destination name; null empties it.
    void setDestinationName(const char * name);

    /// `tailWord1`, a word without a meaning here; 32 bits.
    std::int32_t tailWord1() const;
    /// Sets `tailWord1`.
    void setTailWord1(std::int32_t word);
    /// `tailWord2`, a word without a meaning here; 32 bits.
    std::int32_t tailWord2() const;
    /// Sets `tailWord2`.
    void setTailWord2(std::int32_t word);
    /// `tailWord3`, a word without a meaning here; 32 bits.
    std::int32_t tailWord3() const;
    /// Sets `tailWord3`.
    void setTailWord3(std::int32_t word);

private:
    template <class Visit> ZEB_LOCAL void forEachText(Visit visit);
    ZEB_LOCAL bool layOut();

    ZebStr destinationEnvironment_;
    ZebStr destinationName_;
    ZebStr sourceEnvironment_;
    ZebStr sourceName_;
    ZBRMH record_;
};

#endif
