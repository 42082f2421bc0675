#include <tarnwick/data/php/response_body.h>

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {

ResponseBody::ResponseBody(rpc::php::v1::NotifyRequest const &message)
    : Body(RequestId(message.request_id()))
{
    // The report of another case reads as one without a body.
    auto const &response = message.rshutdown().response();
    if (response.has_body())
        fill(response.body().text_0(), response.body().number(), response.body().text_1());
}

// There is no number in this dialect.
ResponseBody::ResponseBody(pelorin::protobuf::Glimmet::ResponseBody const &message, RequestId request_id)
    : Body(request_id)
{
    fill(message.text_0(), 0, message.text_1());
}

} // namespace tarnwick::data::php::detail
