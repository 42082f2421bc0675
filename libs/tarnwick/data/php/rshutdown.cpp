#include <tarnwick/data/php/rshutdown.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {

RShutdown::RShutdown(messages::rpc_php::NotifyRequest const &message) noexcept
    : request_id_(message.request_id())
    , timestamp_(time_pair(message.timestamp()))
    , duration_(time_pair(message.rshutdown().duration()))
    , response_status_(message.rshutdown().response().status())
    , memory_0_(message.rshutdown().memory().value_0())
    , memory_1_(message.rshutdown().memory().value_1())
    , memory_2_(message.rshutdown().memory().value_2())
{
}

// This dialect sends no time stamp, and the current time is no substitute.
RShutdown::RShutdown(messages::protobuf_php::RShutdownData const &message, RequestId request_id) noexcept
    : request_id_(request_id)
    , duration_(time_pair(message.duration()))
    , response_status_(message.response_status())
    , memory_0_(message.memory_0())
    , memory_1_(message.memory_1())
    , memory_2_(message.memory_2())
{
}

} // namespace tarnwick::data::php::detail
