#include "live/access.h"

#include "error_text.h"
#include "print/readable_text.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

/// Files that are created are readable and writable only by their owner, as long as the object exists.
class OwnerOnlyFiles {
public:
    OwnerOnlyFiles() = default;
    ~OwnerOnlyFiles() { ::umask(before_); }
    OwnerOnlyFiles(OwnerOnlyFiles const &) = delete;
    OwnerOnlyFiles &operator=(OwnerOnlyFiles const &) = delete;

private:
    mode_t before_ = ::umask(0177);
};

/// Connects to the socket of a file, and returns the `errno`; 0 if a process accepts connections.
int error_of_connection(std::string const &path)
{
    auto const descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0)
        return errno;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    auto const result = ::connect(descriptor, reinterpret_cast<sockaddr const *>(&address), sizeof address);
    auto const error = result == 0 ? 0 : errno;
    ::close(descriptor);
    return error;
}

/// Returns why a socket cannot have this file; empty if it can. ZeroMQ removes any file of that name before it binds.
std::string obstacle_at(std::string const &path)
{
    struct stat existing = {};
    if (::lstat(path.c_str(), &existing) != 0)
        return errno == ENOENT ? std::string() : error_text(errno);
    if (!S_ISSOCK(existing.st_mode))
        return "the file exists and is not a socket";
    switch (auto const error = error_of_connection(path)) {
    case ECONNREFUSED: // left by a process that was killed
    case ENOENT:       // removed in the meantime
        return {};
    case 0:
    case EAGAIN:     // too many connections wait
    case EPROTOTYPE: // the socket is of another type
        return "another process uses it";
    default:
        return error_text(error);
    }
}

/// Each connection takes a descriptor, also those that never become ready.
void raise_limit_of_open_files()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

void set_text_option(SocketHandle const &socket, int option, std::string const &value)
{
    check_zeromq(zmq_setsockopt(socket.get(), option, value.c_str(), value.size()));
}

} // namespace

void check_access(AccessOptions const &options, Attachment attachment, Endpoint const &endpoint)
{
    bool const binds = attachment == Attachment::bind;
    auto const &required = binds ? options.allow : options.server_key;
    auto const &other = binds ? options.server_key : options.allow;
    if (!other.empty())
        throw std::invalid_argument(binds ? "--server-key is only for addresses that are connected to"
                                          : "--allow is only for addresses that are bound");
    if (options.curve_keys.empty() && !required.empty())
        throw std::invalid_argument(fmt::format("{} requires --curve-keys", binds ? "--allow" : "--server-key"));
    if (!options.curve_keys.empty() && required.empty())
        throw std::invalid_argument(binds ? "--curve-keys also requires --allow, with the keys of the clients"
                                          : "--curve-keys also requires --server-key");
    if (options.curve_keys.empty() && !endpoint.is_local())
        throw std::invalid_argument(
            fmt::format("'{}' is not only for this machine: use --curve-keys and {}, or an address ipc:// or "
                        "tcp://127.0.0.1:PORT",
                        endpoint.text(), binds ? "--allow" : "--server-key"));
}

Access::Access(ContextHandle const &context, Attachment attachment, AccessOptions options)
    : attachment_(attachment)
    , options_(std::move(options))
{
    if (options_.curve_keys.empty())
        return;
    if (zmq_has("curve") == 0)
        throw KeyFileError(fmt::format("cannot use {}: this ZeroMQ library was built without CURVE (libsodium)",
                                       escaped_text(options_.curve_keys)));
    keys_ = read_key_pair(options_.curve_keys);
    if (attachment_ == Attachment::bind)
        clients_.emplace(context, options_.allow);
    else
        server_key_ = read_public_key(options_.server_key);
}

// ZeroMQ leaves the files. Another process can have replaced one since the sockets were closed.
Access::~Access()
{
    for (auto const &[path, device, inode] : files_) {
        struct stat file = {};
        if (::lstat(path.c_str(), &file) == 0 && file.st_dev == device && file.st_ino == inode)
            ::unlink(path.c_str());
    }
}

void Access::set_keys(SocketHandle const &socket, KeyPair const &keys) const
{
    set_text_option(socket, ZMQ_CURVE_PUBLICKEY, keys.public_key);
    set_text_option(socket, ZMQ_CURVE_SECRETKEY, keys.secret_key);
    if (attachment_ == Attachment::bind)
        set_option(socket, ZMQ_CURVE_SERVER, 1);
    else
        set_text_option(socket, ZMQ_CURVE_SERVERKEY, server_key_);
}

void Access::attach(SocketHandle const &socket, Endpoint const &endpoint)
{
    check_access(options_, attachment_, endpoint);
    bool const binds = attachment_ == Attachment::bind;
    auto const *const address = endpoint.text().c_str();
    auto const fail = [&](std::string_view reason) {
        throw SocketError(
            fmt::format("cannot {} {}: {}", binds ? "bind" : "connect to", escaped_text(endpoint.text()), reason));
    };
    if (keys_)
        set_keys(socket, *keys_);
    // Only an address in brackets is surely one of IPv6.
    if (endpoint.text().find('[') != std::string::npos)
        set_option(socket, ZMQ_IPV6, 1);
    if (binds) {
        raise_limit_of_open_files();
        if (auto const obstacle = endpoint.path().empty() ? std::string() : obstacle_at(endpoint.path());
            !obstacle.empty())
            fail(obstacle);
    }
    int error = 0;
    {
        OwnerOnlyFiles const files;
        if ((binds ? zmq_bind(socket.get(), address) : zmq_connect(socket.get(), address)) < 0)
            error = zmq_errno();
    }
    // The descriptions of ZeroMQ include those of the system.
    if (error != 0)
        fail(zmq_strerror(error));
    struct stat file = {};
    if (binds && !endpoint.path().empty() && ::lstat(endpoint.path().c_str(), &file) == 0)
        files_.push_back({.path = endpoint.path(), .device = file.st_dev, .inode = file.st_ino});
}

} // namespace tarnwick::program
