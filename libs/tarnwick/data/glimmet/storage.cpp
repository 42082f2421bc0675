#include <tarnwick/data/glimmet/storage.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

namespace tarnwick::data::glimmet::detail {

// No reserve(): memory then depends on the entries that exist, not on the number that a message announces.

Storage::Storage(messages::rpc_glimmet::NotifyRequest const &message)
    : request_id_(message.request_id())
{
    if (message.payload_case() != messages::rpc_glimmet::NotifyRequest::kStorage)
        return;

    name_ = text(message.storage().name());
    for (auto const &entry : message.storage().entries())
        entries_.emplaceBack(entry);
}

Storage::Storage(messages::protobuf_glimmet::Storage const &message, php::RequestId request_id)
    : request_id_(request_id)
    , name_(text(message.name()))
{
    for (auto const &entry : message.entries())
        entries_.emplaceBack(entry);
}

} // namespace tarnwick::data::glimmet::detail
