#include "frame/item_protocol.hpp"

#include "frame/report.hpp"

#include <cstring>

namespace zeb {

namespace {

bool failPasteIn(ZebItm & item, const ItemFacts & facts, const char * text, std::int32_t reason) {
    return fail(item, facts.longName, "pasteIn", text, reason);
}

} // namespace

void describe(ZebMsg & message, const char * format) {
    message.setEncoding(nativeEncoding);
    message.setCharacterSet(0);
    message.setFormat(format);
}

bool isAnnounced(ZebItm & item, const ZebMsg & message, const ItemFacts & facts) {
    if (!ZebItm::structureIdIs(facts.structureId, message)) {
        return failPasteIn(item, facts, "wrong structure id", ZBRC_STRUCTURE_ID_ERROR);
    }
    if (message.encoding() != nativeEncoding) {
        return failPasteIn(item, facts, "wrong message encoding", ZBRC_ENCODING_ERROR);
    }
    // All 8 characters are there, so they can be compared at once.
    const auto & format = message.descriptor().format;
    if (std::memcmp(format, facts.format, sizeof format) != 0) {
        return failPasteIn(item, facts, "wrong message format", ZBRC_INCONSISTENT_FORMAT);
    }
    return true;
}

bool readBytes(ZebItm & item, ZebMsg & message, void * target, std::size_t length) {
    char * bytes = static_cast<char *>(target);
    return message.read(length, bytes) || failAs(item, message);
}

bool replaceData(ZebItm & item, ZebMsg & message, const char * format, const void * data,
                 std::size_t length) {
    message.clearMessage();
    if (!message.moreBytes(length)) {
        return failAs(item, message);
    }
    describe(message, format);
    return message.write(length, static_cast<const char *>(data)) || failAs(item, message);
}

} // namespace zeb
