#pragma once

#include <pcommon/export.h>

#include <cstddef>
#include <string_view>

#include <zmq.h>

namespace zeromq {

/// Owner of one `zmq_msg_t`, which is initialised for the whole life of the object and closed at its end.
///
/// ZeroMQ keeps the bytes of a small message inside the `zmq_msg_t`, so a pointer to them does not survive a move; the
/// bytes of a large one stay where they are.
class PCOMMON_EXPORT msg_t {
public:
    /// The message of 0 bytes.
    msg_t() noexcept;

    /// A message that holds a copy of the bytes. Throws std::bad_alloc.
    explicit msg_t(std::string_view bytes);

    /// Leaves `other` the message of 0 bytes.
    msg_t(msg_t &&other) noexcept;

    /// Releases what this held and leaves `other` the message of 0 bytes. Assigned to itself, a message is unchanged.
    msg_t &operator=(msg_t &&other) noexcept;

    ~msg_t();

    /// The bytes, until the message is changed, moved from or destroyed. Can be null where `size()` is 0.
    [[nodiscard]] char const *data() const noexcept;
    [[nodiscard]] std::size_t size() const noexcept;

    /// For the functions of ZeroMQ. Whatever is done with it, it must be left initialised.
    zmq_msg_t *handle() noexcept { return &message_; }

private:
    zmq_msg_t message_;
};

} // namespace zeromq
