#include "message/header_protocol.hpp"

#include "frame/pointer_check.hpp"
#include "frame/report.hpp"
#include "frame/storage.hpp"

#include <algorithm>
#include <cstring>
#include <memory>

namespace zeb {

namespace {

struct Release {
    void operator()(char * block) const noexcept { releaseBlock(block); }
};
using Block = std::unique_ptr<char, Release>;

constexpr Report noStorage{"ZebCache::resizeBuffer (error): storage not available",
                           ZBRC_STORAGE_NOT_AVAILABLE};

} // namespace

/// Puts a header in front of the message in a buffer, with one move of the body.
///
/// The result is that of these steps: make room for the header at the cursor, copy the message
/// aside, clear it, write the header, write the copy behind it. Buffer length, codes, trace and the
/// checks of every range come out the same; but the body is not copied aside. Where the buffer
/// stays, the body is moved within it; where those steps would make it grow, once or twice, a
/// buffer of the final length is had first, and the body goes straight to its place in it. So
/// storage that can't be had is known before anything has changed.
class FrontWriter {
public:
    FrontWriter(ZebCac & cache, std::size_t frontLength)
        : cache_(cache), frontLength_(frontLength) {}

    /// Obtains the room; a failure is reported on the buffer, which is then unchanged.
    bool makeRoom();

    /// Clears the message and writes header and body; a failure is reported on the buffer, which
    /// then holds what was written so far.
    bool write(std::initializer_list<HeaderPiece> pieces);

private:
    bool accept(const void * source, std::size_t length);
    bool acceptBody(const char * body, std::size_t length);

