#ifndef ZEBTRG_HPP
#define ZEBTRG_HPP

#include "ZebItm.hpp"
#include "ZebStr.hpp"

/// The trigger's record: 684 bytes, as they stand in message data. Text fields are padded with zero
/// bytes.
struct ZBTM {
    char structureId[4];         ///< "TM  ".
    std::int32_t version;        ///< 1; carried unchanged, never tested.
    char queueName[48];          ///< Name of the queue.
    char processName[48];        ///< Name of the process.
    char triggerData[64];        ///< Trigger data.
    std::int32_t triggerWord168; ///< Carried unchanged.
    char applicationId[256];     ///< Identity of the application.
    char environmentData[128];   ///< Environment data.
    char userData[128];          ///< User data.
};

/// The trigger in characters: 732 bytes of text, to be handed to a program that is started. Text
/// fields are padded with blanks, and no byte is zero.
struct ZBTMC2 {
    char structureId[4];       ///< "TMC ".
    char version[4];           ///< "   2".
    char queueName[48];        ///< Name of the queue.
    char processName[48];      ///< Name of the process.
    char triggerData[64];      ///< Trigger data.
    char triggerWord168[4];    ///< The word in decimal, on the right; its first 4 characters.
    char applicationId[256];   ///< Identity of the application.
    char environmentData[128]; ///< Environment data.
    char userData[128];        ///< User data.
    char blankTail[48];        ///< Blanks.
};

/// A trigger: the whole content of a message that says which queue has work for which application.
/// Structure id "TM  ", announced by format "ZBTRIG  ".
///
///     ZebTrg trigger;
///     if (message.readItem(trigger)) {
///         ZBTMC2 parameter;
///         trigger.copyOut(&parameter);         // for the program that is to be started
///     }
///
/// A trigger is no header: nothing follows it, and writing it replaces all that the message held.
/// Reading leaves the message's description as it is.
///
/// Text fields are cut or padded with zero bytes when set, a null text fills them with zero bytes,
/// and they are read up to the first zero byte, without trailing blanks. A text cut short is not
/// reported.
///
/// Ownership: the record is held by value. On a new object bytes without a default of their own are
/// zero.
class ZEB_EXPORT ZebTrg : public ZebItm {
public:
    /// The default record: version 1, all texts empty.
    ZebTrg();
    /// Takes the source's codes and record.
    ZebTrg(const ZebTrg & source);
    ~ZebTrg() override;
    /// Makes the record the message's data. The former data are gone in any case; the description
    /// stays if there was no room at all. Codes: those of ZebCac::moreBytes and write, from the
    /// message.
    bool copyOut(ZebMsg & message) override;
    /// Takes 684 bytes from the cursor on. Codes, in this order of the tests:
    /// ZBRC_STRUCTURE_ID_ERROR, ZBRC_ENCODING_ERROR, ZBRC_INCONSISTENT_FORMAT; those of
    /// ZebCac::read, from the message. After a failure message and trigger are as they were.
    bool pasteIn(ZebMsg & message) override;
    /// Fills the application's record, all 732 bytes of it. Codes: ZBRC_NULL_POINTER.
    bool copyOut(ZBTMC2 * target);
    /// Takes the source's codes and record; on itself, nothing.
    void operator=(const ZebTrg & source);

    /// `queueName`; up to 48 characters.
    ZebStr queueName() const;
    /// Sets `queueName`; 48 bytes.
    void setQueueName(const char * name);
    /// `processName`; up to 48 characters.
    ZebStr processName() const;
    /// Sets `processName`; 48 bytes.
    void setProcessName(const char * name);
    /// `triggerData`; up to 64 characters.
    ZebStr triggerData() const;
    /// Sets `triggerData`; 64 bytes.
    void setTriggerData(const char * data);
    /// `applicationId`; up to 256 characters.
    ZebStr applicationId() const;
    /// Sets `applicationId`; 256 bytes.
    void setApplicationId(const char * id);
    /// `environmentData`; up to 128 characters.
    ZebStr environmentData() const;
    /// Sets `environmentData`; 128 bytes.
    void setEnvironmentData(const char * data);
    /// `userData`; up to 128 characters.
    ZebStr userData() const;
    /// Sets `userData`; 128 bytes.
    void setUserData(const char * data);

    /// `triggerWord168`, a word without a meaning here; 32 bits.
    std::int32_t triggerWord168() const;
    /// Sets `triggerWord168`.
    void setTriggerWord168(std::int32_t word);

private:
    ZBTM record_;
};

#endif
