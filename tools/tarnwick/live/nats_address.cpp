#include "live/nats_address.h"

#include "live/endpoint.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::string_view plain_scheme = "nats://";
constexpr std::string_view encrypted_scheme = "tls://";

// The server permits more. These characters have no meaning in subjects and in names of files.
bool is_stream_name(std::string_view name)
{
    constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
    return !name.empty() && name.find_first_not_of(allowed) == std::string_view::npos;
}

/// Returns the host of `HOST` or `HOST:PORT`.
std::string host_of(std::string const &server)
{
    return server.ends_with(']') ? server : server.substr(0, server.rfind(':'));
}

} // namespace

bool NatsAddress::is_one(std::string_view text)
{
    return text.starts_with(plain_scheme) || text.starts_with(encrypted_scheme);
}

NatsAddress::NatsAddress(std::string text)
    : text_(std::move(text))
    , is_encrypted_(text_.starts_with(encrypted_scheme))
{
    auto const scheme = is_encrypted_ ? encrypted_scheme : plain_scheme;
    auto const slash = text_.find('/', scheme.size());
    if (!text_.starts_with(scheme) || slash == std::string::npos || !is_stream_name(text_.substr(slash + 1)))
        throw std::invalid_argument(fmt::format("'{}' is not nats://HOST:PORT/STREAM", text_));
    stream_ = text_.substr(slash + 1);
    for (auto begin = scheme.size(); begin <= slash;) {
        auto const end = std::min(text_.find(',', begin), slash);
        auto const server = text_.substr(begin, end - begin);
        if (host_of(server).empty())
            throw std::invalid_argument(fmt::format("'{}' names no server", text_));
        // Other users of this machine see the arguments.
        if (server.find('@') != std::string::npos)
            throw std::invalid_argument("an address with a password: name a credentials file in NATS_CREDS instead");
        if (!is_encrypted_ && !is_loopback_host(host_of(server)))
            throw std::invalid_argument(fmt::format(
                "'{}' is not on this machine: others could read the reports; use tls:// instead of nats://", server));
        servers_.push_back(fmt::format("{}{}", scheme, server));
        begin = end + 1;
    }
}

} // namespace tarnwick::program
