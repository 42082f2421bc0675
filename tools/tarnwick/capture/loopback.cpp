#include "capture/loopback.h"

#include <memory>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr auto const *loopback_endpoint = "inproc://loopback";

} // namespace

// Messages inside the process need no I/O thread.
Loopback::Pair::Pair()
    : context(open_context(0))
    , sender(open_socket(context, ZMQ_PAIR))
    , receiver(open_socket(context, ZMQ_PAIR))
{
    check_zeromq(zmq_bind(receiver.get(), loopback_endpoint));
    check_zeromq(zmq_connect(sender.get(), loopback_endpoint));
}

zeromq::msg_t Loopback::transfer(std::string_view bytes, bool more)
{
    // If a call below throws, the pair is closed together with the parts in it.
    auto pair = pair_ ? std::move(pair_) : std::make_unique<Pair>();
    zeromq::msg_t message(bytes);
    check_uninterrupted([&] { return zmq_msg_send(message.handle(), pair->sender.get(), more ? ZMQ_SNDMORE : 0); });
    // The first part can be received only after the last one is sent.
    if (more)
        check_uninterrupted([&] { return zmq_send(pair->sender.get(), nullptr, 0, 0); });
    check_uninterrupted([&] { return zmq_msg_recv(message.handle(), pair->receiver.get(), 0); });
    if (more)
        check_uninterrupted([&] { return zmq_recv(pair->receiver.get(), nullptr, 0, 0); });
    pair_ = std::move(pair);
    return message;
}

} // namespace tarnwick::program
