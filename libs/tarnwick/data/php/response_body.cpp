#include <tarnwick/data/php/response_body.h>

#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {
namespace {

// A report of another case reads as one without a body.
Body response_body(messages::rpc_php::NotifyRequest const &message)
{
    auto const &response = message.rshutdown().response();
    if (!response.has_body())
        return {};
    auto const &body = response.body();
    return {body.text_0(), body.number(), body.text_1()};
}

} // namespace

ResponseBody::ResponseBody(messages::rpc_php::NotifyRequest const &message)
    : request_id_(message.request_id())
    , body_(response_body(message))
{
}

// This dialect sends no number.
ResponseBody::ResponseBody(messages::protobuf_glimmet::ResponseBody const &message, RequestId request_id)
    : request_id_(request_id)
    , body_(message.text_0(), 0, message.text_1())
{
}

} // namespace tarnwick::data::php::detail
