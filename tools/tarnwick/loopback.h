#pragma once

#include <memory>
#include <string_view>

#include <zeromq/msg.h>

namespace tarnwick::program {

/// A pair of sockets within the process. A message that comes out of it was received: it carries the transport's own
/// word on whether further parts follow, which nothing else can give it.
class Loopback {
public:
    /// Throws std::bad_alloc.
    Loopback();

    /// A part with these bytes, as a receiver gets it. Throws std::bad_alloc.
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
