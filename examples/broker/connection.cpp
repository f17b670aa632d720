#include "connection.hpp"

#include <amqp_tcp_socket.h>

#include <charconv>
#include <thread>

namespace broker {

namespace {

constexpr amqp_channel_t channel = 1;
constexpr int heartbeatSeconds = 10;
constexpr const char * sentAgainKey = "sent-again";

amqp_bytes_t bytesOf(const std::string & text) {
    return {text.size(), const_cast<char *>(text.data())};
}

std::string textOf(amqp_bytes_t bytes) {
    return {static_cast<const char *>(bytes.bytes), bytes.len};
}

timeval timeOf(std::chrono::milliseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    const std::chrono::microseconds rest = time - seconds;
    return {static_cast<time_t>(seconds.count()), static_cast<suseconds_t>(rest.count())};
}

bool isNormal(const amqp_rpc_reply_t & reply) {
    return reply.reply_type == AMQP_RESPONSE_NORMAL;
}

bool isMarked(const amqp_basic_properties_t & properties) {
    if ((properties._flags & AMQP_BASIC_HEADERS_FLAG) == 0) {
        return false;
    }
    for (int row = 0; row < properties.headers.num_entries; ++row) {
        const amqp_table_entry_t & entry = properties.headers.entries[row];
        if (textOf(entry.key) == sentAgainKey && entry.value.kind == AMQP_FIELD_KIND_BOOLEAN) {
            return entry.value.value.boolean != 0;
        }
    }
    return false;
}

} // namespace

std::uint32_t numberOf(const std::string & text, std::uint32_t most) {
    std::uint32_t number = 0;
    const char * const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end && number <= most ? number : 0;
}

void Connection::close() {
    if (state_ != nullptr) {
        // Closes the socket. The broker puts back what was delivered and not acknowledged.
        amqp_destroy_connection(state_);
        state_ = nullptr;
    }
}

bool Connection::keep(bool good) {
    if (!good) {
        close();
    }
    return good;
}

bool Connection::tryOpen(const char * queue) {
    close();
    state_ = amqp_new_connection();
    if (state_ == nullptr) {
        return false;
    }
    amqp_socket_t * socket = amqp_tcp_socket_new(state_);
    timeval patience = timeOf(std::chrono::seconds(5));
    if (socket == nullptr ||
        amqp_socket_open_noblock(socket, "127.0.0.1", port_, &patience) != AMQP_STATUS_OK) {
        return keep(false);
    }
    const amqp_bytes_t name = amqp_cstring_bytes(queue);
    return keep(isNormal(amqp_login(state_, "/", 0, AMQP_DEFAULT_FRAME_SIZE, heartbeatSeconds,
                                    AMQP_SASL_METHOD_PLAIN, "guest", "guest")) &&
                amqp_channel_open(state_, channel) != nullptr &&
                amqp_confirm_select(state_, channel) != nullptr &&
                amqp_queue_declare(state_, channel, name, 0, 1, 0, 0, amqp_empty_table) != nullptr);
}

bool Connection::open(const char * queue, std::chrono::seconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!tryOpen(queue)) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    return true;
}

bool Connection::publish(const char * queue, std::uint32_t number, const std::string & body,
                         bool again) {
    amqp_table_entry_t mark{};
    mark.key = amqp_cstring_bytes(sentAgainKey);
    mark.value.kind = AMQP_FIELD_KIND_BOOLEAN;
    mark.value.value.boolean = 1;
    const std::string id = std::to_string(number);

    amqp_basic_properties_t properties{};
    properties._flags = AMQP_BASIC_DELIVERY_MODE_FLAG | AMQP_BASIC_MESSAGE_ID_FLAG;
    properties.delivery_mode = AMQP_DELIVERY_PERSISTENT;
    properties.message_id = bytesOf(id);
    if (again) {
        properties._flags |= AMQP_BASIC_HEADERS_FLAG;
        properties.headers = {1, &mark};
    }
    return keep(amqp_basic_publish(state_, channel, amqp_empty_bytes, amqp_cstring_bytes(queue), 0,
                                   0, &properties, bytesOf(body)) == AMQP_STATUS_OK);
}

bool Connection::nextConfirm(std::chrono::milliseconds patience, std::optional<Confirm> & confirm) {
    confirm.reset();
    amqp_maybe_release_buffers(state_);
    timeval time = timeOf(patience);
    amqp_frame_t frame{};
    const int status = amqp_simple_wait_frame_noblock(state_, &frame, &time);
    if (status == AMQP_STATUS_TIMEOUT) {
        return true;
    }
    if (status != AMQP_STATUS_OK || frame.frame_type != AMQP_FRAME_METHOD) {
        return keep(false);
    }
    switch (frame.payload.method.id) {
    case AMQP_BASIC_ACK_METHOD: {
        const auto * ack = static_cast<amqp_basic_ack_t *>(frame.payload.method.decoded);
        confirm = Confirm{ack->delivery_tag, ack->multiple != 0, true};
        return true;
    }
    case AMQP_BASIC_NACK_METHOD: {
        const auto * nack = static_cast<amqp_basic_nack_t *>(frame.payload.method.decoded);
        confirm = Confirm{nack->delivery_tag, nack->multiple != 0, false};
        return true;
    }
    default: // the broker closes
        return keep(false);
    }
}

bool Connection::consume(const char * queue, std::uint16_t unacknowledged) {
    return keep(amqp_basic_qos(state_, channel, 0, unacknowledged, 0) != nullptr &&
                amqp_basic_consume(state_, channel, amqp_cstring_bytes(queue), amqp_empty_bytes, 0,
                                   0, 0, amqp_empty_table) != nullptr);
}

bool Connection::nextDelivery(std::chrono::milliseconds patience,
                              std::optional<Delivery> & delivery) {
    delivery.reset();
    amqp_maybe_release_buffers(state_);
    timeval time = timeOf(patience);
    amqp_envelope_t envelope{};
    const amqp_rpc_reply_t reply = amqp_consume_message(state_, &envelope, &time, 0);
    if (reply.reply_type == AMQP_RESPONSE_LIBRARY_EXCEPTION &&
        reply.library_error == AMQP_STATUS_TIMEOUT) {
        return true;
    }
    if (!isNormal(reply)) {
        return keep(false);
    }
    const amqp_basic_properties_t & properties = envelope.message.properties;
    const bool hasId = (properties._flags & AMQP_BASIC_MESSAGE_ID_FLAG) != 0;
    delivery = Delivery{
        envelope.delivery_tag, hasId ? numberOf(textOf(properties.message_id), UINT32_MAX) : 0,
        envelope.redelivered != 0, isMarked(properties), textOf(envelope.message.body)};
    amqp_destroy_envelope(&envelope);
    return true;
}

bool Connection::acknowledge(std::uint64_t tag) {
    return keep(amqp_basic_ack(state_, channel, tag, 0) == AMQP_STATUS_OK);
}

} // namespace broker
