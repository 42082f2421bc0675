#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// A stream of a NATS cluster: `nats://HOST[:PORT][,HOST[:PORT]...]/STREAM`, or `tls://` for encrypted connections.
class NatsAddress {
public:
    /// Returns whether a text names a stream, or tries to, and not a file or a socket.
    [[nodiscard]] static bool is_one(std::string_view text);

    /// Throws `std::invalid_argument` if the text is no such address, or if it names a server of another machine
    /// without encryption.
    explicit NatsAddress(std::string text);

    /// The address as it was written.
    [[nodiscard]] std::string const &text() const { return text_; }
    /// The URL of each server.
    [[nodiscard]] std::vector<std::string> const &servers() const { return servers_; }
    [[nodiscard]] std::string const &stream() const { return stream_; }
    [[nodiscard]] bool is_encrypted() const { return is_encrypted_; }

private:
    std::string text_;
    std::vector<std::string> servers_;
    std::string stream_;
    bool is_encrypted_;
};

} // namespace tarnwick::program
