#include <tarnwick/data/php/zval.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <type_traits>

namespace tarnwick::data::php::detail {

static_assert(std::is_same_v<std::variant_alternative_t<std::size_t(ZVal::Kind::timestamp), ZVal::Value>, TimePair>);
static_assert(std::variant_size_v<ZVal::Value> == std::size_t(ZVal::Kind::timestamp) + 1);

ZVal::ZVal() noexcept = default;

ZVal::ZVal(messages::rpc_php::ZVal const &message)
{
    using Message = messages::rpc_php::ZVal;
    switch (message.value_case()) {
    case Message::kNullValue:
        value_.emplace<null_t>();
        break;
    case Message::kBoolValue:
        value_.emplace<bool>(message.bool_value());
        break;
    case Message::kLongValue:
        value_.emplace<std::int64_t>(message.long_value());
        break;
    case Message::kDoubleValue:
        value_.emplace<double>(message.double_value());
        break;
    case Message::kStringValue:
        value_.emplace<std::string>(message.string_value());
        break;
    case Message::kArrayValue:
        value_.emplace<php::PelorinArray>(new PelorinArray(message.array_value()));
        break;
    case Message::kObjectValue:
        value_.emplace<php::PelorinObject>(new PelorinObject(message.object_value()));
        break;
    case Message::kResourceValue:
        value_.emplace<php::PelorinResource>(new PelorinResource(message.resource_value()));
        break;
    case Message::kJsonValue:
        value_.emplace<QByteArray>(bytes(message.json_value()));
        break;
    case Message::kTimestampValue:
        value_.emplace<TimePair>(time_pair(message.timestamp_value()));
        break;
    case Message::VALUE_NOT_SET:
        break;
    }
}

// Only the type selects the kind. If another member of the oneof is set, the selected one reads as its default.
ZVal::ZVal(messages::protobuf_php::ZVal const &message)
{
    using Message = messages::protobuf_php::ZVal;
    switch (message.type()) {
    case Message::TYPE_NULL:
        value_.emplace<null_t>();
        break;
    case Message::TYPE_BOOL:
        value_.emplace<bool>(message.bool_value());
        break;
    case Message::TYPE_STRING:
        value_.emplace<std::string>(message.string_value());
        break;
    case Message::TYPE_LONG:
        value_.emplace<std::int64_t>(message.long_value());
        break;
    case Message::TYPE_DOUBLE:
        value_.emplace<double>(message.double_value());
        break;
    case Message::TYPE_JSON:
        value_.emplace<QByteArray>(bytes(message.json_value()));
        break;
    case Message::TYPE_TIMESTAMP:
        value_.emplace<TimePair>(time_pair(message.timestamp_value()));
        break;
    default:
        break;
    }
}

void ZVal::to_protobuf(messages::rpc_php::ZVal &message) const
{
    switch (kind()) {
    case Kind::undefined:
    case Kind::null:
        break;
    case Kind::bool_:
        message.set_bool_value(std::get<bool>(value_));
        break;
    case Kind::long_:
        message.set_long_value(std::get<std::int64_t>(value_));
        break;
    case Kind::double_:
        message.set_double_value(std::get<double>(value_));
        break;
    case Kind::string:
        message.set_string_value(std::get<std::string>(value_));
        break;
    case Kind::array:
        std::get<php::PelorinArray>(value_)->to_protobuf(*message.mutable_array_value());
        break;
    case Kind::object:
        std::get<php::PelorinObject>(value_)->to_protobuf(*message.mutable_object_value());
        break;
    case Kind::resource:
        std::get<php::PelorinResource>(value_)->to_protobuf(*message.mutable_resource_value());
        break;
    case Kind::json:
        message.set_json_value(view(std::get<QByteArray>(value_)));
        break;
    case Kind::timestamp: {
        auto const &time = std::get<TimePair>(value_);
        message.mutable_timestamp_value()->set_seconds(time.seconds);
        message.mutable_timestamp_value()->set_nanos(time.nanos);
        break;
    }
    }
}

} // namespace tarnwick::data::php::detail
