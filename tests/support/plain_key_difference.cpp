#include "support/plain_key_difference.h"

#include <tarnwick/data/php/make_values.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <variant>

namespace tarnwick::test {

using data::TimePair;
using data::php::detail::ZVal;
namespace php = data::php;

namespace {

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

php::PelorinArray plain_key_difference(php::detail::PelorinArray const &own, php::detail::PelorinArray const &other)
{
    php::detail::PelorinArray::Elements difference;
    for (auto const &element : other.elements()) {
        auto const &[key, value] = element;
        auto const own_element = std::ranges::find_if(
            own.elements(), [&sought = *key](auto const &candidate) { return same_key(*candidate.first, sought); });
        if (own_element == own.elements().end()) {
            difference.push_back(element);
            continue;
        }
        auto const *array = std::get_if<php::PelorinArray>(&value->value());
        auto const *own_array = std::get_if<php::PelorinArray>(&own_element->second->value());
        if (array == nullptr || own_array == nullptr)
            continue;
        auto nested = plain_key_difference(**own_array, **array);
        if (!nested->elements().empty())
            difference.emplace_back(key, php::php_array(std::move(nested)));
    }
    return php::php_elements(std::move(difference));
}

} // namespace tarnwick::test
