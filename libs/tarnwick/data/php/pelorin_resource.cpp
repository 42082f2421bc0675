#include <tarnwick/data/php/pelorin_resource.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <tarnwick/rpc/php/v1/zval.pb.h>

namespace tarnwick::data::php::detail {

// An absent value reads as an empty message: kind `undefined`.
PelorinResource::PelorinResource(messages::rpc_php::PelorinResource const &message)
    : type_name_(text(message.type_name()))
    , value_(new ZVal(message.value()))
{
}

void PelorinResource::to_protobuf(messages::rpc_php::PelorinResource &message) const
{
    message.set_type_name(view(type_name_.toUtf8()));
    if (value_->kind() != ZVal::Kind::undefined)
        value_->to_protobuf(*message.mutable_value());
}

} // namespace tarnwick::data::php::detail
