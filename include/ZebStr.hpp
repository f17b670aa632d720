#ifndef ZEBSTR_HPP
#define ZEBSTR_HPP

#include "ZebItm.hpp"

namespace zeb {
struct FieldReader;
}

/// A text: one block of 8-bit characters on the heap that ends in a null.
///
///     ZebStr name("ORDERS");
///     name += ".EUROPE";
///     std::puts(name.text());                  // ORDERS.EUROPE
///     char field[48];
///     name.copyOut(field, sizeof field, ' ');  // filled to 48 bytes with blanks
///
/// The length is never stored: it is counted up to the first null each time. A block may be longer
/// than its text (setStorage, set); it always holds a null, and what it holds behind the first one
/// is no part of the text. An empty text has no block or one that begins with a null; only text()
/// and storage() tell the two apart. There is no code page: characters are bytes.
///
/// Ownership. The string owns its block; a copy has a block of its own of the same size. A pointer
/// from text() is good until the string is next changed. Pointers into the string's own block may
/// be handed to set and pasteIn.
///
/// Failures leave the text as it was, unless an operation says otherwise. Storage that can't be had
/// is always a code (ZBRC_STORAGE_NOT_AVAILABLE), never an exception.
///
/// As a message item a text is the whole data of a message, with format "ZBSTR   " and no
/// terminator. Writing replaces the data; reading takes everything from the cursor on.
class ZEB_EXPORT ZebStr : public ZebItm {
public:
    /// No block.
    ZebStr();
    /// A block of 2 bytes: the character and a null; no block, and ZBRC_STORAGE_NOT_AVAILABLE as a
    /// warning, where they can't be had.
    ZebStr(char character);
    /// A copy of a null-terminated text; no block for null or an empty text. Codes:
    /// ZBRC_STORAGE_NOT_AVAILABLE, a warning, and then no block.
    ZebStr(const char * text);
    /// The `length` bytes at `bytes`, as pasteIn takes them.
    ZebStr(const void * bytes, std::size_t length);
    /// A block of the source's size with the source's bytes, and the source's codes.
    ZebStr(const ZebStr & source);
    ~ZebStr() override;
    /// Takes the source's codes and a copy of its block. Codes: as setStorage. On itself, nothing.
    void operator=(const ZebStr & source);

    /// Characters before the first null.
    std::size_t length() const;
    /// The block, or null where there is none.
    const char * text() const { return text_; }
    /// Bytes in the block.
    std::size_t storage() const { return storageSize_; }
    /// Gives the string a block of exactly `size` bytes, longer or shorter, and carries over what
    /// it can; a text that does not fit is cut so that the last byte is a null. New bytes are zero.
    /// 0 releases the block. Codes: ZBRC_STORAGE_NOT_AVAILABLE.
    bool setStorage(std::size_t size);
    /// Takes all `length` bytes of a field, and a null behind them where they hold none; `length` 0
    /// releases the block. Codes: ZBRC_NULL_POINTER, ZBRC_BUFFER_ERROR, ZBRC_STORAGE_NOT_AVAILABLE.
    bool set(const char * text, std::size_t length);
    /// Appends `length` bytes, with "." in place of each null among them. The block is then exactly
    /// one byte longer than the text. Codes: as set.
    bool pasteIn(const void * bytes, std::size_t length);

    /// Fills `width` bytes at `target` with `source`, cut at the width or followed by `pad`; no
    /// terminator. A null source counts as empty. Reports on `error`: ZBRC_TARGET_BUFFER_ERROR,
    /// ZBRC_SOURCE_BUFFER_ERROR (its first byte is checked), ZBRC_NULL_POINTER for a null target;
    /// ZBRC_DATA_TRUNCATED, a warning, result true. Safe from any number of threads.
    static bool copy(char * target, std::size_t width, const char * source, ZebErr & error,
                     char pad);
    /// The same for fields whose setters report nothing: the source is not checked, a target that
    /// may not be written is ZBRC_BUFFER_ERROR, and codes land in a process-wide pair that only
    /// copyOut to a character array reads. Safe from any number of threads.
    static bool copy(char * target, std::size_t width, const char * source, char pad);
    /// Fills `width` bytes at `target` with the text, as the second copy does, under the
    /// process-wide string lock. This string's codes are then those of this copy alone, 0 if it
    /// reported nothing; ZBRC_UNEXPECTED_ERROR where the lock can't be had.
    bool copyOut(char * target, std::size_t width, char pad);

    /// Makes the text the message's data: format "ZBSTR   ", encoding 546, character set 0. The
    /// former data are gone in any case. Codes: those of ZebCac::moreBytes and write, from the
    /// message.
    bool copyOut(ZebMsg & message) override;
    /// Takes all data from the cursor on as the text; a message without data leaves the text as it
    /// is. Codes: ZBRC_INCONSISTENT_FORMAT, ZBRC_STORAGE_NOT_AVAILABLE; those of ZebCac::read, from
    /// the message. After a failure for want of storage the text is the old one or empty, and the
    /// message is as it was.
    bool pasteIn(ZebMsg & message) override;

