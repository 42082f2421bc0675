#pragma once

#include "live/zeromq.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Admits the clients of CURVE servers in one context whose public keys are allowed. Answers the requests of ZeroMQ's
/// authentication protocol (ZAP). Reads the list of keys for each client, so changes apply to the next connection.
/// Connections that exist remain.
class ZapHandler {
public:
    /// Reads `allow`, a file or folder for `has_public_key`. Throws `KeyFileError`, `SocketError` and `std::bad_alloc`.
    ZapHandler(ContextHandle const &context, std::string allow);

    /// The socket for zmq_poll(), with ZMQ_POLLIN.
    [[nodiscard]] void *socket() const { return socket_.get(); }

    /// Answers one request, if there is one. Returns a line about a client that was refused, without a line feed; empty
    /// if there is none, or if it is the same as the previous line. Throws `SocketError` and `std::bad_alloc`.
    std::string handle();

    /// The number of clients that were refused.
    [[nodiscard]] std::uint64_t refused() const { return refused_; }

private:
    struct Answer {
        char const *status;
        std::string problem; ///< empty if the client is admitted
    };

    [[nodiscard]] std::vector<std::string> receive() const;
    [[nodiscard]] Answer answer(std::vector<std::string> const &request) const;

    std::string allow_;
    SocketHandle socket_;
    std::string last_problem_;
    std::uint64_t refused_ = 0;
};

} // namespace tarnwick::program
