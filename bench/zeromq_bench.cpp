// ZeroMQ framing: a frame for each text and one for the body, encoded as one message and back. The
// body's frame refers to the body where it lies.
#include "forms.hpp"

#include <zmq.hpp>
#include <zmq_addon.hpp>

namespace bench {

namespace {

class ZeroMqForm : public PlainTexts {
public:
    explicit ZeroMqForm(const std::string & body) : body_(body) {}

    void wrap() {
        zmq::multipart_t parts;
        const auto add = [&parts](Text text) { parts.addmem(text.data, text.length); };
        add(names.destinationQueueName);
        add(names.destinationQueueManagerName);
        add(names.putApplicationName);
        add(names.putDate);
        add(names.putTime);
        add(names.format);
        parts.add(zmq::message_t(body_.data(), body_.size(), nullptr));
        wrapped_ = parts.encode();
    }

    template <class Take> void unwrap(Take take) {
        zmq::multipart_t parts = zmq::multipart_t::decode(wrapped_);
        const auto text = [&parts](std::size_t index) { return parts[index].to_string(); };
        take(text(0), text(1), text(2), text(3), text(4), text(5), parts[6].to_string_view());
    }

private:
    std::string body_;
    zmq::message_t wrapped_;
};

} // namespace

void registerZeroMq() {
    registerForm<ZeroMqForm>("ZeroMQ");
}

} // namespace bench
