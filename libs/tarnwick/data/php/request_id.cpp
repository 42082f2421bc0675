#include <tarnwick/data/php/request_id.h>

#include <tarnwick/messages.h>

#include <tarnwick/rpc/php/v1/request_id.pb.h>

namespace tarnwick::data::php {

RequestId::RequestId(messages::rpc_php::RequestId const &message) noexcept
    : id_(message.id())
{
}

} // namespace tarnwick::data::php
