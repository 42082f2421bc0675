#pragma once

#include <pcommon/export.h>

#include <cstddef>
#include <string_view>

#include <zmq.h>

namespace zeromq {

/// Owner of one `zmq_msg_t`. The message is initialised for the whole life of the object and closed at its end.
///
/// ZeroMQ stores the bytes of a small message inside the `zmq_msg_t`, so a move invalidates pointers to them. The bytes
/// of a large message keep their address.
class PCOMMON_EXPORT msg_t {
public:
    /// Constructs a message of 0 bytes.
    msg_t() noexcept;

    /// Constructs a message with a copy of the bytes. Throws std::bad_alloc.
    explicit msg_t(std::string_view bytes);

    /// Moves the message out of `other`, which becomes a message of 0 bytes.
    msg_t(msg_t &&other) noexcept;

    /// Releases the current message and moves that of `other`, which becomes a message of 0 bytes. Self-assignment
    /// changes nothing.
    msg_t &operator=(msg_t &&other) noexcept;

    ~msg_t();

    /// Returns the bytes. They are valid until the message is changed, moved from or destroyed. May be null if `size()`
    /// is 0.
    [[nodiscard]] char const *data() const noexcept;
    [[nodiscard]] std::size_t size() const noexcept;

    /// Returns the message for functions of ZeroMQ. It must remain initialised.
    zmq_msg_t *handle() noexcept { return &message_; }

private:
    zmq_msg_t message_;
};

} // namespace zeromq
