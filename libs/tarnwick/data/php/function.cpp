#include <tarnwick/data/php/function.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Monitor/function_data.pb.h>
#include <pelorin/protobuf/PelorinPHP/stack_trace.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>

namespace tarnwick::data::php {

// Absent arguments read as an empty message: an array without elements.

Function::Function(messages::protobuf_monitor::FunctionData const &message)
    : name_(text(message.name()))
    , args_(new detail::PelorinArray(message.arguments()))
    , location_(location_when_file_named(message.file(), message.line()))
{
}

Function::Function(messages::protobuf_php::StackTraceFrame const &message)
    : name_(text(message.name()))
    , args_(new detail::PelorinArray(message.arguments()))
    , location_(location_when_file_named(message.file(), message.line()))
    , frame_number_(message.frame_number())
{
}

Function::Function(messages::rpc_php::Function const &message)
    : name_(text(message.name()))
    , args_(new detail::PelorinArray(message.arguments()))
    , location_(location_when_present(message))
{
    if (message.has_call_value())
        call_value_.emplace(new detail::ZVal(message.call_value()));
}

Function::Function(messages::rpc_php::StackTraceFrame const &message)
    : Function(message.function())
{
    frame_number_ = message.frame_number();
}

Function::Function(Function const &other) = default;
Function::Function(Function &&other) noexcept = default;
Function &Function::operator=(Function const &other) = default;
Function &Function::operator=(Function &&other) noexcept = default;
Function::~Function() = default;

} // namespace tarnwick::data::php
