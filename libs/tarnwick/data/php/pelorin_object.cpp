#include <tarnwick/data/php/pelorin_object.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <tarnwick/rpc/php/v1/zval.pb.h>

namespace tarnwick::data::php::detail {

// Absent parts read as empty messages: an array without elements, a value of kind `undefined`.
PelorinObject::PelorinObject(messages::rpc_php::PelorinObject const &message)
    : class_name_(text(message.class_name()))
    , properties_(new PelorinArray(message.properties()))
    , value_(new ZVal(message.value()))
{
}

void PelorinObject::to_protobuf(messages::rpc_php::PelorinObject &message) const
{
    message.set_class_name(view(class_name_.toUtf8()));
    if (value_->kind() != ZVal::Kind::undefined)
        value_->to_protobuf(*message.mutable_value());
    if (!properties_->elements().empty())
        properties_->to_protobuf(*message.mutable_properties());
}

} // namespace tarnwick::data::php::detail
