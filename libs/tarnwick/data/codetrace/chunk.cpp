#include <tarnwick/data/codetrace/chunk.h>

#include <cstddef>

namespace tarnwick::data::codetrace::detail {

// The view is of the record's own message: a small one's bytes moved with it. A move that fails leaves that empty.

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
