#include "values/fixed_fields.hpp"

#include <cstring>

namespace zeb {

// Flattened, as nearly all reading of records ends here: the string is new, so most of what set has
// to think of falls away.
[[gnu::flatten]] ZebStr fieldText(const char * field, std::size_t width) {
    ZebStr text;
    text.set(field, width);
    return text;
}

struct FieldReader {
    // As set and stripTrailing, but the end of the text is looked for once, and blanks in the
    // field: the copy's bytes are not yet to be had when they have just been written.
    static void takeStripped(ZebStr & text, const char * field, std::size_t width) {
        std::size_t end = 0;
        text.take(field, width, end);
        const std::size_t stripped = strippedEnd(field, end, blankPad);
        if (stripped != end) {
            text.text_[stripped] = '\0';
        }
    }
};

[[gnu::flatten]] ZebStr strippedFieldText(const char * field, std::size_t width) {
    ZebStr text;
    FieldReader::takeStripped(text, field, width);
    return text;
}

ZebBin fieldBytes(const unsigned char * field, std::size_t width) {
    return ZebBin(field, width);
}

void setFieldBytes(unsigned char * field, std::size_t width, const unsigned char * bytes) {
    if (bytes == nullptr) {
        std::memset(field, 0, width);
    } else {
        std::memmove(field, bytes, width);
    }
}

bool setFieldBytes(unsigned char * field, std::size_t width, const ZebBin & value, ZebErr & object,
                   const Report & wrongLength) {
    if (value.dataLength() != width && value.dataLength() != 0) {
        return report(object, wrongLength);
    }
    setFieldBytes(field, width, static_cast<const unsigned char *>(value.dataPointer()));
    return true;
}

} // namespace zeb
