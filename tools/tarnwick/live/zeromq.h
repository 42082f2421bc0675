#pragma once

#include <cerrno>
#include <memory>
#include <stdexcept>

#include <zmq.h>

namespace tarnwick::program {

/// Failure of ZeroMQ, for example to open a socket because no descriptor is left.
class SocketError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct TerminateContext {
    void operator()(void *context) const noexcept;
};
struct CloseSocket {
    void operator()(void *socket) const noexcept;
};
/// Destroyed after its sockets.
using ContextHandle = std::unique_ptr<void, TerminateContext>;
using SocketHandle = std::unique_ptr<void, CloseSocket>;

/// Throws the last error of ZeroMQ as `SocketError` or `std::bad_alloc` if a call failed.
void check_zeromq(int result);

/// Opens a context with this number of threads for connections to other processes. Throws `SocketError` and
/// `std::bad_alloc`.
ContextHandle open_context(int threads);
/// Opens a socket, of which closing drops the messages that are not sent. Throws `SocketError` and `std::bad_alloc`.
SocketHandle open_socket(ContextHandle const &context, int type);
/// Sets an option whose value is an `int`. Throws `SocketError`.
void set_option(SocketHandle const &socket, int option, int value);

/// Repeats a call of ZeroMQ while signals interrupt it, then checks its result.
template <class Call>
void check_uninterrupted(Call call)
{
    int result = 0;
    do
        result = call();
    while (result < 0 && zmq_errno() == EINTR);
    check_zeromq(result);
}

} // namespace tarnwick::program
