#ifndef MESSAGE_HEADER_PROTOCOL_HPP
#define MESSAGE_HEADER_PROTOCOL_HPP

#include "ZebHdr.hpp"
#include "frame/item_protocol.hpp"

#include <initializer_list>
#include <typeinfo>

/// What all headers do when they go in front of a message's data and when they are taken from the
/// front. A class brings its facts and its record.

namespace zeb {

/// A run of bytes of a header: its record, or a text behind it.
struct HeaderPiece {
    const void * data;
    std::size_t length;
};

/// copyOut of a header whose bytes are these pieces, one behind the other. `ownClass` is the class
/// that writes: an object of a class that derives from it goes each step by itself.
bool writeHeader(ZebHdr & header, ZebMsg & message, const std::type_info & ownClass,
                 const char * format, std::initializer_list<HeaderPiece> pieces);

/// Hands the header's description on to the message: the last step of every pasteIn of a header.
/// An object of `ownClass` itself has its format in `formatField`, the record's 8 bytes, and
/// nothing is asked. A class that derives from it may give another by its format(); should that get
/// no storage, the record's serves.
void handOn(const ZebHdr & header, ZebMsg & message, const std::type_info & ownClass,
            const char (&formatField)[8]);

/// pasteIn of a header that is nothing but a record of fixed length.
template <class Header, class Record>
bool readHeader(Header & header, ZebMsg & message, const ItemFacts & facts, Record & record) {
    if (!isAnnounced(header, message, facts) ||
        !readBytes(header, message, &record, sizeof record)) {
        return false;
    }
    handOn(header, message, typeid(Header), record.format);
    return true;
}

} // namespace zeb

#endif
