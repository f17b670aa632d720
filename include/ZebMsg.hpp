#ifndef ZEBMSG_HPP
#define ZEBMSG_HPP

#include "ZebCac.hpp"
#include "ZebMtr.hpp"
#include "ZebStr.hpp"

class ZebItm;

/// The descriptor of a message: 364 bytes that say what the data are and how the message is to
/// travel. Integers are 32-bit signed, low byte first; text fields have no terminator. The fields
/// named by their offset are carried by this library and read by nothing in it.
struct ZBMD {
    char structureId[4];               ///< "MD  ".
    std::int32_t version;              ///< 2 unless ZebMsg::setVersionSupported changed it.
    std::int32_t descriptorWord8;      ///< Default 0.
    std::int32_t descriptorWord12;     ///< Default 8.
    std::int32_t descriptorWord16;     ///< Default -1.
    std::int32_t feedback;             ///< Feedback code.
    std::int32_t encoding;             ///< Encoding of what stands at the cursor, default 546.
    std::int32_t characterSet;         ///< Character set of what stands at the cursor.
    char format[8];                    ///< Format of what stands at the cursor, blank-padded.
    std::int32_t descriptorWord40;     ///< Default -1.
    std::int32_t descriptorWord44;     ///< Default 2.
    unsigned char messageId[24];       ///< Message id.
    unsigned char correlationId[24];   ///< Correlation id.
    std::int32_t descriptorWord96;     ///< Default 0.
    char replyToQueueName[48];         ///< Queue for the reply.
    char replyToQueueManagerName[48];  ///< Queue manager for the reply.
    char userId[12];                   ///< User.
    unsigned char accountingToken[32]; ///< Accounting token.
    char applicationIdData[32];        ///< Identity data of the application.
    std::int32_t descriptorWord272;    ///< Default 0.
    char putApplicationName[28];       ///< Application that put the message.
    char putDate[8];                   ///< Date of the put.
    char putTime[8];                   ///< Time of the put.
    char applicationOriginData[4];     ///< Origin data of the application.
    unsigned char groupId[24];         ///< Group id.
    std::int32_t descriptorWord348;    ///< Default 1.
    std::int32_t descriptorWord352;    ///< Default 0.
    std::int32_t descriptorWord356;    ///< Default 0.
    std::int32_t descriptorWord360;    ///< Default -1.
};

/// A message: data in a buffer (ZebCac), a descriptor that says what they are (ZBMD), and the
/// tracking values (ZebMtr), which here are fields of the descriptor.
///
///     ZebMsg message;
///     message.setFormat("ORDER");
///     message.write(12, "7 umbrellas.");
///     ZebDlh dead;
///     dead.setDestinationQueueName("ORDERS.EUROPE");
///     message.writeItem(dead);     // 184 bytes of data, format "ZBDEAD  "
///
/// The descriptor's format, encoding and character set always describe what stands first at the
/// cursor; items keep them so. The class sends nothing: descriptor() and the buffer are what a
/// sender takes and a receiver fills.
///
/// Ownership. The buffer as in ZebCac. The tracking values live in the descriptor; none of them is
/// allocated. A message has one pair of codes, shared by its parts. A text that a setter cuts to
/// its field's width is not reported on the message, and an accessor's ZebStr or ZebBin has codes
/// of its own.
class ZEB_EXPORT ZebMsg : public ZebCac, public ZebMtr {
public:
    /// Empty automatic buffer, default descriptor: format 8 blanks, encoding 546, character set 0.
    ZebMsg();
    /// An automatic copy of the source's message, with its descriptor and codes.
    ZebMsg(const ZebMsg & source);
    ~ZebMsg() override;
    /// Takes the source's message as ZebCac does, its whole descriptor and its carried word. The
    /// codes are the worst met: the source's, or those of copying its data. On itself, nothing.
    void operator=(const ZebMsg & source);

    /// The whole descriptor, to read and write.
    ZBMD & descriptor();
    /// The whole descriptor, to read.
    const ZBMD & descriptor() const;
    /// A word beside the descriptor that is 0 at first and only copied; 64 bits.
    std::int64_t carriedWord() const;
    /// Sets the carried word.
    void setCarriedWord(std::int64_t word);

    /// `encoding`; 32 bits.
    std::int32_t encoding() const;
    /// Sets `encoding`.
    void setEncoding(std::int32_t encoding);
    /// `characterSet`; 32 bits.
    std::int32_t characterSet() const;
    /// Sets `characterSet`.
    void setCharacterSet(std::int32_t characterSet);
    /// `format`: 8 characters, trailing blanks kept.
    ZebStr format() const;
    /// Sets `format`: 8 bytes, cut or padded with blanks.
    void setFormat(const char * format);
    /// Whether the 8 bytes of `format` equal the 8 bytes at `name`; no for null. Compares from the
    /// front and looks no further than the first difference.
    bool formatIs(const char * name) const;

    /// `applicationIdData`: up to 32 characters, without trailing blanks.
    ZebStr applicationIdData() const;
    /// Sets `applicationIdData`: 32 bytes, cut or padded with zero bytes.
    void setApplicationIdData(const char * data);
    /// `applicationOriginData`: up to 4 characters, without trailing blanks.
    ZebStr applicationOriginData() const;
    /// Sets `applicationOriginData`: 4 bytes, cut or padded with zero bytes.
    void setApplicationOriginData(const char * data);
    /// `putApplicationName`: up to 28 characters, without trailing blanks.
    ZebStr putApplicationName() const;
    /// Sets `putApplicationName`: 28 bytes, cut or padded with zero bytes.
    void setPutApplicationName(const char * name);
    /// `putDate`: up to 8 characters, without trailing blanks.
    ZebStr putDate() const;
    /// Sets `putDate`: 8 bytes, cut or padded with zero bytes.
    void setPutDate(const char * date);
    /// `putTime`: up to 8 characters, without trailing blanks.
    ZebStr putTime() const;
    /// Sets `putTime`: 8 bytes, cut or padded with zero bytes.
    void setPutTime(const char * time);
    /// `replyToQueueManagerName`: up to 48 characters, without trailing blanks.
    ZebStr replyToQueueManagerName() const;
    /// Sets `replyToQueueManagerName`: 48 bytes, cut or padded with zero bytes.
    void setReplyToQueueManagerName(const char * name);
    /// `replyToQueueName`: up to 48 characters, without trailing blanks.
    ZebStr replyToQueueName() const;
    /// Sets `replyToQueueName`: 48 bytes, cut or padded with zero bytes.
    void setReplyToQueueName(const char * name);
    /// `userId`: up to 12 characters, without trailing blanks.
    ZebStr userId() const;
    /// Sets `userId`: 12 bytes, cut or padded with zero bytes.
    void setUserId(const char * userId);

    /// Takes an item from the cursor (item.pasteIn). The message then has the item's codes, whether
    /// that succeeded or not; the result is that of the item.
    bool readItem(ZebItm & item);
    /// Puts an item into the message (item.copyOut). Codes and result as for readItem.
    bool writeItem(ZebItm & item);

protected:
    /// The `version` of messages constructed from now on; existing ones keep theirs. Safe against
    /// constructions in other threads.
    static void setVersionSupported(std::int32_t version);

private:
    ZEB_LOCAL void wireTracker() noexcept;

    ZBMD descriptor_;
    std::int64_t carriedWord_ = 0;
};

#endif
