#ifndef FRAME_ITEM_PROTOCOL_HPP
#define FRAME_ITEM_PROTOCOL_HPP

#include "ZebItm.hpp"
#include "ZebMsg.hpp"

/// The steps that items share when they go into a message and come out of one.

namespace zeb {

/// The one encoding that the library writes into a descriptor or accepts from one.
inline constexpr std::int32_t nativeEncoding = 546;

/// The library's own look at the data at the cursor, where there are any: as dataPointer(), but
/// nothing is handed out, so nothing has to be cleared for it.
struct CacheReader {
    static const char * dataOf(const ZebCac & cache) noexcept {
        return cache.bufferPointer_ + cache.dataOffset_;
    }
};

/// The facts of a class whose record stands in message data.
struct ItemFacts {
    const char * longName;    ///< As in trace messages.
    const char * structureId; ///< 4 characters.
    const char * format;      ///< 8 characters.
};

/// Makes the descriptor describe the item: encoding 546, character set 0 and this format.
void describe(ZebMsg & message, const char * format);

/// The tests that come first in pasteIn: structure id, encoding, format, in this order. A no is
/// reported on the item alone.
bool isAnnounced(ZebItm & item, const ZebMsg & message, const ItemFacts & facts);

/// Reads `length` bytes from the cursor to `target`; a failure is the message's, and the item takes
/// over its codes.
bool readBytes(ZebItm & item, ZebMsg & message, void * target, std::size_t length);

/// copyOut of a value or trigger: these bytes take the place of whatever the message holds.
bool replaceData(ZebItm & item, ZebMsg & message, const char * format, const void * data,
                 std::size_t length);

} // namespace zeb

#endif
