// MessagePack, with a packer on a buffer that is reused, and an unpacker that refers to the texts
// and the body where they lie.
#include "forms.hpp"

#include <msgpack.hpp>

namespace bench {

namespace {

class MessagePackForm : public PlainTexts {
public:
    explicit MessagePackForm(const std::string & body) : body_(body), buffer_(1024 + body.size()) {}

    void wrap() {
        buffer_.clear();
        msgpack::packer<msgpack::sbuffer> packer(buffer_);
        const auto pack = [&packer](Text text) {
            const auto length = static_cast<std::uint32_t>(text.length);
            packer.pack_str(length).pack_str_body(text.data, length);
        };
        packer.pack_array(7);
        pack(names.destinationQueueName);
        pack(names.destinationQueueManagerName);
        pack(names.putApplicationName);
        pack(names.putDate);
        pack(names.putTime);
        pack(names.format);
        const auto length = static_cast<std::uint32_t>(body_.size());
        packer.pack_bin(length).pack_bin_body(body_.data(), length);
    }

    template <class Take> void unwrap(Take take) {
        const msgpack::object_handle handle =
            msgpack::unpack(buffer_.data(), buffer_.size(),
                            [](msgpack::type::object_type, std::size_t, void *) { return true; });
        const msgpack::object_array & fields = handle.get().via.array;
        const auto text = [&fields](std::size_t index) {
            return fields.ptr[index].as<std::string>();
        };
        const msgpack::object_bin & body = fields.ptr[6].via.bin;
        take(text(0), text(1), text(2), text(3), text(4), text(5),
             std::string_view(body.ptr, body.size));
    }

private:
    std::string body_;
    msgpack::sbuffer buffer_;
};

} // namespace

void registerMessagePack() {
    registerForm<MessagePackForm>("MessagePack");
}

} // namespace bench
