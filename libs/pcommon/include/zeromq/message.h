#pragma once

#include <pcommon/export.h>
#include <zeromq/msg.h>

#include <cstddef>
#include <string_view>

#include <zmq.h>

namespace ZMQ {

/// A message with a flag that is true until the message is moved out.
///
/// | Object | holds_message() |
/// |---|---|
/// | default-constructed | true: a message of 0 bytes, into which handle() can receive another |
/// | constructed from bytes, even from none | true |
/// | moved from, by either kind of move | false, and the message has 0 bytes |
/// | moved to | the flag of the source |
///
/// Changes through handle() do not change the flag. To reuse an object whose message was moved out, first assign
/// `ZMQ::Message()`.
class PCOMMON_EXPORT Message {
public:
    Message() noexcept = default;

    /// Constructs a message with a copy of the bytes. Throws std::bad_alloc.
    explicit Message(std::string_view bytes);

    Message(Message &&other) noexcept;

    /// Moves message and flag. Self-assignment changes nothing.
    Message &operator=(Message &&other) noexcept;

    ~Message() = default;

    [[nodiscard]] bool holds_message() const noexcept { return holds_message_; }

    /// Returns the bytes. They are valid until the message is changed, moved from or destroyed. May be null if `size()`
    /// is 0.
    [[nodiscard]] char const *data() const noexcept { return message_.data(); }
    [[nodiscard]] std::size_t size() const noexcept { return message_.size(); }

    /// Moves the message into `target`, whose current message is released. `target` must be initialised and not this
    /// object's own handle. Returns 0 and clears the flag. On error returns -1, sets errno, and leaves the flag
    /// unchanged.
    int move_to(zmq_msg_t *target) noexcept;

    /// Returns the message for functions of ZeroMQ. It must remain initialised.
    zmq_msg_t *handle() noexcept { return message_.handle(); }

private:
    zeromq::msg_t message_;
    bool holds_message_ = true;
};

} // namespace ZMQ
