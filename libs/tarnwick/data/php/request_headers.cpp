#include <tarnwick/data/php/request_headers.h>

#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {

// The report of another case reads as one without headers.
RequestHeaders::RequestHeaders(rpc::php::v1::NotifyRequest const &message)
    : Headers(RequestId(message.request_id()), message.rinit().request().headers())
{
}

RequestHeaders::RequestHeaders(pelorin::protobuf::Glimmet::RequestHeaders const &message, RequestId request_id)
    : Headers(request_id, message.lines())
{
}

} // namespace tarnwick::data::php::detail
