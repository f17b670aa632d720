#ifndef ZEBCAC_HPP
#define ZEBCAC_HPP

#include "ZebErr.hpp"

namespace zeb {
class FrontWriter;
struct CacheReader;
} // namespace zeb

/// A byte buffer with a message in it: a block of memory, how much of it is message data, and a
/// cursor at which the next read or write begins.
///
///     ZebCac cache;
///     cache.write(5, "hello");     // buffer of 5 bytes, cursor behind them
///     cache.setDataOffset(0);
///     char bytes[5];
///     char * target = bytes;
///     cache.read(5, target);       // true, cursor behind them again
///
/// At the return of every operation: dataOffset() <= messageLength() <= bufferLength().
///
/// Ownership. An automatic buffer belongs to the object: it comes from array allocation, grows as
/// needed and is released by the object. A user buffer, taken by useEmptyBuffer or useFullBuffer,
/// belongs to the application: it is used in place, never resized and never released, must outlive
/// its use, and must not be touched by others meanwhile. Running out of room in it is a named error
/// (ZBRC_INSUFFICIENT_BUFFER, ZBRC_BUFFER_NOT_AUTOMATIC).
///
/// Failures leave buffer, counters and data as they were, unless an operation says otherwise.
/// A message made longer by setMessageLength or setDataOffset shows what the buffer holds there:
/// earlier message data, or what the application put there through bufferPointer() or
/// dataPointer(). Storage that nobody has written yet shows as zero bytes.
class ZEB_EXPORT ZebCac : public virtual ZebErr {
public:
    /// Empty and automatic, with no buffer yet; all counters 0.
    ZebCac();
    /// An automatic copy of the source's message, cursor and codes; its buffer has exactly the
    /// length of the message.
    ZebCac(const ZebCac & source);
    ~ZebCac() override;
    /// Copies the source's codes, message (from its first byte) and cursor. The kind of this buffer
    /// stays, and it is never made smaller. Where it stays too short: ZBRC_DATA_TRUNCATED, a
    /// warning, with as much of the message as fits; a cursor behind the end of a user buffer then
    /// ends in ZBRC_BUFFER_NOT_AUTOMATIC. On itself, nothing.
    void operator=(const ZebCac & source);

    /// Takes `length` bytes of the application's memory as a buffer without a message. They must
    /// not lie in the object's automatic buffer, which is released. With length 0 the pointer is
    /// not looked at: a user buffer is given up, an automatic one kept, the message empty. Codes:
    /// ZBRC_NULL_POINTER, ZBRC_BUFFER_ERROR (the range must be readable).
    bool useEmptyBuffer(const char * externalBuffer, std::size_t length);
    /// As useEmptyBuffer, and all `length` bytes are message data; the cursor is 0.
    bool useFullBuffer(const char * externalBuffer, std::size_t length);
    /// Makes an automatic buffer exactly `length` bytes long; 0 releases it. Codes:
    /// ZBRC_BUFFER_NOT_AUTOMATIC (also for the present length), ZBRC_STORAGE_NOT_AVAILABLE; below
    /// messageLength() the message is cut: ZBRC_DATA_TRUNCATED, a warning, result true.
    bool resizeBuffer(std::size_t length);
    /// Makes sure that `bytesRequired` bytes fit from the cursor on. The first growth is exact,
    /// each later one at least doubles. Codes: ZBRC_INSUFFICIENT_BUFFER,
    /// ZBRC_STORAGE_NOT_AVAILABLE.
    bool moreBytes(std::size_t bytesRequired);
    /// Declares the first `length` bytes of the buffer message data; grows an automatic buffer to
    /// exactly that where needed. The cursor is pulled back to the end. Codes: as resizeBuffer.
    bool setMessageLength(std::size_t length);
    /// Moves the cursor to `offset`, counted from the start of the buffer. Behind the message's end
    /// this lengthens the message. Codes: as setMessageLength.
    bool setDataOffset(std::size_t offset);
    /// messageLength() and dataOffset() become 0; buffer and codes stay.
    void clearMessage();
    /// Copies `length` bytes from the cursor to the application's memory and moves the cursor; the
    /// pointer itself is not changed. Codes: ZBRC_INSUFFICIENT_DATA, ZBRC_NULL_POINTER,
    /// ZBRC_BUFFER_ERROR.
    bool read(std::size_t length, char *& externalBuffer);
    /// Copies `length` bytes of the application's memory to the cursor and moves the cursor; makes
    /// room as moreBytes does, overwrites what stands there, and lengthens the message where it
    /// passes its end. The memory may lie in the buffer itself, also where that grows. Codes: those
    /// of moreBytes, ZBRC_NULL_POINTER, ZBRC_BUFFER_ERROR; growth stands also where the pointer is
    /// then refused.
    bool write(std::size_t length, const char * externalBuffer);

    /// Bytes from the cursor to the end of the message; 0 without a buffer.
    std::size_t dataLength() const;
    /// Start of the buffer, null where there is none.
    char * bufferPointer() const;
    /// Size of the buffer in bytes.
    std::size_t bufferLength() const;
    /// How many bytes from the start of the buffer are message data.
    std::size_t messageLength() const;
    /// The cursor, in bytes from the start of the buffer.
    std::size_t dataOffset() const;
    /// The place in memory at the cursor; null without a buffer.
    char * dataPointer() const;
    /// True while the buffer belongs to the object, false for a user buffer.
    bool automaticBuffer() const;

private:
    friend class zeb::FrontWriter;
    friend struct zeb::CacheReader;

    /// The growth rule of moreBytes. False where the sum wraps around.
    ZEB_LOCAL static bool grownLength(std::size_t bufferLength, std::size_t dataOffset,
                                      std::size_t bytesRequired, std::size_t & length) noexcept;
    ZEB_LOCAL void adopt(char * block, std::size_t length) noexcept;
    ZEB_LOCAL void noteDefined(std::size_t length) const noexcept;
    ZEB_LOCAL void defineUpTo(std::size_t length) const noexcept;

    char * bufferPointer_ = nullptr;
    std::size_t dataOffset_ = 0;
    std::size_t bufferLength_ = 0;
    std::size_t messageLength_ = 0;
    bool automaticBuffer_ = true;
    // How many bytes of the buffer somebody has written, or may have: what lies behind them is raw
    // storage and is set to zero before anyone can see it.
    mutable std::size_t definedLength_ = 0;
};

#endif
