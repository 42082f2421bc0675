#pragma once

#include <memory>
#include <stdexcept>
#include <string_view>

#include <zeromq/msg.h>

namespace tarnwick::program {

/// Failure to open or use a socket, for example because no descriptor is left.
class SocketError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Pair of connected sockets in this process. Only receiving a message sets its flag that further parts follow, so
/// messages with that flag must pass through sockets. The first message opens the sockets.
class Loopback {
public:
    /// Sends a message part with these bytes and returns it as received. Throws `SocketError` and `std::bad_alloc`.
    /// After a failure the sockets are closed, so that no bytes of this part reach the next one.
    [[nodiscard]] zeromq::msg_t transfer(std::string_view bytes, bool more);

private:
    struct Terminate {
        void operator()(void *context) const noexcept;
    };
    struct Close {
        void operator()(void *socket) const noexcept;
    };
    using Socket = std::unique_ptr<void, Close>;

    struct Pair {
        Pair();

        [[nodiscard]] Socket socket() const;

        std::unique_ptr<void, Terminate> context;
        Socket sender;
        Socket receiver;
    };

    std::unique_ptr<Pair> pair_;
};

} // namespace tarnwick::program
