#include <tarnwick/data/codetrace/add_data.h>

namespace tarnwick::data::codetrace::detail {

AddData::AddData(ZMQ::Message message, php::RequestId request_id, long skip) noexcept
    : request_id_(request_id)
    , chunk_(message, skip)
{
}

AddData::AddData(zeromq::msg_t &&message, php::RequestId request_id) noexcept
    : request_id_(request_id)
    , chunk_(message)
{
}

} // namespace tarnwick::data::codetrace::detail
