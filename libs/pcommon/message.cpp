#include <zeromq/message.h>

#include <utility>

namespace ZMQ {

Message::Message(std::string_view bytes)
    : message_(bytes)
{
}

Message::Message(Message &&other) noexcept
{
    *this = std::move(other);
}

Message &Message::operator=(Message &&other) noexcept
{
    if (this != &other) {
        bool const held_message = other.holds_message_;
        if (other.move_to(handle()) == 0)
            holds_message_ = held_message;
    }
    return *this;
}

int Message::move_to(zmq_msg_t *target) noexcept
{
    int const result = zmq_msg_move(target, handle());
    if (result == 0)
        holds_message_ = false;
    return result;
}

} // namespace ZMQ
