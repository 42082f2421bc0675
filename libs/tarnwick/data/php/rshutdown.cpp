#include <tarnwick/data/php/rshutdown.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {

RShutdown::RShutdown(messages::rpc_php::NotifyRequest const &message) noexcept
{
    if (message.has_request_id())
        request_id_ = RequestId(message.request_id());
    if (message.has_timestamp())
        timestamp_ = time_pair(message.timestamp());
    if (message.payload_case() != messages::rpc_php::NotifyRequest::kRshutdown)
        return;

    auto const &payload = message.rshutdown();
    if (payload.has_duration())
        duration_ = time_pair(payload.duration());
    if (payload.has_response())
        response_status_ = payload.response().status();
    if (payload.has_memory()) {
        auto const &memory = payload.memory();
        memory_0_ = memory.value_0();
        memory_1_ = memory.value_1();
        memory_2_ = memory.value_2();
    }
}

// This dialect sends no time stamp, and the current time is no substitute.
RShutdown::RShutdown(messages::protobuf_php::RShutdownData const &message, RequestId request_id) noexcept
    : request_id_(request_id)
    , response_status_(message.response_status())
    , memory_0_(message.memory_0())
    , memory_1_(message.memory_1())
    , memory_2_(message.memory_2())
{
    if (message.has_duration())
        duration_ = time_pair(message.duration());
}

} // namespace tarnwick::data::php::detail
