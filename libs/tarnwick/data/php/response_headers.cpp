#include <tarnwick/data/php/response_headers.h>

#include <tarnwick/data/php/header_lines.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {

// A report of another case reads as one without headers.
ResponseHeaders::ResponseHeaders(messages::rpc_php::NotifyRequest const &message)
    : request_id_(message.request_id())
    , headers_(new PelorinArray(message.rshutdown().response().headers()))
{
}

ResponseHeaders::ResponseHeaders(messages::protobuf_glimmet::ResponseHeaders const &message, RequestId request_id)
    : request_id_(request_id)
    , headers_(split_header_lines(message.lines()))
{
}

} // namespace tarnwick::data::php::detail
