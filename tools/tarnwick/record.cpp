#include "record.h"

#include "capture/interrupt.h"
#include "live/nats_address.h"
#include "live/nats_streams.h"
#include "live/recording.h"
#include "live/zeromq.h"
#include "print/readable_text.h"
#include "standard_error.h"

#include <zeromq/msg.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <zmq.h>

namespace tarnwick::program {
namespace {

/// The bytes that wait in the queue of a sender, if all frames are as large as the largest of the recent ones. ZeroMQ
/// loses messages of a sender that closes an ipc connection while its queue is full, so queues of small frames are long.
constexpr std::uint64_t max_waiting_bytes = 16'000'000;
/// What a message in a queue takes at least, in bytes.
constexpr std::uint64_t min_message_size = 320;
/// The number of messages after which a large frame is no longer recent.
constexpr std::uint64_t recent_messages = 4'096;

/// What is written at the end of the frames that have arrived. A sender that never pauses must not prevent the end.
constexpr std::uint64_t max_bytes_at_end = 256'000'000;

SocketHandle open_receiver(ContextHandle const &context, Access &access, Endpoint const &endpoint,
                           RecordOptions const &options)
{
    auto socket = open_socket(context, ZMQ_PULL);
    set_option(socket, ZMQ_RCVHWM, static_cast<int>(max_waiting_bytes / min_message_size));
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

/// Receives a message, if one waits. Returns whether it did. Throws `SocketError`.
bool receive(SocketHandle const &socket, zeromq::msg_t &message, int flags = ZMQ_DONTWAIT)
{
    int result = 0;
    do
        result = zmq_msg_recv(message.handle(), socket.get(), flags);
    while (result < 0 && zmq_errno() == EINTR);
    if (result < 0 && zmq_errno() == EAGAIN)
        return false;
    check_zeromq(result);
    return true;
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
    void limit_queues(std::uint64_t size);
    void wait();

    Recording &recording_;
    ContextHandle context_;
    Access access_;
    std::vector<SocketHandle> sockets_;
    zeromq::msg_t message_;
    std::uint64_t received_ = 0;               ///< messages
    std::uint64_t received_bytes_ = 0;         ///< with what each message takes at least
    std::uint64_t largest_ = min_message_size; ///< message that the queues are made for, in bytes
    std::uint64_t largest_recent_ = 0;
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
        for (auto const most = recording_.bytes() + max_bytes_at_end;
             recording_.bytes() < most && receive(socket, message_);) {
            if (zmq_msg_more(message_.handle()) == 0)
                recording_.drop(message_.size());
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
    if (zmq_msg_more(message_.handle()) == 0) {
        limit_queues(message_.size());
        recording_.take({message_.data(), message_.size()});
        return;
    }
    auto size = message_.size();
    while (zmq_msg_more(message_.handle()) != 0) {
        receive(socket, message_, 0);
        size += message_.size();
    }
    limit_queues(size);
    recording_.refuse_parts(size);
}

/// Makes the queues as long as the sizes of recent messages permit.
void Receivers::limit_queues(std::uint64_t size)
{
    received_bytes_ += std::max(size, min_message_size);
    largest_recent_ = std::max(largest_recent_, size);
    bool const is_over = ++received_ % recent_messages == 0;
    if (largest_recent_ <= largest_ && !is_over)
        return;
    if (auto const before = std::exchange(largest_, std::max(largest_recent_, min_message_size)); before != largest_) {
        auto const waiting = static_cast<int>(std::max<std::uint64_t>(max_waiting_bytes / largest_, 1));
        for (auto const &socket : sockets_)
            set_option(socket, ZMQ_RCVHWM, waiting);
    }
    if (is_over)
        largest_recent_ = 0;
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
    if (!options.stream)
        receivers.emplace(options, recording);
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
