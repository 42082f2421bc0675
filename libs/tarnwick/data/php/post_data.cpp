#include <tarnwick/data/php/post_data.h>

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {

PostData::PostData(rpc::php::v1::NotifyRequest const &message)
    : Body(RequestId(message.request_id()))
{
    // The report of another case reads as one without a body.
    auto const &request = message.rinit().request();
    if (request.has_post_data())
        fill(request.post_data().text_0(), request.post_data().number(), request.post_data().text_1());
}

PostData::PostData(pelorin::protobuf::Glimmet::RawPostData const &message, RequestId request_id)
    : Body(request_id)
{
    fill(message.text_0(), message.number(), message.text_1());
}

} // namespace tarnwick::data::php::detail
