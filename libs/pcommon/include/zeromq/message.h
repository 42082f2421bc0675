#pragma once

#include <pcommon/export.h>
#include <zeromq/msg.h>

#include <cstddef>
#include <string_view>

#include <zmq.h>

namespace ZMQ {

/// A message and a flag which says that it has not been moved out.
///
/// | Object | holds_message() |
/// |---|---|
/// | made from nothing | true: the message of 0 bytes, into which one can be received by way of handle() |
/// | made from bytes, of which there may be none | true |
/// | moved from, by either kind of move | false, and the message is the one of 0 bytes |
/// | moved to | what the source said |
///
/// What is done to the message by way of handle() does not change the flag: to use an object again from which a message
/// was moved, assign `ZMQ::Message()` first.
class PCOMMON_EXPORT Message {
public:
    Message() noexcept = default;

    /// A message that holds a copy of the bytes. Throws std::bad_alloc.
    explicit Message(std::string_view bytes);

    Message(Message &&other) noexcept;

    /// Assigned to itself, a message and its flag are unchanged.
    Message &operator=(Message &&other) noexcept;

    ~Message() = default;

    [[nodiscard]] bool holds_message() const noexcept { return holds_message_; }

    /// The bytes, until the message is changed, moved from or destroyed. Can be null where `size()` is 0.
    [[nodiscard]] char const *data() const noexcept { return message_.data(); }
    [[nodiscard]] std::size_t size() const noexcept { return message_.size(); }

    /// Moves the message into `target`, which is initialised and not this one's own, and releases what that held.
    /// Returns 0 and clears the flag, or returns -1, errno being set, and leaves the flag as it was.
    int move_to(zmq_msg_t *target) noexcept;

    /// For the functions of ZeroMQ. Whatever is done with it, it must be left initialised.
    zmq_msg_t *handle() noexcept { return message_.handle(); }

private:
    zeromq::msg_t message_;
    bool holds_message_ = true;
};

} // namespace ZMQ
