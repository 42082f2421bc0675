#include "live/endpoint.h"

#include <fmt/format.h>

#include <arpa/inet.h>
#include <charconv>
#include <netinet/in.h>
#include <stdexcept>
#include <string_view>
#include <sys/un.h>
#include <system_error>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::string_view tcp = "tcp://";
constexpr std::string_view ipc = "ipc://";

bool is_port(std::string_view text)
{
    constexpr unsigned largest = 65535;
    unsigned port = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return text == "*" || (error == std::errc() && end == text.data() + text.size() && port > 0 && port <= largest);
}

} // namespace

bool is_loopback_host(std::string const &host)
{
    if (host == "localhost")
        return true;
    in_addr v4{};
    if (::inet_pton(AF_INET, host.c_str(), &v4) == 1)
        return ntohl(v4.s_addr) >> 24U == IN_LOOPBACKNET;
    in6_addr v6{};
    return host.starts_with('[') && host.ends_with(']') &&
           ::inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6);
}

Endpoint::Endpoint(std::string text)
    : text_(std::move(text))
{
    if (text_.starts_with(ipc)) {
        path_ = text_.substr(ipc.size());
        if (path_.empty() || path_.starts_with('@') || path_.starts_with('*') ||
            path_.size() >= sizeof sockaddr_un{}.sun_path)
            throw std::invalid_argument(
                fmt::format("'{}' does not name a file of at most {} bytes", text_, sizeof sockaddr_un{}.sun_path - 1));
        is_local_ = true;
        return;
    }
    auto const colon = text_.rfind(':');
    if (!text_.starts_with(tcp) || colon <= tcp.size() || !is_port(std::string_view(text_).substr(colon + 1)))
        throw std::invalid_argument(fmt::format("'{}' is neither tcp://HOST:PORT nor ipc://PATH", text_));
    is_local_ = is_loopback_host(text_.substr(tcp.size(), colon - tcp.size()));
}

} // namespace tarnwick::program
