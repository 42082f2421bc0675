#include <tarnwick/data/codetrace/chunk.h>

#include <cstddef>

namespace tarnwick::data::codetrace::detail {

// The view refers to the record's own message, since the bytes of a small message move with it. A failed move leaves
// that message empty.

Chunk::Chunk(ZMQ::Message &message, long skip) noexcept
{
    message.move_to(message_.handle());
    auto const size = zmq_msg_size(message_.handle());
    if (skip <= 0 || size <= static_cast<std::size_t>(skip))
        return;
    data_ = static_cast<char const *>(zmq_msg_data(message_.handle())) + skip;
    size_ = size - static_cast<std::size_t>(skip);
    has_view_ = true;
}

Chunk::Chunk(zeromq::msg_t &message) noexcept
{
    zmq_msg_move(message_.handle(), message.handle());
    data_ = static_cast<char const *>(zmq_msg_data(message_.handle()));
    size_ = zmq_msg_size(message_.handle());
    more_ = zmq_msg_more(message_.handle()) != 0;
    has_view_ = true;
}

} // namespace tarnwick::data::codetrace::detail
