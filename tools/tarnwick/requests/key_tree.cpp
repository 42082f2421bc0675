#include "requests/key_tree.h"

#include "requests/route.h"

#include <tarnwick/data/php/make_values.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <variant>

namespace tarnwick::program {
namespace {

KeyTree &tree_at(std::unique_ptr<KeyTree> &place)
{
    if (!place)
        place = std::make_unique<KeyTree>();
    return *place;
}

} // namespace

void KeyTree::add(data::php::PelorinArray const &array)
{
    for (auto const &[key, value] : array->elements()) {
        auto const text = key_text(key);
        auto &place = keys_[is_id(text) ? std::string(id_placeholder) : text];
        if (auto const *elements = std::get_if<data::php::PelorinArray>(&value->value()))
            tree_at(place).add(*elements);
    }
}

void KeyTree::add(KeyTree const &other)
{
    for (auto const &[key, other_nested] : other.keys_) {
        auto &place = keys_[key];
        if (other_nested)
            tree_at(place).add(*other_nested);
    }
}

data::php::PelorinArray KeyTree::array() const
{
    using namespace data::php;
    PelorinArray::Elements elements;
    for (auto const &[key, nested] : keys_)
        elements.emplace_back(php_string(key), nested ? php_array(nested->array()) : php_null());
    return php_elements(std::move(elements));
}

void add(KeyTrees &trees, CountedKeys const &keys)
{
    for (std::size_t i = 0; i < trees.size(); ++i) {
        if (keys[i] != nullptr)
            tree_at(trees[i]).add(*keys[i]);
    }
}

KeyArrays arrays_of(KeyTrees const &trees)
{
    KeyArrays arrays;
    for (std::size_t i = 0; i < trees.size(); ++i) {
        if (trees[i])
            arrays[i] = trees[i]->array();
    }
    return arrays;
}

CountedKeys RequestKeys::counted() const
{
    auto const &[rpc, protobuf] = trees_;
    bool const has_rpc_superglobals =
        std::any_of(rpc.begin() + first_superglobals, rpc.end(), [](auto const &tree) { return tree != nullptr; });
    CountedKeys counted{};
    for (std::size_t i = 0; i < counted.size(); ++i) {
        bool const is_rpc = i < first_superglobals ? rpc[i] != nullptr : has_rpc_superglobals;
        counted[i] = (is_rpc ? rpc[i] : protobuf[i]).get();
    }
    return counted;
}

} // namespace tarnwick::program
