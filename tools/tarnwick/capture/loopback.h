#pragma once

#include "live/zeromq.h"

#include <memory>
#include <string_view>

#include <zeromq/msg.h>

namespace tarnwick::program {

/// Pair of connected sockets in this process. Only receiving a message sets its flag that further parts follow, so
/// messages with that flag must pass through sockets. The first message opens the sockets.
class Loopback {
public:
    /// Sends a message part with these bytes and returns it as received. Throws `SocketError` and `std::bad_alloc`.
    /// After a failure the sockets are closed, so that no bytes of this part reach the next one.
    [[nodiscard]] zeromq::msg_t transfer(std::string_view bytes, bool more);

private:
    struct Pair {
        Pair();

        ContextHandle context;
        SocketHandle sender;
        SocketHandle receiver;
    };

    std::unique_ptr<Pair> pair_;
};

} // namespace tarnwick::program
