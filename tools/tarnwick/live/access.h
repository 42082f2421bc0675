#pragma once

#include "live/endpoint.h"
#include "live/key_files.h"
#include "live/zap_handler.h"
#include "live/zeromq.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tarnwick::program {

enum class Attachment { bind, connect };

/// Names of files with CURVE keys, as they are written; empty if an option is not given.
struct AccessOptions {
    std::string curve_keys; ///< the key pair of this side
    std::string allow;      ///< a file or folder: the public keys of clients that may connect; required to bind
    std::string server_key; ///< the public key of the other side; required to connect
};

/// Throws `std::invalid_argument` if the options do not suit each other or the attachment, or if other machines can
/// reach the address and there are no keys. The text names the option to use.
void check_access(AccessOptions const &options, Attachment attachment, Endpoint const &endpoint);

/// Binds or connects sockets, and lets only those processes connect that the options permit. The side that binds is the
/// CURVE server. Without keys, only processes of this machine can connect.
///
/// Destroyed before its context and after its sockets: without the handler of clients, ZeroMQ admits every client that
/// knows the server's public key.
///
///     auto const context = open_context(1);
///     Access access(context, Attachment::bind, options);
///     auto const socket = open_socket(context, ZMQ_PULL); // then set its options
///     access.attach(socket, endpoint);
///     // Poll `socket` and, if not null, `access.clients()`; call `access.clients()->handle()` when it is readable.
class Access {
public:
    /// Reads the files. If clients are checked, opens their handler in `context`. Throws `KeyFileError`, `SocketError`
    /// and `std::bad_alloc`.
    Access(ContextHandle const &context, Attachment attachment, AccessOptions options);

    /// Removes the files of `ipc` addresses that were bound.
    ~Access();
    Access(Access const &) = delete;
    Access &operator=(Access const &) = delete;

    /// Binds or connects a socket; a socket can have several addresses. An `ipc` file that is bound has mode 0600. Binding raises the limit of open files as far as the system permits. Throws
    /// `std::invalid_argument` as `check_access`, and `SocketError` with the address and the reason.
    void attach(SocketHandle const &socket, Endpoint const &endpoint);

    /// Decides which clients may connect; null if no keys are used or the sockets connect.
    [[nodiscard]] ZapHandler *clients() { return clients_ ? &*clients_ : nullptr; }

private:
    struct BoundFile {
        std::string path;
        dev_t device;
        ino_t inode;
    };

    void set_keys(SocketHandle const &socket, KeyPair const &keys) const;

    Attachment attachment_;
    AccessOptions options_;
    std::optional<KeyPair> keys_;
    std::string server_key_;
    std::optional<ZapHandler> clients_;
    std::vector<BoundFile> files_;
};

} // namespace tarnwick::program
