#include <tarnwick/data/php/post_data.h>

#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {
namespace {

// A report of another case reads as one without a body.
Body post_body(messages::rpc_php::NotifyRequest const &message)
{
    auto const &request = message.rinit().request();
    if (!request.has_post_data())
        return {};
    auto const &body = request.post_data();
    return {body.text_0(), body.number(), body.text_1()};
}

} // namespace

PostData::PostData(messages::rpc_php::NotifyRequest const &message)
    : request_id_(message.request_id())
    , body_(post_body(message))
{
}

PostData::PostData(messages::protobuf_glimmet::RawPostData const &message, RequestId request_id)
    : request_id_(request_id)
    , body_(message.text_0(), message.number(), message.text_1())
{
}

} // namespace tarnwick::data::php::detail
