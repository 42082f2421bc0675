#include "requests/key_difference.h"

#include <tarnwick/data/php/zval.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <variant>

namespace tarnwick::program {
namespace {

using data::php::PelorinArray;

/// Adds the keys that a result of `diff_keys` has. `other` is the argument of that call. The result shares keys and
/// whole values with it, and has new arrays for those that differ in part.
void add_keys(PelorinArray const &result, PelorinArray const &other, KeyDifference &current,
              std::vector<KeyDifference> &differences)
{
    auto element = other->elements().begin();
    for (auto const &[key, value] : result->elements()) {
        element = std::ranges::find_if(element, other->elements().end(),
                                       [&](auto const &candidate) { return candidate.first == key; });
        current.path.push_back(key_text(key));
        if (element->second == value)
            differences.push_back(current);
        else
            add_keys(std::get<PelorinArray>(value->value()), std::get<PelorinArray>(element->second->value()), current,
                     differences);
        current.path.pop_back();
        ++element;
    }
}

} // namespace

std::vector<KeyDifference> compare_keys(KeyArrays const &a, KeyArrays const &b)
{
    std::vector<KeyDifference> differences;
    for (std::size_t i = 0; i < key_array_names.size(); ++i) {
        if (!a[i] || !b[i])
            continue;
        KeyDifference current{.array = key_array_names[i], .is_in_b = false, .path = {}};
        add_keys(b[i]->diff_keys(*a[i]), a[i], current, differences);
        current.is_in_b = true;
        add_keys(a[i]->diff_keys(*b[i]), b[i], current, differences);
    }
    return differences;
}

std::vector<KeyDifference> compare_keys(std::vector<RouteDifference> const &routes)
{
    std::vector<KeyDifference> differences;
    for (auto const &route : routes) {
        if (route.a == nullptr || route.b == nullptr)
            continue;
        for (auto &difference : compare_keys(route.a->keys(), route.b->keys())) {
            difference.route = &route.route;
            differences.push_back(std::move(difference));
        }
    }
    return differences;
}

TextRanges ranges_of_key(Masks const &masks, std::string_view key)
{
    auto const colon = key.find(':');
    if (colon < key.size() && masks.is_secret(key.substr(0, colon)))
        return {{colon + 1, key.size()}};
    return masks.ranges(key);
}

} // namespace tarnwick::program
