#pragma once

// A text notation of PHP values, and the values that no factory creates.

#include <tarnwick/data/php/make_values.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QtCore/QByteArray>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace tarnwick::test {

using PhpKind = data::php::detail::ZVal::Kind;
using PhpElements = data::php::detail::PelorinArray::Elements;

/// A value whose variant lost its content to an exception.
inline data::php::ZVal php_valueless()
{
    struct Failure : std::runtime_error {
        using runtime_error::runtime_error;
    };
    struct Throws {
        [[noreturn]] operator QByteArray() const { throw Failure("no bytes"); }
    };
    data::php::detail::ZVal::Value value(std::in_place_type<QByteArray>, "bytes of a block of their own");
    bool lost = false;
    try {
        value.emplace<QByteArray>(Throws());
    } catch (Failure const &) {
        lost = value.valueless_by_exception();
    }
    EXPECT_TRUE(lost);
    return data::php::ZVal(new data::php::detail::ZVal(std::move(value)));
}

/// All bytes, those that are not printable ASCII as hexadecimal digits.
inline std::string quoted_bytes(std::string_view bytes)
{
    std::string text = "'";
    for (char const byte : bytes) {
        if (byte >= ' ' && byte <= '~')
            text += byte;
        else
            text += fmt::format("\\x{:02x}", static_cast<unsigned char>(byte));
    }
    return text + "'";
}

inline std::string notation(data::php::detail::ZVal const &value);

/// `[long 1 => string 'a', undefined => null]`
inline std::string notation(data::php::detail::PelorinArray const &array)
{
    std::string text;
    for (auto const &[key, value] : array.elements()) {
        text += text.empty() ? "" : ", ";
        text += (key ? notation(*key) : "NULL HANDLE") + " => " + (value ? notation(*value) : "NULL HANDLE");
    }
    return "[" + text + "]";
}

/// `object 'Class' [] undefined`, `resource 'stream' long 7`, `time 5 s 6 ns`, `json '{}'`: kind and content.
inline std::string notation(data::php::detail::ZVal const &value)
{
    auto const of = [](auto const &handle) { return handle ? notation(*handle) : "NULL HANDLE"; };
    auto const &content = value.value();
    switch (value.kind()) {
    case PhpKind::undefined:
        return "undefined";
    case PhpKind::null:
        return "null";
    case PhpKind::bool_:
        return std::get<bool>(content) ? "true" : "false";
    case PhpKind::long_:
        return fmt::format("long {}", std::get<std::int64_t>(content));
    case PhpKind::double_:
        return fmt::format("double {}", std::get<double>(content));
    case PhpKind::string:
        return "string " + quoted_bytes(std::get<std::string>(content));
    case PhpKind::array:
        return of(std::get<data::php::PelorinArray>(content));
    case PhpKind::object: {
        auto const &object = std::get<data::php::PelorinObject>(content);
        if (!object)
            return "NULL HANDLE";
        return "object " + quoted_bytes(object->class_name().toStdString()) + " " + of(object->properties()) + " " +
               of(object->value());
    }
    case PhpKind::resource: {
        auto const &resource = std::get<data::php::PelorinResource>(content);
        if (!resource)
            return "NULL HANDLE";
        return "resource " + quoted_bytes(resource->type_name().toStdString()) + " " + of(resource->value());
    }
    case PhpKind::json:
        return "json " + quoted_bytes(std::get<QByteArray>(content).toStdString());
    case PhpKind::timestamp: {
        auto const &time = std::get<data::TimePair>(content);
        return fmt::format("time {} s {} ns", time.seconds, time.nanos);
    }
    }
    return "valueless";
}

inline std::size_t null_handles(data::php::detail::ZVal const &value);

/// Number of null handles in a tree. There should be none at any depth.
inline std::size_t null_handles(data::php::detail::PelorinArray const &array)
{
    std::size_t count = 0;
    for (auto const &[key, value] : array.elements())
        count += (key ? null_handles(*key) : 1) + (value ? null_handles(*value) : 1);
    return count;
}

inline std::size_t null_handles(data::php::detail::ZVal const &value)
{
    auto const in = [](auto const &handle) -> std::size_t { return handle ? null_handles(*handle) : 1; };
    if (auto const *array = std::get_if<data::php::PelorinArray>(&value.value()))
        return in(*array);
    if (auto const *object = std::get_if<data::php::PelorinObject>(&value.value()))
        return *object ? in((*object)->properties()) + in((*object)->value()) : 1;
    if (auto const *resource = std::get_if<data::php::PelorinResource>(&value.value()))
        return *resource ? in((*resource)->value()) : 1;
    return 0;
}

} // namespace tarnwick::test
