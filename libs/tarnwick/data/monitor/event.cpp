#include <tarnwick/data/monitor/event.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Monitor/event.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

namespace tarnwick::data::monitor::detail {
namespace {

using Kind = Event::Kind;
using ProtobufEvent = messages::protobuf_monitor::Event;
using RpcEvent = messages::rpc_monitor::NotifyRequest;

Kind kind_of(RpcEvent::EventCase member)
{
    switch (member) {
    case RpcEvent::kSlowFunctionExec:
        return Kind::slow_function_exec;
    case RpcEvent::kFunctionError:
        return Kind::function_error;
    case RpcEvent::kSlowRequest:
        return Kind::slow_request;
    case RpcEvent::kHighMemoryUsage:
        return Kind::high_memory_usage;
    case RpcEvent::kPhpError:
        return Kind::php_error;
    case RpcEvent::kCustom:
        return Kind::custom_event;
    default:
        return Kind::unknown;
    }
}

Kind kind_of(ProtobufEvent::Type type)
{
    switch (type) {
    case ProtobufEvent::TYPE_SLOW_FUNCTION_EXEC:
        return Kind::slow_function_exec;
    case ProtobufEvent::TYPE_FUNCTION_ERROR:
        return Kind::function_error;
    case ProtobufEvent::TYPE_SLOW_REQUEST:
        return Kind::slow_request;
    case ProtobufEvent::TYPE_HIGH_MEMORY_USAGE:
        return Kind::high_memory_usage;
    case ProtobufEvent::TYPE_PHP_ERROR:
        return Kind::php_error;
    case ProtobufEvent::TYPE_CUSTOM:
        return Kind::custom_event;
    default:
        return Kind::unknown;
    }
}

// The message may also have a second line number, a stack trace and a category. An event's error has none of them in
// either dialect; the report of the error itself does.
Event::PhpError php_error(messages::rpc_php::Error const &message)
{
    Event::PhpError error;
    if (message.has_type()) {
        error.error_number = message.type().number();
        error.error_name = text(message.type().name());
    }
    error.message = text(message.message());
    if (message.has_location())
        error.location.emplace(text(message.location().file()), message.location().line(), 0);
    return error;
}

Event::PhpError php_error(messages::protobuf_monitor::PhpErrorData const &message)
{
    return {
        .error_number = message.error_number(),
        .error_name = text(message.error_name()),
        .message = text(message.message()),
        .location = location_when_file_named(message.file(), message.line()),
    };
}

std::int32_t level(std::int32_t number)
{
    return number >= -1 && number <= 1 ? number : Event::CustomEvent::other_level;
}

/// Reads the message of either dialect. An absent value reads as an empty message: kind `undefined`.
template <class Message>
Event::CustomEvent custom_event(Message const &message)
{
    return {
        .text_0 = text(message.text_0()),
        .text_1 = text(message.text_1()),
        .value = php::ZVal(new php::detail::ZVal(message.value())),
        .level = level(message.level()),
    };
}

} // namespace

Event::Event(messages::rpc_monitor::NotifyRequest const &message)
    : request_id_(message.request_id())
    , timestamp_(time_pair(message.timestamp()))
    , kind_(kind_of(message.event_case()))
    , event_text_(text(message.text()))
    , event_flag_(message.flag())
{
    auto const read_function = [this](auto const &event) {
        if (event.has_function())
            function_.emplace(event.function());
    };
    auto const read_stack_trace = [this](auto const &event) {
        if (event.has_stack_trace())
            stack_trace_.emplace(event.stack_trace());
    };
    switch (kind_) {
    case Kind::slow_function_exec:
        read_function(message.slow_function_exec());
        read_stack_trace(message.slow_function_exec());
        details_ = SlowFunctionExec{time_pair(message.slow_function_exec().duration())};
        break;
    case Kind::function_error:
        read_function(message.function_error());
        read_stack_trace(message.function_error());
        break;
    case Kind::slow_request:
        details_ = SlowRequest{time_pair(message.slow_request().duration())};
        break;
    case Kind::high_memory_usage:
        details_ = HighMemoryUsage{message.high_memory_usage().usage()};
        break;
    case Kind::php_error:
        details_ = php_error(message.php_error().error());
        break;
    case Kind::custom_event:
        details_ = custom_event(message.custom());
        read_stack_trace(message.custom());
        break;
    case Kind::unknown:
        break;
    }
}

// A member of `details` that belongs to another kind is not read: the details are then defaults.
Event::Event(messages::protobuf_monitor::Event const &message, php::RequestId request_id)
    : request_id_(request_id)
    , timestamp_(time_pair(message.timestamp()))
    , kind_(kind_of(message.type()))
    , event_text_(text(message.text()))
    , event_flag_(message.flag())
{
    if (message.has_function())
        function_.emplace(message.function());
    if (!message.frames().empty())
        stack_trace_.emplace(message.frames());

    switch (kind_) {
    case Kind::slow_function_exec:
        details_ = SlowFunctionExec{time_pair(message.duration())};
        break;
    case Kind::function_error:
        break;
    case Kind::slow_request:
        details_ = SlowRequest{time_pair(message.duration())};
        break;
    case Kind::high_memory_usage:
        details_ = HighMemoryUsage{message.usage()};
        break;
    // These two have texts, and without the member their texts are null, not empty.
    case Kind::php_error:
        details_ = message.has_php_error() ? php_error(message.php_error()) : PhpError();
        break;
    case Kind::custom_event:
        details_ = message.has_custom() ? custom_event(message.custom()) : CustomEvent();
        break;
    case Kind::unknown:
        break;
    }
}

} // namespace tarnwick::data::monitor::detail
