#include <tarnwick/data/glimmet/function_stats.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <tarnwick/rpc/glimmet/v1/functions.pb.h>

namespace tarnwick::data::glimmet {

// Absent statistics read as an empty message: zeroes.
FunctionStats::FunctionStats(messages::rpc_glimmet::Function const &message)
    : has_location_(message.has_location())
    , name_(text(message.name()))
    , location_(location_when_present(message))
    , count_(message.stats().count())
    , time_first_(time_pair(message.stats().time_first()))
    , time_second_(time_pair(message.stats().time_second()))
{
}

// Unlike elsewhere in this dialect, the kind decides whether there is a location, not the file name. Otherwise the file
// is not read; with this kind even an empty file keeps its lines.
FunctionStats::FunctionStats(messages::protobuf_glimmet::Function const &message)
    : has_location_(message.kind() == messages::protobuf_glimmet::Function::KIND_IN_SOURCE)
    , name_(text(message.name()))
    , count_(message.count())
    , time_first_(time_pair(message.time_first()))
    , time_second_(time_pair(message.time_second()))
{
    if (has_location_)
        location_.emplace(text(message.file()), message.line(), message.line_extra());
}

FunctionStats::FunctionStats(FunctionStats const &other) = default;
FunctionStats::FunctionStats(FunctionStats &&other) noexcept = default;
FunctionStats &FunctionStats::operator=(FunctionStats const &other) = default;
FunctionStats &FunctionStats::operator=(FunctionStats &&other) noexcept = default;
FunctionStats::~FunctionStats() = default;

} // namespace tarnwick::data::glimmet