    ZebCac & cache_;
    std::size_t frontLength_;
    std::size_t frontRoom_ = 0; // the buffer's length once there is room for the header
    Block grown_;
    std::size_t grownLength_ = 0;
};

bool FrontWriter::makeRoom() {
    std::size_t length = cache_.bufferLength_;
    if (frontLength_ > length - cache_.dataOffset_ &&
        (!cache_.automaticBuffer_ ||
         !ZebCac::grownLength(length, cache_.dataOffset_, frontLength_, length))) {
        return cache_.moreBytes(frontLength_);
    }
    frontRoom_ = length;
    const std::size_t body = cache_.messageLength_;
    if (cache_.automaticBuffer_ && body > length - frontLength_) {
        // Header and body both lie in memory, so their sum does not wrap.
        ZebCac::grownLength(length, frontLength_, body, length);
    }
    if (length == cache_.bufferLength_) {
        return true;
    }
    grown_.reset(obtainBlock(length));
    if (grown_ == nullptr) {
        return report(cache_, noStorage);
    }
    if (body != 0) {
        std::memcpy(grown_.get() + frontLength_, cache_.bufferPointer_, body);
    }
    grownLength_ = length;
    return true;
}

/// Whether the next `length` bytes may go to the cursor, which then moves behind them.
bool FrontWriter::accept(const void * source, std::size_t length) {
    if (length == 0) {
        return true;
    }
    if (!mayRead(cache_, source, length) ||
        !mayWrite(cache_, cache_.bufferPointer_ + cache_.dataOffset_, length)) {
        return false;
    }
    cache_.dataOffset_ += length;
    cache_.messageLength_ = cache_.dataOffset_;
    return true;
}

bool FrontWriter::acceptBody(const char * body, std::size_t length) {
    return cache_.moreBytes(length) && accept(body, length);
}

bool FrontWriter::write(std::initializer_list<HeaderPiece> pieces) {
    const bool inPlace = grown_ == nullptr;
    const std::size_t bodyLength = cache_.messageLength_;
    cache_.clearMessage();
    if (!inPlace) {
        cache_.adopt(grown_.release(), grownLength_);
    }
    const char * const body = cache_.bufferPointer_ + (inPlace ? 0 : frontLength_);

    // Every range is asked for before a byte moves: the header's place and the body's overlap.
    const auto * const refused =
        std::find_if_not(pieces.begin(), pieces.end(), [this](const HeaderPiece & piece) {
            return accept(piece.data, piece.length);
        });
    if (refused != pieces.end()) {
        // The growth for the body would not have come yet: the block is longer than is told.
        cache_.bufferLength_ = frontRoom_;
    }
    const bool whole = refused == pieces.end() && acceptBody(body, bodyLength);
    if (whole && inPlace && bodyLength != 0) {
        std::memmove(cache_.bufferPointer_ + frontLength_, body, bodyLength);
    }
    char * target = cache_.bufferPointer_;
    for (const auto * piece = pieces.begin(); piece != refused; ++piece) {
        if (piece->length != 0) {
            std::memcpy(target, piece->data, piece->length);
            target += piece->length;
        }
    }
    return whole;
}

namespace {

constexpr std::size_t formatWidth = 8;

/// The text of a format field, for a setter of one: no block is needed for it.
struct FormatText {
    explicit FormatText(const char (&field)[formatWidth]) {
        std::memcpy(text, field, sizeof field);
        text[sizeof field] = '\0';
    }
    char text[formatWidth + 1];
};

/// Sets what format() of the field's owner would give, without a block for it.
template <class Target> void passFormat(const char (&field)[formatWidth], Target & target) {
    ZebErr codesOfTheText;
    target.setFormat(mayRead(codesOfTheText, field, sizeof field) ? FormatText(field).text
                                                                  : nullptr);
}

/// Moves the description from the message into the header, and makes it that of the header.
void passDescription(ZebHdr & header, ZebMsg & message, const char * format) {
    header.setEncoding(message.encoding());
    header.setCharacterSet(message.characterSet());
    passFormat(message.descriptor().format, header);
    describe(message, format);
}

/// The steps one by one, with the body aside: a class of the application's own may do anything to
/// the message in its setters.
bool writeStepwise(ZebHdr & header, ZebMsg & message, const char * format, std::size_t length,
                   std::initializer_list<HeaderPiece> pieces) {
    if (!message.moreBytes(length)) {
        return false;
    }
    const std::size_t bodyLength = message.messageLength();
    const Block body(obtainBlock(bodyLength));
    if (body == nullptr) {
        return report(message, noStorage);
    }
    std::copy_n(message.bufferPointer(), bodyLength, body.get());
    passDescription(header, message, format);
    message.clearMessage();
    return std::all_of(pieces.begin(), pieces.end(),
                       [&message](const HeaderPiece & piece) {
                           return message.write(piece.length,
                                                static_cast<const char *>(piece.data));
                       }) &&
           message.write(bodyLength, body.get());
}

} // namespace

bool writeHeader(ZebHdr & header, ZebMsg & message, const std::type_info & ownClass,
                 const char * format, std::initializer_list<HeaderPiece> pieces) {
    std::size_t length = 0;
    for (const HeaderPiece & piece : pieces) {
        length += piece.length;
    }
    if (typeid(header) != ownClass) {
        return writeStepwise(header, message, format, length, pieces) || failAs(header, message);
    }
    FrontWriter front(message, length);
    if (!front.makeRoom()) {
        return failAs(header, message);
    }
    passDescription(header, message, format);
    return front.write(pieces) || failAs(header, message);
}

void handOn(const ZebHdr & header, ZebMsg & message, const std::type_info & ownClass,
            const char (&formatField)[formatWidth]) {
    message.setEncoding(header.encoding());
    message.setCharacterSet(header.characterSet());
    if (typeid(header) == ownClass) {
        passFormat(formatField, message);
        return;
    }
    const ZebStr format = header.format();
    if (format.text() == nullptr && format.reasonCode() == ZBRC_STORAGE_NOT_AVAILABLE) {
        // Without storage for the text the record still has it: no description gets lost.
        message.setFormat(FormatText(formatField).text);
    } else {
        message.setFormat(format.text());
    }
}

} // namespace zeb
