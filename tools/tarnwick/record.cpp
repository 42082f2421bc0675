#include "record.h"

#include "capture/interrupt.h"
#include "live/nats_address.h"
#include "live/nats_streams.h"
#include "live/recording.h"
#include "live/zeromq.h"
#include "print/readable_text.h"
#include "standard_error.h"

#include "receive_part.h"

#include <zeromq/msg.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <vector>

#include <zmq.h>

namespace tarnwick::program {
namespace {

/// What a message in a queue takes at least, in bytes.
constexpr std::uint64_t min_message_size = 320;

/// The number of messages of a sender that may wait: 64 MB, or for ipc, whose senders are programs of the same user,
/// 50,000 messages. ZeroMQ loses messages of a sender that closes an ipc connection while its queue is full. The length
/// never changes, since ZeroMQ 4.3.5 then reads freed memory if a connection closes at the same time. With a length of
/// 1, two threads wake each other for each message: 17,000 frames per second arrive instead of 70,000 with 4.
int queue_length(Endpoint const &endpoint, std::uint64_t max_frame)
{
    constexpr std::uint64_t max_bytes = 64'000'000;
    constexpr std::uint64_t max_messages = 50'000;
    auto const is_ipc = !endpoint.path().empty();
    auto const messages = is_ipc ? max_messages : max_bytes / std::max<std::uint64_t>(max_frame, 1);
    return static_cast<int>(std::clamp<std::uint64_t>(messages, 1, max_messages));
}

/// What is received at the end of the messages that have arrived. A sender that never pauses must not prevent the end.
constexpr std::uint64_t max_bytes_at_end = 256'000'000;

SocketHandle open_receiver(ContextHandle const &context, Access &access, Endpoint const &endpoint,
                           RecordOptions const &options)
{
    auto socket = open_socket(context, ZMQ_PULL);
    set_option(socket, ZMQ_RCVHWM, queue_length(endpoint, options.max_frame));
    auto const largest = static_cast<std::int64_t>(options.max_frame);
    check_zeromq(zmq_setsockopt(socket.get(), ZMQ_MAXMSGSIZE, &largest, sizeof largest));
    access.attach(socket, endpoint);
    std::array<char, 256> address{};
    auto size = address.size();
    check_zeromq(zmq_getsockopt(socket.get(), ZMQ_LAST_ENDPOINT, address.data(), &size));
    print_error(fmt::format("{} {}\n", options.attachment == Attachment::connect ? "connecting to" : "listening on",
                            escaped_text(address.data())));
    return socket;
}

/// Receives the first part of a message, if one waits. Returns whether it did. Throws `SocketError`.
bool receive(SocketHandle const &socket, zeromq::msg_t &part)
{
    if (receive_part(socket.get(), part, ZMQ_DONTWAIT))
        return true;
    check_zeromq(zmq_errno() == EAGAIN ? 0 : -1);
    return false;
}

/// The sockets of `record`.
class Receivers {
public:
    Receivers(RecordOptions const &options, Recording &recording)
        : recording_(recording)
        , context_(open_context(1))
        , access_(context_, options.attachment, options.access)
    {
        for (auto const &endpoint : options.endpoints)
            sockets_.push_back(open_receiver(context_, access_, endpoint, options));
    }

    void receive_until_end();
    void drop_arrived();

private:
    void answer_clients();
    bool receive_from_all();
    void take_message(SocketHandle const &socket);
    void count_bytes(std::size_t size) { received_bytes_ += std::max<std::uint64_t>(size, min_message_size); }
    void wait();

    Recording &recording_;
    ContextHandle context_;
    Access access_;
    std::vector<SocketHandle> sockets_;
    zeromq::msg_t message_;
    std::uint64_t received_bytes_ = 0; ///< with what each message takes at least
};

void Receivers::receive_until_end()
{
    while (!Interrupt::requested()) {
        recording_.report();
        answer_clients();
        auto const has_received = receive_from_all();
        recording_.rotate_if_due();
        if (!has_received) {
            recording_.target().flush();
            wait();
        }
    }
    auto const most = received_bytes_ + max_bytes_at_end;
    while (received_bytes_ < most && receive_from_all()) {
    }
}

/// Counts the messages that have arrived and cannot be written.
void Receivers::drop_arrived()
{
    for (auto const &socket : sockets_) {
        for (auto const most = received_bytes_ + max_bytes_at_end;
             received_bytes_ < most && receive(socket, message_);) {
            auto const size = message_.size();
            count_bytes(size + drop_rest(socket.get(), message_));
            recording_.drop();
        }
    }
}

/// Admits or refuses the clients that wait for it.
void Receivers::answer_clients()
{
    if (access_.clients() == nullptr)
        return;
    if (auto const refusal = access_.clients()->handle(); !refusal.empty())
        recording_.print_line(refusal);
}

/// Receives at most one message from each socket. Returns whether there was one.
bool Receivers::receive_from_all()
{
    bool has_received = false;
    for (auto const &socket : sockets_) {
        if (receive(socket, message_)) {
            take_message(socket);
            has_received = true;
        }
    }
    return has_received;
}

void Receivers::take_message(SocketHandle const &socket)
{
    auto size = message_.size();
    if (!has_more(message_)) {
        recording_.take({message_.data(), size});
    } else {
        size += drop_rest(socket.get(), message_);
        recording_.refuse_parts(size);
    }
    count_bytes(size);
}

/// Waits for messages, signals, and the time of the next rotation or line of progress.
void Receivers::wait()
{
    // Taking a request for a report can take the wake-up of this one too.
    if (Interrupt::requested())
        return;
    std::vector<zmq_pollitem_t> items;
    items.reserve(sockets_.size() + 2);
    for (auto const &socket : sockets_)
        items.push_back({.socket = socket.get(), .fd = 0, .events = ZMQ_POLLIN, .revents = 0});
    if (access_.clients() != nullptr)
        items.push_back({.socket = access_.clients()->socket(), .fd = 0, .events = ZMQ_POLLIN, .revents = 0});
    items.push_back({.socket = nullptr, .fd = Interrupt::descriptor(), .events = ZMQ_POLLIN, .revents = 0});
    if (zmq_poll(items.data(), static_cast<int>(items.size()), recording_.patience().count()) < 0 &&
        zmq_errno() != EINTR)
        check_zeromq(-1);
}

} // namespace

ExitStatus record(RecordOptions const &options)
{
    Interrupt interrupt(ends_of_service);
    interrupt.enable_reports();
    Recording recording(options);
    std::optional<Receivers> receivers;
    if (!options.stream) {
        try {
            receivers.emplace(options, recording);
        } catch (...) {
            recording.discard();
            throw;
        }
    }
    try {
        if (receivers)
            receivers->receive_until_end();
        else
            record_stream(*options.stream, recording);
        recording.target().sync();
    } catch (std::runtime_error const &) {
        if (receivers)
            receivers->drop_arrived();
        recording.print_counts();
        throw;
    }
    recording.print_counts();
    return success;
}

} // namespace tarnwick::program
