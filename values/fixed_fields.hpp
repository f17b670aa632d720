#ifndef VALUES_FIXED_FIELDS_HPP
#define VALUES_FIXED_FIELDS_HPP

#include "ZebBin.hpp"
#include "ZebStr.hpp"
#include "frame/report.hpp"
#include "values/text_copy.hpp"

/// How fields of fixed width are read and written: the same few rules for every record. The forms
/// over arrays take the width from the field itself.

namespace zeb {

inline constexpr char blankPad = ' ';
inline constexpr char zeroPad = '\0';

/// The field's text up to its first null, trailing blanks kept.
ZebStr fieldText(const char * field, std::size_t width);
/// The field's text without its trailing blanks.
ZebStr strippedFieldText(const char * field, std::size_t width);
/// The field's bytes, always in full width.
ZebBin fieldBytes(const unsigned char * field, std::size_t width);
/// Copies `width` bytes; null sets them to zero.
void setFieldBytes(unsigned char * field, std::size_t width, const unsigned char * bytes);
/// Takes a value of exactly `width` bytes; an empty one sets them to zero. Any other is reported as
/// told on `object`, and the field stays.
bool setFieldBytes(unsigned char * field, std::size_t width, const ZebBin & value, ZebErr & object,
                   const Report & wrongLength);

template <std::size_t Width> ZebStr fieldText(const char (&field)[Width]) {
    return fieldText(field, Width);
}
template <std::size_t Width> ZebStr strippedFieldText(const char (&field)[Width]) {
    return strippedFieldText(field, Width);
}
/// Fills the field with a text, cut or padded; a null text fills it with the pad.
template <std::size_t Width> void setFieldText(char (&field)[Width], const char * text, char pad) {
    copyText<WidthKind::known>(field, Width, text, nullptr, pad);
}
template <std::size_t Width> ZebBin fieldBytes(const unsigned char (&field)[Width]) {
    return fieldBytes(field, Width);
}
template <std::size_t Width>
void setFieldBytes(unsigned char (&field)[Width], const unsigned char * bytes) {
    setFieldBytes(field, Width, bytes);
}
template <std::size_t Width>
bool setFieldBytes(unsigned char (&field)[Width], const ZebBin & value, ZebErr & object,
                   const Report & wrongLength) {
    return setFieldBytes(field, Width, value, object, wrongLength);
}

} // namespace zeb

#endif
