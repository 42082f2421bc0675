#include <tarnwick/data/glimmet/functions.h>

#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

namespace tarnwick::data::glimmet::detail {

// No reserve(): memory then depends on the functions that exist, not on the number that a message announces.

Functions::Functions(messages::rpc_glimmet::NotifyRequest const &message)
    : request_id_(message.request_id())
{
    for (auto const &function : message.functions().functions())
        functions_.emplaceBack(function);
}

Functions::Functions(messages::protobuf_glimmet::Functions const &message, php::RequestId request_id)
    : request_id_(request_id)
{
    for (auto const &function : message.functions())
        functions_.emplaceBack(function);
}

} // namespace tarnwick::data::glimmet::detail
