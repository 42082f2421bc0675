#include <tarnwick/data/php/stack_trace.h>

#include <tarnwick/messages.h>

#include <pelorin/protobuf/PelorinPHP/stack_trace.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>

namespace tarnwick::data::php {
namespace {

// No reserve(): memory then depends on the frames that exist, not on the number that a message announces.
template <class Frames>
QList<Function> functions(Frames const &frames)
{
    QList<Function> list;
    for (auto const &frame : frames)
        list.emplaceBack(frame);
    return list;
}

} // namespace

StackTrace::StackTrace(messages::rpc_php::StackTrace const &message)
    : frames_(functions(message.frames()))
{
}

StackTrace::StackTrace(google::protobuf::RepeatedPtrField<messages::protobuf_php::StackTraceFrame> const &frames)
    : frames_(functions(frames))
{
}

StackTrace::StackTrace(messages::protobuf_php::StackTrace const &message)
    : StackTrace(message.frames())
{
}

} // namespace tarnwick::data::php
