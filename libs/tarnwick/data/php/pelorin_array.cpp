#include <tarnwick/data/php/pelorin_array.h>

#include <tarnwick/data/php/key_index.h>
#include <tarnwick/data/php/make_values.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <algorithm>
#include <cstddef>

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

KeyIndex::Element const *first_with_key(PelorinArray::Elements const &elements, ZVal const &key)
{
    auto const found =
        std::ranges::find_if(elements, [&key](auto const &element) { return same_key(*element.first, key); });
    return found == elements.end() ? nullptr : &*found;
}

PelorinArray::Elements difference_of(PelorinArray const &own_array, PelorinArray const &other_array, KeySearch &search)
{
    auto const &own_elements = own_array.elements();
    auto const *index = search.index_for(own_elements, other_array.elements().size());
    PelorinArray::Elements difference;
    for (auto const &element : other_array.elements()) {
        auto const &[key, value] = element;
        auto const *own = index == nullptr ? first_with_key(own_elements, *key) : index->find(*key);
        if (own == nullptr) {
            difference.push_back(element);
            continue;
        }
        auto const *array = std::get_if<php::PelorinArray>(&value->value());
        auto const *own_value = std::get_if<php::PelorinArray>(&own->second->value());
        if (array == nullptr || own_value == nullptr)
            continue;
        auto nested = difference_of(**own_value, **array, search);
        if (!nested.empty())
            difference.emplace_back(key, php_array(std::move(nested)));
    }
    return difference;
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
    KeySearch search;
    return php_elements(difference_of(*this, other, search));
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