    /// Compares bytes as unsigned: -1, 0 or 1. A text that begins another is the lower one.
    std::int16_t compare(const ZebStr & other) const;
    /// Whether `target` occurs in this text; an empty one always does.
    bool find(const ZebStr & target) const;
    /// Whether `target` occurs at or behind `offset`, which then is its place. Not found: `offset`
    /// is unchanged if the target reaches past the end at once, else one past the last place tried.
    bool find(const ZebStr & target, std::size_t & offset) const;
    /// The piece of `length` characters at `offset`; `length` 0 means up to the end. Empty where it
    /// reaches past the end. Codes, on the result: ZBRC_STORAGE_NOT_AVAILABLE.
    ZebStr operator()(std::size_t offset, std::size_t length) const;
    /// A copy in upper case under the current locale, with this string's codes.
    ZebStr upperCase() const;
    /// Removes every `character` at the front; the block is made anew and the codes are those of
    /// the piece that stays. Returns how many were removed; 0, with a trace, for a null character.
    std::size_t stripLeading(char character);
    /// Removes every `character` at the end, in the block. Returns as stripLeading; codes stay.
    std::size_t stripTrailing(char character);

    /// Sets `token` to the first run of characters that are not `delimiter`. Returns the offset
    /// behind it, or 0 if there is none and `token` is as it was.
    std::size_t copyOut(ZebStr & token, char delimiter) const;
    /// As copyOut, and removes the token and the delimiters before it from this string; those
    /// behind it as well unless the delimiter is a blank. Returns how many characters left this
    /// string.
    std::size_t cutOut(ZebStr & token, char delimiter);
    /// Reads a decimal number behind tabs and blanks, with at most one sign. Returns the characters
    /// passed over, or 0 if there is no number and `number` is as it was. More digits than 32 bits
    /// hold give the nearest 32-bit number.
    std::size_t copyOut(std::int32_t & number) const;
    /// As copyOut, and removes the characters passed over.
    std::size_t cutOut(std::int32_t & number);
    /// Appends the number in decimal. The result tells of the conversion; codes: as operator +=.
    bool pasteIn(std::int32_t number);
    /// Appends the number under a `printf` format for one double, however long that gets. "***" and
    /// false where the format gives nothing or is null, or a long text has no storage to grow in.
    bool pasteIn(double number, const char * format);

    /// This text and the operand behind it; block of exactly length plus 1, or none if both are
    /// empty. Codes, on the result: ZBRC_STORAGE_NOT_AVAILABLE, a warning, and then it is empty.
    ZebStr operator+(const ZebStr & right) const;
    /// As with a string.
    ZebStr operator+(char right) const;
    /// A copy of this string, appended to as by operator +=. A copy that can't be had is missing
    /// from the result, whose codes then don't tell.
    ZebStr operator+(const char * right) const;
    /// As with a text; decimal.
    ZebStr operator+(std::int32_t right) const;
    /// As with a text; as by "%f".
    ZebStr operator+(double right) const;
    /// Replaces this string by itself and the operand: its codes are those of the result, and its
    /// text is lost where that can't be had (ZBRC_STORAGE_NOT_AVAILABLE, a warning).
    void operator+=(const ZebStr & right);
    /// As with a string.
    void operator+=(char right);
    /// As with a string; an operand that can't be had adds nothing.
    void operator+=(const char * right);
    /// As with a text; decimal.
    void operator+=(std::int32_t right);
    /// As with a text; as by "%f".
    void operator+=(double right);

protected:
    /// Takes a copy of the source's block; codes as setStorage, else untouched.
    bool assign(const ZebStr & source);

private:
    friend struct zeb::FieldReader;

    ZEB_LOCAL const ZebStr concatenate(const ZebStr & left, const ZebStr & right) const;
    ZEB_LOCAL bool obtain(std::size_t size, char *& block);
    ZEB_LOCAL void adopt(char * block, std::size_t size) noexcept;
    ZEB_LOCAL void replaceBy(ZebStr & source);
    /// The steps of set; tells where the text ends.
    ZEB_LOCAL bool take(const char * text, std::size_t length, std::size_t & end);
    ZEB_LOCAL std::size_t numberEnd(std::int32_t & number) const noexcept;

    char * text_ = nullptr;
    std::size_t storageSize_ = 0;
};

/// `left` and `right` behind it; as ZebStr::operator +.
inline ZebStr operator+(const char * left, const ZebStr & right) {
    return ZebStr(left) + right;
}

/// Whether the character is a tab or a blank.
ZEB_EXPORT bool WhiteSpace(char character);

extern "C" {
/// Releases the process-wide string lock, if it was made. The library's unload step calls it; any
/// other caller sees to it that no thread is in the library.
ZEB_EXPORT void ZebStrCleanUp();
}

#endif
