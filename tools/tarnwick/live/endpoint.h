#pragma once

#include <string>

namespace tarnwick::program {

/// Returns whether a host is this machine: `localhost`, or a loopback address, an IPv6 address in brackets.
[[nodiscard]] bool is_loopback_host(std::string const &host);

/// The address of a ZeroMQ socket: `tcp://HOST:PORT` or `ipc://PATH`.
class Endpoint {
public:
    /// Throws `std::invalid_argument` if the text is not such an address.
    explicit Endpoint(std::string text);

    /// The address as it was written.
    [[nodiscard]] std::string const &text() const { return text_; }
    /// The file of an `ipc` address; empty for others.
    [[nodiscard]] std::string const &path() const { return path_; }
    /// Returns whether only processes of this machine reach the address: the file of an `ipc` address, or a loopback
    /// address. A name other than `localhost` is not local, since a name server answers for it.
    [[nodiscard]] bool is_local() const { return is_local_; }

private:
    std::string text_;
    std::string path_;
    bool is_local_ = false;
};

} // namespace tarnwick::program
