#include <zeromq/msg.h>

#include <algorithm>
#include <new>

namespace zeromq {

msg_t::msg_t() noexcept
{
    zmq_msg_init(&message_);
}

msg_t::msg_t(std::string_view bytes)
{
    // zmq_msg_init_size() only fails if memory runs out.
    if (zmq_msg_init_size(&message_, bytes.size()) != 0)
        throw std::bad_alloc();
    std::ranges::copy(bytes, static_cast<char *>(zmq_msg_data(&message_)));
}

msg_t::msg_t(msg_t &&other) noexcept
    : msg_t()
{
    zmq_msg_move(&message_, &other.message_);
}

msg_t &msg_t::operator=(msg_t &&other) noexcept
{
    // zmq_msg_move() of a message into itself would close the message and then use it.
    if (this != &other)
        zmq_msg_move(&message_, &other.message_);
    return *this;
}

msg_t::~msg_t()
{
    zmq_msg_close(&message_);
}

char const *msg_t::data() const noexcept
{
    // zmq_msg_data() does not change the message.
    return static_cast<char const *>(zmq_msg_data(const_cast<zmq_msg_t *>(&message_)));
}

std::size_t msg_t::size() const noexcept
{
    return zmq_msg_size(&message_);
}

} // namespace zeromq
