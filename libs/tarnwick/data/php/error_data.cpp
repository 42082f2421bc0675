#include <tarnwick/data/php/error_data.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {

ErrorData::ErrorData(messages::rpc_php::NotifyRequest const &message)
    : request_id_(message.request_id())
    , timestamp_(time_pair(message.timestamp()))
{
    if (message.payload_case() != messages::rpc_php::NotifyRequest::kError)
        return;

    // A report of an error with neither member is an error without any details.
    auto const &payload = message.error();
    if (payload.error_or_exception_case() == messages::rpc_php::ErrorPayload::kException)
        read<Exception>(payload.exception());
    else
        read<Error>(payload.error());
}

template <class Detail, class Message>
void ErrorData::read(Message const &message)
{
    details_.emplace<Detail>(message);
    message_ = text(message.message());
    location_ = location_when_present(message);
    if (message.has_stack_trace())
        stack_trace_.emplace(message.stack_trace());
}

ErrorData::ErrorData(messages::protobuf_glimmet::Error const &message, RequestId request_id)
    : request_id_(request_id)
    , timestamp_(time_pair(message.timestamp()))
    , message_(text(message.message()))
    , location_(location_when_file_named(message.file(), message.line()))
{
    if (message.has_stack_trace())
        stack_trace_.emplace(message.stack_trace());
    // Errors and exceptions share one message in this dialect. Only the number distinguishes them.
    if (message.number() != 0)
        details_.emplace<Error>(message);
    else
        details_.emplace<Exception>(message);
}

} // namespace tarnwick::data::php::detail
