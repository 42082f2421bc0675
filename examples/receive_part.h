#pragma once

#include <zeromq/msg.h>

#include <cerrno>
#include <cstddef>

#include <zmq.h>

namespace tarnwick {

/// Receives the next part of a message. Returns false if that fails, with the reason in `zmq_errno()`: EAGAIN if `flags`
/// has ZMQ_DONTWAIT and no message waits. A signal does not interrupt it.
inline bool receive_part(void *socket, zeromq::msg_t &part, int flags = 0)
{
    int result = 0;
    do
        result = zmq_msg_recv(part.handle(), socket, flags);
    while (result < 0 && zmq_errno() == EINTR);
    return result >= 0;
}

/// Returns whether the message has parts after this one.
inline bool has_more(zeromq::msg_t &part)
{
    return zmq_msg_more(part.handle()) != 0;
}

/// Receives the parts after this one and drops them, so that the next part is the start of a message. ZeroMQ has them:
/// it delivers a message only when all parts have arrived. Returns their size in bytes.
inline std::size_t drop_rest(void *socket, zeromq::msg_t &part)
{
    std::size_t size = 0;
    while (has_more(part) && receive_part(socket, part))
        size += part.size();
    return size;
}

} // namespace tarnwick
