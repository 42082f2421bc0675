#pragma once

#include <memory>
#include <stdexcept>
#include <string_view>

#include <zeromq/msg.h>

namespace tarnwick::program {

/// Sockets cannot be opened or used: they need descriptors.
class SocketError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A pair of sockets within the process. A message that comes out of it was received: it carries the transport's own
/// flag on whether further parts follow, which only receiving sets. The sockets are opened when the first message needs
/// them.
class Loopback {
public:
    /// A part with these bytes, as a receiver gets it. Throws SocketError, std::bad_alloc. A failure costs the sockets,
    /// so that the next part gets none of this one's bytes.
    [[nodiscard]] zeromq::msg_t received(std::string_view bytes, bool more);

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
