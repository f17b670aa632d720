// FlatBuffers, with a builder that is reused, and with the verifier, as for all that comes from
// outside. Texts are read where they lie.
#include "forms.hpp"
#include "letter_generated.h"

namespace bench {

namespace {

class FlatBuffersForm {
public:
    explicit FlatBuffersForm(const std::string & body)
        : body_(body), builder_(1024 + body.size()) {}

    void wrap() {
        builder_.Clear();
        const auto make = [this](Text text) {
            return builder_.CreateString(text.data, text.length);
        };
        const auto body = builder_.CreateVector(
            reinterpret_cast<const std::uint8_t *>(body_.data()), body_.size());
        const auto queue = make(names.destinationQueueName);
        const auto queueManager = make(names.destinationQueueManagerName);
        const auto application = make(names.putApplicationName);
        const auto date = make(names.putDate);
        const auto time = make(names.putTime);
        const auto format = make(names.format);
        builder_.Finish(flatbuffer::CreateLetter(builder_, queue, queueManager, application, date,
                                                 time, format, body));
    }

    template <class Take> void unwrap(Take take) {
        flatbuffers::Verifier verifier(builder_.GetBufferPointer(), builder_.GetSize());
        if (!flatbuffer::VerifyLetterBuffer(verifier)) {
            return;
        }
        const flatbuffer::Letter & letter = *flatbuffer::GetLetter(builder_.GetBufferPointer());
        const auto & body = *letter.body();
        take(letter.destination_queue_name(), letter.destination_queue_manager_name(),
             letter.put_application_name(), letter.put_date(), letter.put_time(), letter.format(),
             std::string_view(reinterpret_cast<const char *>(body.data()), body.size()));
    }

    static std::string_view viewOf(const flatbuffers::String * text) { return text->string_view(); }

private:
    std::string body_;
    flatbuffers::FlatBufferBuilder builder_;
};

} // namespace

void registerFlatBuffers() {
    registerForm<FlatBuffersForm>("FlatBuffers");
}

} // namespace bench
