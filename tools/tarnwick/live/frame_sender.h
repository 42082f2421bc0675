#pragma once

#include "capture/interrupt.h"
#include "live/access.h"
#include "live/endpoint.h"
#include "live/zeromq.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Sends frames to the program that listens at an address. Each is one message. Ctrl-C ends every wait.
class FrameSender {
public:
    /// Connects. Throws `KeyFileError`, `SocketError` and `std::bad_alloc`.
    FrameSender(Endpoint const &endpoint, AccessOptions const &access);

    /// Waits until a connection can take a frame, and passes it on. Returns false after Ctrl-C. If the first frame waits
    /// for a second, prints a message. Throws `WriteError` and `std::bad_alloc`.
    [[nodiscard]] bool send(std::string_view frame);

    /// Closes the connection when it has taken all frames, or a second after Ctrl-C. Returns false if Ctrl-C ended the
    /// wait. Nothing can be sent afterwards.
    [[nodiscard]] bool finish();

    /// The number of frames that were passed on.
    [[nodiscard]] std::uint64_t sent() const { return sent_; }

private:
    void wait();
    [[noreturn]] void fail(int error) const;

    std::string endpoint_;
    Interrupt interrupt_;
    ContextHandle context_;
    std::optional<Access> access_;
    SocketHandle socket_;
    std::uint64_t sent_ = 0;
    bool has_reported_wait_ = false;
};

} // namespace tarnwick::program
