// Qpid Proton, with messages and an output vector that are reused. The texts go into properties
// that every message has, which are cheaper than properties of the application.
#include "forms.hpp"

#include <proton/binary.hpp>
#include <proton/message.hpp>
#include <proton/value.hpp>
#include <vector>

namespace bench {

namespace {

std::string stringOf(Text text) {
    return {text.data, text.length};
}

class ProtonForm : public PlainTexts {
public:
    explicit ProtonForm(const std::string & body) : body_(body) {}

    void wrap() {
        letter_.to(stringOf(names.destinationQueueName));
        letter_.reply_to(stringOf(names.destinationQueueManagerName));
        letter_.subject(stringOf(names.putApplicationName));
        letter_.group_id(stringOf(names.putDate));
        letter_.reply_to_group_id(stringOf(names.putTime));
        letter_.content_type(stringOf(names.format));
        letter_.body(proton::binary(body_));
        letter_.encode(wrapped_);
    }

    template <class Take> void unwrap(Take take) {
        received_.decode(wrapped_);
        const auto body = proton::get<proton::binary>(received_.body());
        take(received_.to(), received_.reply_to(), received_.subject(), received_.group_id(),
             received_.reply_to_group_id(), received_.content_type(),
             std::string_view(reinterpret_cast<const char *>(body.data()), body.size()));
    }

private:
    std::string body_;
    proton::message letter_;
    proton::message received_;
    std::vector<char> wrapped_;
};

} // namespace

void registerProton() {
    registerForm<ProtonForm>("Qpid Proton");
}

} // namespace bench
