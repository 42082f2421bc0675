#include <tarnwick/data/codetrace/data.h>

namespace tarnwick::data::codetrace::detail {

Data::Data(ZMQ::Message message, php::RequestId request_id, long skip) noexcept
    : request_id_(request_id)
    , chunk_(message, skip)
{
}

Data::Data(zeromq::msg_t &&message, php::RequestId request_id) noexcept
    : request_id_(request_id)
    , chunk_(message)
{
}

} // namespace tarnwick::data::codetrace::detail
