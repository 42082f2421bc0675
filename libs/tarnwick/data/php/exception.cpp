#include <tarnwick/data/php/exception.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <tarnwick/rpc/php/v1/error.pb.h>

namespace tarnwick::data::php {

Exception::Exception(messages::rpc_php::Exception const &message)
    : exception_name_(text(message.exception_name()))
    , exception_text_(text(message.exception_text()))
{
}

Exception::Exception(messages::protobuf_glimmet::Error const &message)
    : exception_name_(text(message.name()))
    , exception_text_(text(message.exception_text()))
{
}

} // namespace tarnwick::data::php
