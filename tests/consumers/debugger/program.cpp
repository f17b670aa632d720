#include <zebbase.hpp>

// Where the debugger stops, with all of these to look at.
void look(const ZebStr &, const ZebBin &, const ZebCac &, const ZebMsg &) {}

int main() {
    ZebStr text("GROCER.ORDERS");
    ZebStr none;
    ZebBin bytes("\1\2\377", 3);
    char memory[16] = {};
    ZebCac cache;
    cache.useEmptyBuffer(memory, sizeof memory);
    cache.write(2, "ab");
    cache.resizeBuffer(3);
    ZebMsg message;
    message.setUserId("GROCER");
    message.write(10, "3 x lemons");
    message.setDataOffset(4);
    ZebGmo options;
    ZebGmo3 options3;
    ZebChl channel;
    channel.setChannelName("ORDERS.CLIENT");
    ZebTrg trigger;
    ZBTMC2 characters;
    trigger.copyOut(&characters);
    ZBDLH deadLetter{};
    ZBTIH bridge{};
    ZBHIH bridge2{};
    ZBWIH work{};
    ZBRMH reference{};
    bridge.facilityToken[7] = 0xaa;
    look(text, bytes, cache, message);
    return none.storage() != 0;
}
