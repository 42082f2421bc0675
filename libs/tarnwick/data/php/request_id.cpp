#include <tarnwick/data/php/request_id.h>

#include <tarnwick/rpc/php/v1/request_id.pb.h>

namespace tarnwick::data::php {

RequestId::RequestId(rpc::php::v1::RequestId const &message) noexcept
    : id_(message.id())
{
}

} // namespace tarnwick::data::php
