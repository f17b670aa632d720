// Protocol Buffers, with messages and an output buffer that are reused: the strings in them keep
// their storage. The texts have no code page and are bytes, which spares their check. Large data
// are better kept out of a message: the body stands behind it, and its length ahead.
#include "forms.hpp"
#include "letter.pb.h"

#include <cstring>
#include <vector>

namespace bench {

namespace {

class ProtobufForm : public PlainTexts {
public:
    explicit ProtobufForm(const std::string & body) : body_(body), buffer_(1024 + body.size()) {}

    void wrap() {
        assign(letter_.mutable_destination_queue_name(), names.destinationQueueName);
        assign(letter_.mutable_destination_queue_manager_name(), names.destinationQueueManagerName);
        assign(letter_.mutable_put_application_name(), names.putApplicationName);
        assign(letter_.mutable_put_date(), names.putDate);
        assign(letter_.mutable_put_time(), names.putTime);
        assign(letter_.mutable_format(), names.format);
        const std::size_t length = letter_.ByteSizeLong();
        std::memcpy(buffer_.data(), &length, sizeof length);
        letter_.SerializeToArray(buffer_.data() + sizeof length, static_cast<int>(length));
        std::memcpy(buffer_.data() + sizeof length + length, body_.data(), body_.size());
    }

    template <class Take> void unwrap(Take take) {
        std::size_t length = 0;
        std::memcpy(&length, buffer_.data(), sizeof length);
        received_.ParseFromArray(buffer_.data() + sizeof length, static_cast<int>(length));
        take(received_.destination_queue_name(), received_.destination_queue_manager_name(),
             received_.put_application_name(), received_.put_date(), received_.put_time(),
             received_.format(),
             std::string_view(buffer_.data() + sizeof length + length, body_.size()));
    }

private:
    static void assign(std::string * field, Text text) { field->assign(text.data, text.length); }

    std::string body_;
    std::vector<char> buffer_;
    protobuf::Letter letter_;
    protobuf::Letter received_;
};

} // namespace

void registerProtobuf() {
    registerForm<ProtobufForm>("Protobuf");
}

} // namespace bench
