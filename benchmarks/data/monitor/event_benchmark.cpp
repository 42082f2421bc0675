#include "support/record_benchmark.h"
#include "support/stack_traces.h"

#include <tarnwick/data/monitor/event.h>

#include <pelorin/protobuf/Monitor/event.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>

// A slow function with its stack trace, and a slow request, which has none.

namespace tarnwick::data::monitor {
namespace {

using ProtobufEvent = pelorin::protobuf::Monitor::Event;
using RpcEvent = rpc::monitor::v1::NotifyRequest;

template <class Message>
void fill_common(Message &message, int number)
{
    message.set_text("The function took longer than its limit.");
    message.mutable_timestamp()->set_seconds(1'700'000'000 + number);
    message.set_flag(number % 2 == 0);
}

void fill_with_trace(RpcEvent &message, int number)
{
    fill_common(message, number);
    message.mutable_request_id()->set_id(static_cast<std::uint64_t>(number));
    auto &event = *message.mutable_slow_function_exec();
    bench::fill(*event.mutable_stack_trace(), number);
    *event.mutable_function() = event.stack_trace().frames(0).function();
    event.mutable_duration()->set_seconds(number);
}

void fill_with_trace(ProtobufEvent &message, int number)
{
    fill_common(message, number);
    message.set_type(ProtobufEvent::TYPE_SLOW_FUNCTION_EXEC);
    pelorin::protobuf::PelorinPHP::StackTrace trace;
    bench::fill(trace, number);
    *message.mutable_frames() = trace.frames();
    auto const &frame = message.frames(0);
    auto &function = *message.mutable_function();
    function.set_name(frame.name());
    function.set_file(frame.file());
    function.set_line(frame.line());
    *function.mutable_arguments() = frame.arguments();
    message.mutable_duration()->set_seconds(number);
}

void fill_without_trace(RpcEvent &message, int number)
{
    fill_common(message, number);
    message.mutable_request_id()->set_id(static_cast<std::uint64_t>(number));
    message.mutable_slow_request()->mutable_duration()->set_seconds(number);
}

void fill_without_trace(ProtobufEvent &message, int number)
{
    fill_common(message, number);
    message.set_type(ProtobufEvent::TYPE_SLOW_REQUEST);
    message.mutable_duration()->set_seconds(number);
}

[[maybe_unused]] bool const registered = [] {
    auto const from_rpc = [](RpcEvent const &message) { return Event(new detail::Event(message)); };
    auto const from_protobuf = [](ProtobufEvent const &message) {
        return Event(new detail::Event(message, php::RequestId(7)));
    };
    bench::add_record<RpcEvent>("Event/with_25_frames/rpc", fill_with_trace, from_rpc);
    bench::add_record<ProtobufEvent>("Event/with_25_frames/protobuf", fill_with_trace, from_protobuf);
    bench::add_record<RpcEvent>("Event/without_trace/rpc", fill_without_trace, from_rpc);
    bench::add_record<ProtobufEvent>("Event/without_trace/protobuf", fill_without_trace, from_protobuf);
    return true;
}();

} // namespace
} // namespace tarnwick::data::monitor
