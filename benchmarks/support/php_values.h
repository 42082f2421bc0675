#pragma once

#include "support/floor.h"

#include <tarnwick/data/php/zval.h>

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

// PHP values as parts of workloads: reading them, their floor, and building other trees of them. Only the kinds of
// values that requests have.

namespace tarnwick::bench {

using PhpValue = data::php::detail::ZVal;
using PhpArray = data::php::detail::PelorinArray;

std::size_t read(PhpArray const &array);

inline std::size_t read(PhpValue const &value)
{
    if (auto const *array = std::get_if<data::php::PelorinArray>(&value.value()))
        return read(**array);
    if (auto const *bytes = std::get_if<std::string>(&value.value()))
        return bytes->size();
    if (auto const *number = std::get_if<std::int64_t>(&value.value()))
        return static_cast<std::size_t>(*number);
    return value.value().index();
}

inline std::size_t read(PhpArray const &array)
{
    std::size_t sum = 0;
    for (auto const &[key, value] : array.elements())
        sum += read(*key) + read(*value);
    return sum;
}

/// Allocates the payload of a key, or of a value of a group.
inline void floor_string(Floor &floor, std::string_view bytes)
{
    floor.block(sizeof(PhpValue));
    floor.string(bytes);
}

inline void floor_elements(Floor &floor, int elements)
{
    floor.block(sizeof(PhpArray));
    floor.block(static_cast<std::size_t>(elements) * sizeof(PhpArray::Elements::value_type));
}

inline void floor_value(Floor &floor, pelorin::protobuf::PelorinPHP::ZVal const &value)
{
    floor.block(sizeof(PhpValue));
    if (value.has_string_value())
        floor.string(value.string_value());
    else if (value.has_json_value())
        floor.byte_array(value.json_value());
}

template <class Array>
void floor_array(Floor &floor, Array const &array);

inline void floor_value(Floor &floor, rpc::php::v1::ZVal const &value)
{
    floor.block(sizeof(PhpValue));
    if (value.has_string_value())
        floor.string(value.string_value());
    else if (value.has_array_value())
        floor_array(floor, value.array_value());
}

template <class Array>
void floor_array(Floor &floor, Array const &array)
{
    floor_elements(floor, array.elements_size());
    for (auto const &element : array.elements()) {
        floor.block(sizeof(PhpValue));
        if (element.has_string_key())
            floor.string(element.string_key());
        floor_value(floor, element.value());
    }
}

/// Floor of superglobals of the protobuf dialect. `value_of` returns the value of an entry, or null if the entry is
/// left out.
template <class Message, class ValueOf>
void floor_groups(Floor &floor, Message const &message, ValueOf value_of)
{
    floor_elements(floor, message.groups_size());
    for (auto const &group : message.groups()) {
        floor_string(floor, group.name());
        floor.block(sizeof(PhpValue));
        auto const taken = std::ranges::count_if(group.entries(), value_of);
        floor_elements(floor, static_cast<int>(taken));
        for (auto const &entry : group.entries()) {
            if (auto const *value = value_of(entry)) {
                floor_string(floor, entry.key());
                floor_value(floor, *value);
            }
        }
    }
}

/// Floor of headers of the protobuf dialect.
template <class Message>
void floor_lines(Floor &floor, Message const &message)
{
    floor_elements(floor, message.lines_size());
    for (std::string_view const line : message.lines()) {
        auto const colon = line.find(": ");
        floor_string(floor, line.substr(0, colon));
        if (colon == line.npos)
            floor.block(sizeof(PhpValue));
        else
            floor_string(floor, line.substr(colon + 2));
    }
}

template <class Tree, class Array>
Tree::Object tree_of(Array const &array);

template <class Tree>
void put_value(typename Tree::Object &object, std::string const &key, rpc::php::v1::ZVal const &value)
{
    if (value.has_array_value())
        Tree::put(object, key, tree_of<Tree>(value.array_value()));
    else if (value.has_string_value())
        Tree::put(object, key, Tree::bytes(value.string_value()));
    else
        Tree::put(object, key, Tree::number(value.long_value()));
}

template <class Tree>
void put_value(typename Tree::Object &object, std::string const &key, pelorin::protobuf::PelorinPHP::ZVal const &value)
{
    if (value.has_string_value())
        Tree::put(object, key, Tree::bytes(value.string_value()));
    else if (value.has_json_value())
        Tree::put(object, key, Tree::bytes(value.json_value()));
    else
        Tree::put(object, key, Tree::number(value.long_value()));
}

template <class Tree, class Array>
Tree::Object tree_of(Array const &array)
{
    typename Tree::Object object;
    for (auto const &element : array.elements()) {
        auto const key = element.has_string_key() ? element.string_key() : std::to_string(element.long_key());
        put_value<Tree>(object, key, element.value());
    }
    return object;
}

/// Builds a tree of superglobals of the protobuf dialect; arguments as for `floor_groups`.
template <class Tree, class Message, class ValueOf>
Tree::Object tree_of_groups(Message const &message, ValueOf value_of)
{
    typename Tree::Object groups;
    for (auto const &group : message.groups()) {
        typename Tree::Object entries;
        for (auto const &entry : group.entries())
            if (auto const *value = value_of(entry))
                put_value<Tree>(entries, entry.key(), *value);
        Tree::put(groups, group.name(), std::move(entries));
    }
    return groups;
}

/// Builds a tree of headers of the protobuf dialect.
template <class Tree, class Message>
Tree::Object tree_of_lines(Message const &message)
{
    typename Tree::Object headers;
    for (auto const &line : message.lines()) {
        auto const colon = line.find(": ");
        auto const value = colon == line.npos ? std::string() : line.substr(colon + 2);
        Tree::put(headers, line.substr(0, colon), Tree::bytes(value));
    }
    return headers;
}

} // namespace tarnwick::bench
