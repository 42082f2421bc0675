#include "live/frame_sender.h"

#include "print/output.h"
#include "print/readable_text.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

namespace tarnwick::program {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds patience = 1s;

} // namespace

FrameSender::FrameSender(Endpoint const &endpoint, AccessOptions const &access)
    : endpoint_(endpoint.text())
    , context_(open_context(1))
    , access_(std::in_place, context_, Attachment::connect, access)
    , socket_(open_socket(context_, ZMQ_PUSH))
{
    // Frames are queued only for a connection, and a frame only when the connection has taken the one before: what is
    // queued is lost when the receiver ends.
    set_option(socket_, ZMQ_IMMEDIATE, 1);
    set_option(socket_, ZMQ_SNDHWM, 1);
    access_->attach(socket_, endpoint);
}

bool FrameSender::send(std::string_view frame)
{
    while (!Interrupt::requested()) {
        if (zmq_send(socket_.get(), frame.data(), frame.size(), ZMQ_DONTWAIT) >= 0) {
            ++sent_;
            return true;
        }
        if (auto const error = zmq_errno(); error != EAGAIN && error != EINTR)
            fail(error);
        wait();
    }
    return false;
}

void FrameSender::wait()
{
    std::array<zmq_pollitem_t, 2> items{
        zmq_pollitem_t{.socket = socket_.get(), .fd = -1, .events = ZMQ_POLLOUT, .revents = 0},
        zmq_pollitem_t{.socket = nullptr, .fd = Interrupt::descriptor(), .events = ZMQ_POLLIN, .revents = 0}};
    bool const reports = sent_ == 0 && !has_reported_wait_;
    auto const count = zmq_poll(items.data(), static_cast<int>(items.size()), reports ? patience.count() : -1);
    if (count < 0 && zmq_errno() != EINTR)
        fail(zmq_errno());
    if (count == 0 && reports) {
        has_reported_wait_ = true;
        print_error(fmt::format("waiting for a program that listens at {}\n", escaped_text(endpoint_)));
    }
}

void FrameSender::fail(int error) const
{
    throw WriteError(fmt::format("cannot send to {}: {}", escaped_text(endpoint_), zmq_strerror(error)));
}

bool FrameSender::finish()
{
    bool const is_interrupted = Interrupt::requested();
    set_option(socket_, ZMQ_LINGER, is_interrupted ? static_cast<int>(patience.count()) : -1);
    socket_.reset();
    access_.reset();
    while (zmq_ctx_term(context_.get()) < 0 && zmq_errno() == EINTR) {
        if (Interrupt::requested() && !is_interrupted) {
            // There is no way to end it without its frames. The end of the process does.
            [[maybe_unused]] auto *const unfinished = context_.release();
            return false;
        }
    }
    [[maybe_unused]] auto *const freed = context_.release();
    return !is_interrupted;
}

} // namespace tarnwick::program
