#include <tarnwick/data/php/source_location.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <tarnwick/rpc/php/v1/source_location.pb.h>

namespace tarnwick::data::php {

SourceLocation::SourceLocation(messages::rpc_php::SourceLocation const &message)
    : file_(text(message.file()))
    , line_(message.line())
    , line_extra_(message.line_extra())
{
}

} // namespace tarnwick::data::php
