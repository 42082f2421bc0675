#include "loopback.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <new>
#include <sys/eventfd.h>
#include <unistd.h>

#include <zmq.h>

namespace tarnwick::program {
namespace {

constexpr auto const *endpoint = "inproc://loopback";

[[noreturn]] void fail()
{
    if (zmq_errno() == ENOMEM)
        throw std::bad_alloc();
    throw SocketError(zmq_strerror(zmq_errno()));
}

void *had(void *object)
{
    if (object == nullptr)
        fail();
    return object;
}

void succeed(int result)
{
    if (result < 0)
        fail();
}

// Where a context runs out of descriptors while it is made, ZeroMQ ends the process. It takes five with its sockets.
void *new_context()
{
    constexpr std::size_t wanted = 8;
    std::array<int, wanted> descriptors{};
    std::size_t opened = 0;
    int error = 0;
    while (opened < wanted && error == 0) {
        descriptors[opened] = ::eventfd(0, EFD_CLOEXEC);
        if (descriptors[opened] < 0)
            error = errno;
        else
            ++opened;
    }
    while (opened > 0)
        ::close(descriptors[--opened]);
    if (error != 0)
        throw SocketError(zmq_strerror(error));
    return zmq_ctx_new();
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
    : context_(had(new_context()))
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
