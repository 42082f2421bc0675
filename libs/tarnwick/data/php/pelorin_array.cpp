#include <tarnwick/data/php/pelorin_array.h>

#include <tarnwick/data/php/make_values.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <algorithm>
#include <cstddef>
#include <functional>

namespace tarnwick::data::php::detail {
namespace {

// The dialects number the two keys differently, so the constants come from the message class.
template <class Element>
ZVal *new_key(Element const &element)
{
    switch (element.key_case()) {
    case Element::kLongKey:
        return new ZVal(std::in_place_type<std::int64_t>, element.long_key());
    case Element::kStringKey:
        return new ZVal(std::in_place_type<std::string>, element.string_key());
    case Element::KEY_NOT_SET:
        break;
    }
    return new ZVal;
}

template <class Message>
PelorinArray::Elements elements_of(Message const &message)
{
    PelorinArray::Elements elements;
    elements.reserve(static_cast<std::size_t>(message.elements_size()));
    for (auto const &element : message.elements())
        elements.emplace_back(php::ZVal(new_key(element)), php::ZVal(new ZVal(element.value())));
    return elements;
}

// Nested handles compare by pointer, scalars and strings by value.
bool same_key(ZVal const &left, ZVal const &right)
{
    if (left.kind() != right.kind())
        return false;
    auto const both = [&]<class Content>(std::in_place_type_t<Content>, auto &&same) {
        return same(std::get<Content>(left.value()), std::get<Content>(right.value()));
    };
    switch (left.kind()) {
    case ZVal::Kind::undefined:
    case ZVal::Kind::null:
        return true;
    case ZVal::Kind::bool_:
        return both(std::in_place_type<bool>, std::equal_to<>());
    case ZVal::Kind::long_:
        return both(std::in_place_type<std::int64_t>, std::equal_to<>());
    case ZVal::Kind::double_:
        return both(std::in_place_type<double>, std::equal_to<>());
    case ZVal::Kind::string:
        return both(std::in_place_type<std::string>, std::equal_to<>());
    case ZVal::Kind::array:
        return both(std::in_place_type<php::PelorinArray>,
                    [](auto const &a, auto const &b) { return a->elements() == b->elements(); });
    case ZVal::Kind::object:
        return both(std::in_place_type<php::PelorinObject>, [](auto const &a, auto const &b) {
            return a->class_name() == b->class_name() && a->properties() == b->properties() && a->value() == b->value();
        });
    case ZVal::Kind::resource:
        return both(std::in_place_type<php::PelorinResource>, [](auto const &a, auto const &b) {
            return a->type_name() == b->type_name() && a->value() == b->value();
        });
    case ZVal::Kind::json:
        return both(std::in_place_type<QByteArray>, std::equal_to<>());
    case ZVal::Kind::timestamp:
        return both(std::in_place_type<TimePair>, std::equal_to<>());
    }
    // Both variants are valueless.
    return false;
}

} // namespace

PelorinArray::PelorinArray() noexcept = default;

PelorinArray::PelorinArray(messages::rpc_php::PelorinArray const &message)
    : elements_(elements_of(message))
{
}

PelorinArray::PelorinArray(messages::protobuf_php::PelorinArray const &message)
    : elements_(elements_of(message))
{
}

php::PelorinArray PelorinArray::diff_keys(PelorinArray const &other) const
{
    Elements difference;
    for (auto const &element : other.elements_) {
        auto const &[key, value] = element;
        auto const own = std::ranges::find_if(
            elements_, [&sought = *key](auto const &candidate) { return same_key(*candidate.first, sought); });
        if (own == elements_.end()) {
            difference.push_back(element);
            continue;
        }
        auto const *array = std::get_if<php::PelorinArray>(&value->value());
        auto const *own_array = std::get_if<php::PelorinArray>(&own->second->value());
        if (array == nullptr || own_array == nullptr)
            continue;
        auto nested = (*own_array)->diff_keys(**array);
        if (!nested->elements().empty())
            difference.emplace_back(key, php_array(std::move(nested)));
    }
    return php_elements(std::move(difference));
}

void PelorinArray::to_protobuf(messages::rpc_php::PelorinArray &message) const
{
    for (auto const &[key, value] : elements_) {
        auto &element = *message.add_elements();
        if (auto const *number = std::get_if<std::int64_t>(&key->value()))
            element.set_long_key(*number);
        else if (auto const *bytes = std::get_if<std::string>(&key->value()))
            element.set_string_key(*bytes);
        value->to_protobuf(*element.mutable_value());
    }
}

} // namespace tarnwick::data::php::detail
