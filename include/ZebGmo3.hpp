#ifndef ZEBGMO3_HPP
#define ZEBGMO3_HPP

#include "ZebBin.hpp"
#include "ZebStr.hpp"

/// The options of a get with a message token: 100 bytes, the first 80 of them laid out as ZBGMO.
/// Integers are 32-bit signed, low byte first. The fields named by their offset are carried by this
/// library and read by nothing in it.
struct ZBGMO3 {
    char structureId[4];            ///< "GMO ".
    std::int32_t version;           ///< 3 unless ZebGmo3::setVersionSupported changed it.
    std::int32_t options;           ///< Bits; those of syncPointParticipation are 2, 4 and 4096.
    std::int32_t gmoWord12;         ///< Default 0.
    std::int32_t gmoWord16;         ///< Default 0.
    std::int32_t gmoWord20;         ///< Default 0.
    char resolvedQueueName[48];     ///< Queue that the message came from, no terminator.
    std::int32_t gmoWord72;         ///< Default 3.
    char gmoByte76;                 ///< Default blank.
    char gmoByte77;                 ///< Default blank.
    char gmoByte78;                 ///< Default blank.
    char gmoByte79;                 ///< Default blank.
    unsigned char messageToken[16]; ///< Message token, zero bytes for none.
    std::int32_t gmoWord96;         ///< Default -1.
};

/// The options that go with a get of a message, and the token that a message can be got by. The
/// class gets nothing: record() is what a receiver takes, and fills in.
///
///     ZebGmo3 options;
///     options.setSyncPointParticipation(false);
///     if (!options.setMessageToken(work.messageToken()))
///         std::printf("reason %d\n", options.reasonCode());   // 6111: not 16 bytes
///
/// ZebGmo is the same for the shorter record, without the token. Neither converts to the other.
///
/// Ownership: the object owns its record, a block of its own at one address for the object's life,
/// so a reference from record() is good as long as the object. The block is allocated plainly:
/// where it can't be had, a std::bad_alloc leaves the constructor and no object comes into being.
class ZEB_EXPORT ZebGmo3 : public ZebErr {
public:
    /// The default record, with the version last given to setVersionSupported.
    ZebGmo3();
    /// Takes the source's codes and a copy of its record, the version as well.
    ZebGmo3(const ZebGmo3 & source);
    ~ZebGmo3() override;
    /// Takes the source's codes and record, the version as well, into the block that is there; on
    /// itself, nothing.
    void operator=(const ZebGmo3 & source);

    /// The whole record, to read and write.
    ZBGMO3 & record();
    /// The whole record, to read.
    const ZBGMO3 & record() const;

    /// `options`; 32 bits.
    std::int32_t options() const;
    /// Sets all bits of `options`.
    void setOptions(std::int32_t options);
    /// Whether the get takes part in a unit of work: whether `options` has bit 2 or bit 4096. With
    /// neither of them nothing was chosen, or bit 4 was; both read as no.
    bool syncPointParticipation() const;
    /// Leaves exactly one of the bits 2 (yes), 4 (no) and 4096 set: 2 or 4. Other bits stay.
    void setSyncPointParticipation(bool participate);
    /// `resolvedQueueName`: up to 48 characters, without trailing blanks.
    ZebStr resolvedQueueName() const;
    /// Sets `resolvedQueueName`: 48 bytes, cut or padded with zero bytes. A cut isn't reported.
    void setResolvedQueueName(const char * name);

    /// `messageToken`: always 16 bytes, zero bytes as well.
    ZebBin messageToken() const;
    /// Copies 16 bytes from `token`; null sets them to zero.
    void setMessageToken(const unsigned char * token);
    /// Takes a value of 16 bytes; an empty one sets them to zero. Any other length:
    /// ZBRC_BINARY_DATA_LENGTH_ERROR, the token stays.
    bool setMessageToken(const ZebBin & token);

protected:
    /// The `version` of ZebGmo3 objects constructed from now on; existing ones keep theirs. Safe
    /// against constructions in other threads.
    static void setVersionSupported(std::int32_t version);

private:
    [[maybe_unused]] std::int32_t recordVersion_ = 3;
    ZBGMO3 * record_;
};

#endif
