#ifndef ZEBGMO_HPP
#define ZEBGMO_HPP

#include "ZebStr.hpp"

/// The options of a get: 80 bytes. Integers are 32-bit signed, low byte first. The fields named by
/// their offset are carried by this library and read by nothing in it.
struct ZBGMO {
    char structureId[4];        ///< "GMO ".
    std::int32_t version;       ///< 2 unless ZebGmo::setVersionSupported changed it.
    std::int32_t options;       ///< Bits; those of syncPointParticipation are 2, 4 and 4096.
    std::int32_t gmoWord12;     ///< Default 0.
    std::int32_t gmoWord16;     ///< Default 0.
    std::int32_t gmoWord20;     ///< Default 0.
    char resolvedQueueName[48]; ///< Queue that the message came from, no terminator.
    std::int32_t gmoWord72;     ///< Default 3.
    char gmoByte76;             ///< Default blank.
    char gmoByte77;             ///< Default blank.
    char gmoByte78;             ///< Default blank.
    char gmoByte79;             ///< Default blank.
};

/// The options that go with a get of a message. The class gets nothing: record() is what a receiver
/// takes, and fills in.
///
///     ZebGmo options;
///     options.setSyncPointParticipation(true);
///     options.record().gmoWord12 = 5000;
///     ... a get, with options.record() ...
///     std::puts(options.resolvedQueueName().text());
///
/// ZebGmo3 is the same for the longer record, with a message token. Neither converts to the other.
///
/// Ownership: the record is held by value. No operation can fail.
class ZEB_EXPORT ZebGmo : public ZebErr {
public:
    /// The default record, with the version last given to setVersionSupported.
    ZebGmo();
    /// Takes the source's codes and record, its version as well.
    ZebGmo(const ZebGmo & source);
    ~ZebGmo() override;
    /// Takes the source's codes and record, its version as well; on itself, nothing.
    void operator=(const ZebGmo & source);

    /// The whole record, to read and write.
    ZBGMO & record();
    /// The whole record, to read.
    const ZBGMO & record() const;

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

protected:
    /// The `version` of ZebGmo objects constructed from now on; existing ones keep theirs. Safe
    /// against constructions in other threads.
    static void setVersionSupported(std::int32_t version);

private:
    ZBGMO record_;
};

#endif
