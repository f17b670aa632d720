#ifndef ZEBDLH_HPP
#define ZEBDLH_HPP

#include "ZebHdr.hpp"

/// The dead letter header's record: 172 bytes, as they stand in message data.
struct ZBDLH {
    char structureId[4];                  ///< "DLH ".
    std::int32_t version;                 ///< 1; carried unchanged, never tested.
    std::int32_t deadLetterWord8;         ///< Carried unchanged.
    char destinationQueueName[48];        ///< Destination queue.
    char destinationQueueManagerName[48]; ///< Destination queue manager.
    std::int32_t encoding;                ///< Encoding of what follows.
    std::int32_t characterSet;            ///< Character set of what follows.
    char format[8];                       ///< Format of what follows, blank-padded.
    std::int32_t deadLetterWord124;       ///< Carried unchanged.
    char putApplicationName[28];          ///< Application that put the message.
    char putDate[8];                      ///< Date of the put.
    char putTime[8];                      ///< Time of the put.
};

/// The dead letter header: says which queue a message was meant for, and who put it, and when.
/// Structure id "DLH ", announced by format "ZBDEAD  ".
///
///     ZebDlh dead;
///     dead.setDestinationQueueName("ORDERS.EUROPE");
///     message.writeItem(dead);
///
/// ZebHdr tells how it is written, read and chained, what each failure leaves behind, and what the
/// accessors of the description mean. Text fields are cut or padded with zero bytes when set, and
/// read up to the first zero byte, without trailing blanks. A text cut short is not reported.
///
/// Ownership: the record is held by value. On a new object its unused bytes are zero.
class ZEB_EXPORT ZebDlh : public ZebHdr {
public:
    /// The default record: version 1, encoding 546, character set 0, format 8 blanks.
    ZebDlh();
    /// Takes the source's codes, record and flags.
    ZebDlh(const ZebDlh & source);
    ~ZebDlh() override;
    bool copyOut(ZebMsg & message) override;
    bool pasteIn(ZebMsg & message) override;
    std::int32_t characterSet() const override;
    std::int32_t encoding() const override;
    ZebStr format() const override;
    /// Flags beside the record: they never travel with a message. 0 on a new object.
    std::int32_t headerFlags() const override;
    void setCharacterSet(std::int32_t characterSet) override;
    void setEncoding(std::int32_t encoding) override;
    void setFormat(const char * format) override;
    void setHeaderFlags(std::int32_t flags) override;
    /// Takes the source's codes, record and flags; on itself, nothing.
    void operator=(const ZebDlh & source);

    /// `destinationQueueName`; up to 48 characters.
    ZebStr destinationQueueName() const;
    /// Sets `destinationQueueName`; 48 bytes.
    void setDestinationQueueName(const char * name);
    /// `destinationQueueManagerName`; up to 48 characters.
    ZebStr destinationQueueManagerName() const;
    /// Sets `destinationQueueManagerName`; 48 bytes.
    void setDestinationQueueManagerName(const char * name);
    /// `putApplicationName`; up to 28 characters.
    ZebStr putApplicationName() const;
    /// Sets `putApplicationName`; 28 bytes.
    void setPutApplicationName(const char * name);
    /// `putDate`; up to 8 characters, not looked into.
    ZebStr putDate() const;
    /// Sets `putDate`; 8 bytes.
    void setPutDate(const char * date);
    /// `putTime`; up to 8 characters, not looked into.
    ZebStr putTime() const;
    /// Sets `putTime`; 8 bytes.
    void setPutTime(const char * time);

    /// `deadLetterWord8`, a word without a meaning here; 32 bits.
    std::int32_t deadLetterWord8() const;
    /// Sets `deadLetterWord8`.
    void setDeadLetterWord8(std::int32_t word);
    /// `deadLetterWord124`, a word without a meaning here; 32 bits.
    std::int32_t deadLetterWord124() const;
    /// Sets `deadLetterWord124`.
    void setDeadLetterWord124(std::int32_t word);

private:
    std::int32_t headerFlags_ = 0;
    ZBDLH record_;
};

#endif
