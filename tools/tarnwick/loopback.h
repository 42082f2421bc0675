#pragma once

#include <memory>
#include <stdexcept>
#include <string_view>

#include <zeromq/msg.h>

namespace tarnwick::program {

/// Sockets cannot be had: they take descriptors.
class SocketError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A pair of sockets within the process. A message that comes out of it was received: it carries the transport's own
/// word on whether further parts follow, which nothing else can give it.
class Loopback {
public:
    /// Throws SocketError, std::bad_alloc.
    Loopback();

    /// A part with these bytes, as a receiver gets it. Throws SocketError, std::bad_alloc.
    [[nodiscard]] zeromq::msg_t received(std::string_view bytes, bool more);

private:
    struct Terminate {
        void operator()(void *context) const noexcept;
    };
    struct Close {
        void operator()(void *socket) const noexcept;
    };
    using Socket = std::unique_ptr<void, Close>;

    [[nodiscard]] Socket pair() const;

    std::unique_ptr<void, Terminate> context_;
    Socket sender_;
    Socket receiver_;
};

} // namespace tarnwick::program
