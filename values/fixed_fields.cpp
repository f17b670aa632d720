#include "values/fixed_fields.hpp"

#include <cstring>

namespace zeb {

ZebStr fieldText(const char * field, std::size_t width) {
    ZebStr text;
    text.set(field, width);
    return text;
}

// As set and stripTrailing, but the end of the text is looked for once.
struct FieldReader {
    static void takeStripped(ZebStr & text, const char * field, std::size_t width) {
        std::size_t end = 0;
        text.take(field, width, end);
        text.stripBefore(end, blankPad);
    }
};

ZebStr strippedFieldText(const char * field, std::size_t width) {
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
