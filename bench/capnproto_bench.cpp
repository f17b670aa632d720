// Cap'n Proto, with scratch space on the stack for the builder, and with a body that is referred to
// rather than copied into the builder. Texts are read where they lie.
#include "forms.hpp"
#include "letter.capnp.h"

#include <capnp/message.h>
#include <capnp/serialize.h>
#include <cstring>
#include <kj/array.h>
#include <kj/io.h>

namespace bench {

namespace {

kj::ArrayPtr<const capnp::word> wordsOf(const kj::Array<capnp::word> & words, std::size_t count) {
    return words.slice(0, count);
}

class CapnProtoForm {
public:
    explicit CapnProtoForm(const std::string & body)
        : bodyLength_(body.size()),
          body_(kj::heapArray<capnp::word>(body.size() / sizeof(capnp::word) + 1)),
          buffer_(kj::heapArray<capnp::word>(body.size() / sizeof(capnp::word) + 256)) {
        std::memcpy(body_.begin(), body.data(), body.size());
    }

    void wrap() {
        capnp::word scratch[128] = {};
        capnp::MallocMessageBuilder builder(kj::arrayPtr(scratch, 128));
        auto letter = builder.initRoot<capnproto::Letter>();
        const auto text = [](Text name) { return capnp::Text::Reader(name.data, name.length); };
        letter.setDestinationQueueName(text(names.destinationQueueName));
        letter.setDestinationQueueManagerName(text(names.destinationQueueManagerName));
        letter.setPutApplicationName(text(names.putApplicationName));
        letter.setPutDate(text(names.putDate));
        letter.setPutTime(text(names.putTime));
        letter.setFormat(text(names.format));
        const capnp::Data::Reader body(reinterpret_cast<const kj::byte *>(body_.begin()),
                                       bodyLength_);
        // A segment of its own for the body pays from some size on.
        if (bodyLength_ < 512) {
            letter.setBody(body);
        } else {
            letter.adoptBody(builder.getOrphanage().referenceExternalData(body));
        }
        kj::ArrayOutputStream out(buffer_.asBytes());
        capnp::writeMessage(out, builder);
        wordCount_ = out.getArray().size() / sizeof(capnp::word);
    }

    template <class Take> void unwrap(Take take) {
        capnp::FlatArrayMessageReader reader(wordsOf(buffer_, wordCount_));
        const auto letter = reader.getRoot<capnproto::Letter>();
        const auto body = letter.getBody();
        take(letter.getDestinationQueueName(), letter.getDestinationQueueManagerName(),
             letter.getPutApplicationName(), letter.getPutDate(), letter.getPutTime(),
             letter.getFormat(),
             std::string_view(reinterpret_cast<const char *>(body.begin()), body.size()));
    }

    static std::string_view viewOf(const capnp::Text::Reader & text) {
        return {text.begin(), text.size()};
    }

private:
    std::size_t bodyLength_;
    kj::Array<capnp::word> body_;
    kj::Array<capnp::word> buffer_;
    std::size_t wordCount_ = 0;
};

} // namespace

void registerCapnProto() {
    registerForm<CapnProtoForm>("Cap'n Proto");
}

} // namespace bench
