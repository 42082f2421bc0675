#include "record.h"

#include "capture/interrupt.h"
#include "live/frame_check.h"
#include "live/recorded_file.h"
#include "live/started_requests.h"
#include "live/zeromq.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "print/short_text.h"
#include "progress.h"
#include "standard_error.h"

#include <zeromq/msg.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include <zmq.h>

namespace tarnwick::program {
namespace {

using Clock = std::chrono::steady_clock;

/// The number of complete messages that wait for each sender. One more is being received.
constexpr int waiting_messages = 1;
/// What is written at the end of the frames that have arrived. A sender that never pauses must not prevent the end.
constexpr std::uint64_t max_bytes_at_end = 256'000'000;

SocketHandle open_receiver(ContextHandle const &context, Access const &access, Endpoint const &endpoint,
                           RecordOptions const &options)
{
    auto socket = open_socket(context, ZMQ_PULL);
    set_option(socket, ZMQ_RCVHWM, waiting_messages);
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

class Recorder {
public:
    explicit Recorder(RecordOptions const &options)
        : options_(options)
        , interrupt_(ends_of_service)
        , file_(options.output)
        , context_(open_context(1))
        , access_(context_, options.attachment, options.access)
    {
        interrupt_.enable_reports();
        for (auto const &endpoint : options_.endpoints)
            sockets_.push_back(open_receiver(context_, access_, endpoint, options_));
    }

    void run();

private:
    enum class Fault : std::uint8_t { empty, not_a_frame, several_parts };

    void record_until_end();
    void count_arrived();
    void answer_clients();
    bool receive_from_all();
    void handle_message(SocketHandle const &socket);
    void refuse(Fault fault, std::string const &text);
    void rotate_if_due();
    void wait();
    void show_progress();
    void print_line(std::string_view line);
    void print_counts();

    RecordOptions const &options_;
    Interrupt interrupt_;
    RecordedFile file_;
    ContextHandle context_;
    Access access_;
    std::vector<SocketHandle> sockets_;
    zeromq::msg_t message_;
    ProgressLine progress_{true};
    StartedRequests requests_;
    std::array<bool, 3> was_refused_{}; ///< by `Fault`
    std::uint64_t received_ = 0;
    std::uint64_t refused_ = 0;
    std::uint64_t bytes_ = 0;
    Clock::time_point opened_ = Clock::now(); ///< the file
    Clock::time_point rate_since_ = Clock::now();
    std::uint64_t rate_base_ = 0; ///< messages received then
    std::uint64_t rate_ = 0;      ///< messages per second
};

void Recorder::run()
{
    try {
        record_until_end();
        file_.flush();
        file_.sync();
    } catch (WriteError const &) {
        count_arrived();
        print_counts();
        throw;
    }
    print_counts();
}

void Recorder::record_until_end()
{
    while (!Interrupt::requested()) {
        if (Interrupt::take_report_request()) {
            file_.flush();
            print_counts();
        }
        answer_clients();
        auto const has_received = receive_from_all();
        rotate_if_due();
        if (progress_.due())
            show_progress();
        if (!has_received) {
            file_.flush();
            wait();
        }
    }
    auto const most = bytes_ + max_bytes_at_end;
    while (bytes_ < most && receive_from_all()) {
    }
}

/// Counts the messages that have arrived and cannot be written.
void Recorder::count_arrived()
{
    for (auto const &socket : sockets_) {
        for (auto const most = bytes_ + max_bytes_at_end; bytes_ < most && receive(socket, message_);) {
            bytes_ += message_.size();
            received_ += zmq_msg_more(message_.handle()) == 0 ? 1 : 0;
        }
    }
}

/// Admits or refuses the clients that wait for it.
void Recorder::answer_clients()
{
    if (access_.clients() == nullptr)
        return;
    if (auto const refusal = access_.clients()->handle(); !refusal.empty())
        print_line(refusal);
}

/// Receives at most one message from each socket. Returns whether there was one.
bool Recorder::receive_from_all()
{
    bool has_received = false;
    for (auto const &socket : sockets_) {
        if (receive(socket, message_)) {
            handle_message(socket);
            has_received = true;
        }
    }
    return has_received;
}

void Recorder::handle_message(SocketHandle const &socket)
{
    ++received_;
    if (zmq_msg_more(message_.handle()) != 0) {
        auto size = message_.size();
        while (zmq_msg_more(message_.handle()) != 0) {
            receive(socket, message_, 0);
            size += message_.size();
        }
        refuse(Fault::several_parts, fmt::format("refused a message of {} bytes: it has several parts", size));
        return;
    }
    std::string_view const bytes(message_.data(), message_.size());
    if (bytes.empty()) {
        refuse(Fault::empty, "refused a message: it is empty");
        return;
    }
    auto const frame = check_frame(bytes);
    if (!frame) {
        refuse(Fault::not_a_frame, fmt::format("refused a message of {} bytes: it is not a frame", bytes.size()));
        return;
    }
    bytes_ += bytes.size();
    file_.append(bytes);
    if (frame->start)
        requests_.add(*frame->start);
}

void Recorder::refuse(Fault fault, std::string const &text)
{
    ++refused_;
    if (!std::exchange(was_refused_[static_cast<std::size_t>(fault)], true))
        print_line(text);
}

void Recorder::rotate_if_due()
{
    bool const is_large = options_.rotate_size && file_.size() >= *options_.rotate_size;
    bool const is_old = options_.rotate_age && Clock::now() - opened_ >= *options_.rotate_age;
    if (file_.size() == 0 || !(is_large || is_old))
        return;
    auto const finished = file_.rotate();
    opened_ = Clock::now();
    print_line(fmt::format("{}: renamed to {}", escaped_text(file_.name()), escaped_text(finished)));
}

/// Waits for messages, signals, and the time of the next rotation or line of progress.
void Recorder::wait()
{
    using std::chrono::milliseconds;
    auto timeout = progress_.is_enabled() ? milliseconds(1000) : milliseconds(-1);
    if (options_.rotate_age && file_.size() > 0) {
        auto const rest = std::chrono::ceil<milliseconds>(*options_.rotate_age - (Clock::now() - opened_));
        timeout = timeout.count() < 0 ? std::max(rest, milliseconds(0)) : std::clamp(rest, milliseconds(0), timeout);
    }
    std::vector<zmq_pollitem_t> items;
    for (auto const &socket : sockets_)
        items.push_back({.socket = socket.get(), .fd = 0, .events = ZMQ_POLLIN, .revents = 0});
    if (access_.clients() != nullptr)
        items.push_back({.socket = access_.clients()->socket(), .fd = 0, .events = ZMQ_POLLIN, .revents = 0});
    items.push_back({.socket = nullptr, .fd = Interrupt::descriptor(), .events = ZMQ_POLLIN, .revents = 0});
    if (zmq_poll(items.data(), static_cast<int>(items.size()), timeout.count()) < 0 && zmq_errno() != EINTR)
        check_zeromq(-1);
}

void Recorder::show_progress()
{
    if (auto const since = Clock::now() - rate_since_; since >= std::chrono::seconds(1)) {
        rate_ = static_cast<std::uint64_t>(static_cast<double>(received_ - rate_base_) /
                                           std::chrono::duration<double>(since).count());
        rate_since_ += since;
        rate_base_ = received_;
    }
    progress_.show(escaped_text(file_.name()),
                   fmt::format(": {} frames, {}, {}/s, {} requests, {} refused", received_ - refused_,
                               short_size_text(static_cast<std::int64_t>(bytes_)), rate_, requests_.count(), refused_));
}

void Recorder::print_line(std::string_view line)
{
    progress_.clear();
    print_error(fmt::format("{}\n", line));
}

void Recorder::print_counts()
{
    auto const written = file_.written();
    print_line(fmt::format("received: {}; written: {}; refused: {}; dropped: {}; requests: {}", received_, written,
                           refused_, received_ - refused_ - written, requests_.count()));
}

} // namespace

ExitStatus record(RecordOptions const &options)
{
    Recorder(options).run();
    return success;
}

} // namespace tarnwick::program
