#include "letter.hpp"

#include <cstring>

namespace bench {

namespace {

Text text(const char * data) {
    return {data, std::strlen(data)};
}

} // namespace

// The letter stands in front of another one, so that the format before and after a wrap is the same
// and no measurement has to set it back.
const Names names{text("ORDERS.EUROPE.CENTRAL.INBOUND.PRIORITY"),
                  text("QM.FRANKFURT.PRIMARY"),
                  text("order-desk/nightly-batch"),
                  text("20240229"),
                  text("23595999"),
                  text("ZBDEAD  ")};

std::string makeBody(std::size_t size) {
    std::string body(size, '\0');
    for (std::size_t index = 0; index < size; ++index) {
        body[index] = static_cast<char>('!' + index % 90);
    }
    return body;
}

} // namespace bench
