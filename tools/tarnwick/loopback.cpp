#include "loopback.h"

#include <new>

#include <zmq.h>

namespace tarnwick::program {
namespace {

constexpr auto const *endpoint = "inproc://loopback";

// What can go wrong within a process is that something cannot be had.
void *had(void *object)
{
    if (object == nullptr)
        throw std::bad_alloc();
    return object;
}

void succeed(int result)
{
    if (result < 0)
        throw std::bad_alloc();
}

} // namespace

void Loopback::Terminate::operator()(void *context) const noexcept
{
    zmq_ctx_term(context);
}

void Loopback::Close::operator()(void *socket) const noexcept
{
    zmq_close(socket);
}

Loopback::Loopback()
    : context_(had(zmq_ctx_new()))
{
    // Bytes that stay in the process need no thread that moves them.
    succeed(zmq_ctx_set(context_.get(), ZMQ_IO_THREADS, 0));
    sender_ = pair();
    receiver_ = pair();
    succeed(zmq_bind(receiver_.get(), endpoint));
    succeed(zmq_connect(sender_.get(), endpoint));
}

Loopback::Socket Loopback::pair() const
{
    Socket socket(had(zmq_socket(context_.get(), ZMQ_PAIR)));
    constexpr int nothing = 0;
    succeed(zmq_setsockopt(socket.get(), ZMQ_LINGER, &nothing, sizeof nothing));
    return socket;
}

zeromq::msg_t Loopback::received(std::string_view bytes, bool more)
{
    zeromq::msg_t message(bytes);
    succeed(zmq_msg_send(message.handle(), sender_.get(), more ? ZMQ_SNDMORE : 0));
    // The first part can be received when the last one has been sent.
    if (more)
        succeed(zmq_send(sender_.get(), nullptr, 0, 0));
    succeed(zmq_msg_recv(message.handle(), receiver_.get(), 0));
    if (more)
        succeed(zmq_recv(receiver_.get(), nullptr, 0, 0));
    return message;
}

} // namespace tarnwick::program
