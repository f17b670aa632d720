#ifndef ZEBBIN_HPP
#define ZEBBIN_HPP

#include "ZebItm.hpp"

/// A byte string: a run of bytes with an explicit length, without terminator or meaning.
///
///     unsigned char id[24] = {1};
///     message.setMessageId(ZebBin(id, sizeof id));
///     bool none = message.correlationId().isNull();   // true while every byte is zero
///
/// Ownership. The object owns its block, which has exactly the length of the data.
///
/// Failures leave the data as they were, unless an operation says otherwise. Storage that can't be
/// had is always a code (ZBRC_STORAGE_NOT_AVAILABLE), never an exception.
///
/// As a message item a byte string is the whole data of a message, with a format of 8 blanks.
class ZEB_EXPORT ZebBin : public ZebItm {
public:
    /// No data.
    ZebBin();
    /// As set; a failure stands in the codes.
    ZebBin(const void * data, std::size_t length);
    /// A copy of the source's data and codes; empty where storage can't be had.
    ZebBin(const ZebBin & source);
    ~ZebBin() override;
    /// Takes the source's codes and a copy of its data. On itself, nothing. Codes:
    /// ZBRC_STORAGE_NOT_AVAILABLE, and then the data stay.
    void operator=(const ZebBin & source);
    /// Whether lengths and bytes are equal; codes play no part.
    bool operator==(const ZebBin & other) const;

    /// Takes `length` bytes at `data`; 0 empties the object. Codes: ZBRC_BUFFER_ERROR,
    /// ZBRC_STORAGE_NOT_AVAILABLE.
    bool set(const void * data, std::size_t length);
    /// Makes the data `length` bytes long: zero bytes, unless that is the present length and
    /// nothing changes. Codes: ZBRC_STORAGE_NOT_AVAILABLE.
    bool setDataLength(std::size_t length);
    /// Fills `length` bytes at `target`: the data, cut or followed by `pad`, without a warning.
    /// Codes: ZBRC_BUFFER_ERROR, ZBRC_NO_BUFFER for a null target.
    bool copyOut(void * target, std::size_t length, char pad);
    /// Makes the bytes the message's data: format 8 blanks, encoding 546, character set 0. The
    /// former data are gone in any case. Codes: those of ZebCac::moreBytes and write, from the
    /// message.
    bool copyOut(ZebMsg & message) override;
    /// Takes all data from the cursor on; none empty the object. Codes: ZBRC_INCONSISTENT_FORMAT,
    /// ZBRC_STORAGE_NOT_AVAILABLE; those of ZebCac::read, from the message, and then a block that
    /// had to be changed for it holds zero bytes.
    bool pasteIn(ZebMsg & message) override;

    /// Whether there are no data or every byte of them is 0.
    bool isNull() const;
    /// Number of bytes.
    std::size_t dataLength() const { return dataLength_; }
    /// The bytes, null where there are none; good until the object is next changed.
    const void * dataPointer() const { return dataPointer_; }

protected:
    /// Releases the data; codes stay.
    void clear();

private:
    ZEB_LOCAL bool changeLength(std::size_t length);

    unsigned char * dataPointer_ = nullptr;
    std::size_t dataLength_ = 0;
};

#endif
