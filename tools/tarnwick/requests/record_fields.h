#pragma once

#include "requests/condition.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/php/function.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/php/stack_trace.h>
#include <tarnwick/data/time_pair.h>

#include <QtCore/QByteArray>
#include <QtCore/QExplicitlySharedDataPointer>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <variant>

namespace tarnwick::program {

// Fields of records by name. Nested fields are separated by dots, as JSON nests them: `location.file`,
// `details.Error.number`. A list has the fields of its elements: `queries.time`.

/// The fields of a record and their types.
using FieldTypes = std::map<std::string, FieldType, std::less<>>;

/// The type of the elements of a list, a table, an optional value or a handle; `void` for others.
template <class T>
struct ElementOf {
    using Type = void;
};
template <class T>
struct ElementOf<std::optional<T>> {
    using Type = T;
};
template <class T>
struct ElementOf<QList<T>> {
    using Type = T;
};
template <class Key, class T>
struct ElementOf<QMap<Key, T>> {
    using Type = T;
};
template <class T>
struct ElementOf<std::unordered_set<T>> {
    using Type = T;
};
template <>
struct ElementOf<data::php::StackTrace> {
    using Type = data::php::Function;
};
template <class Payload>
struct ElementOf<QExplicitlySharedDataPointer<Payload>> {
    using Type = Payload;
};
template <class T>
    requires std::is_base_of_v<typename T::Pointer, T>
struct ElementOf<T> : ElementOf<typename T::Pointer> {};

template <class T>
concept HasElements = !std::is_void_v<typename ElementOf<T>::Type>;

template <class T>
inline constexpr bool is_variant = false;
template <class... Alternatives>
inline constexpr bool is_variant<std::variant<Alternatives...>> = true;

template <class T>
constexpr FieldType leaf_type(data::Sense sense)
{
    if constexpr (std::is_same_v<T, bool>)
        return FieldType::boolean;
    else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T> || std::is_same_v<T, data::php::RequestId>)
        return FieldType::number;
    else if constexpr (std::is_same_v<T, QString> || std::is_same_v<T, QByteArray> || std::is_same_v<T, std::string>)
        return FieldType::text;
    else if constexpr (std::is_same_v<T, data::TimePair>)
        return sense == data::Sense::instant ? FieldType::instant : FieldType::span;
    else
        return FieldType::other;
}

/// Adds the fields of `T`, with `path` before their names, and `path` itself.
template <class T>
void add_field_types(FieldTypes &types, std::string const &path, data::Sense sense)
{
    if constexpr (HasElements<T>) {
        add_field_types<std::remove_const_t<typename ElementOf<T>::Type>>(types, path, sense);
    } else {
        types.emplace(path, leaf_type<T>(sense));
        if constexpr (is_variant<T>) {
            [&]<class... Alternatives>(std::type_identity<std::variant<Alternatives...>>) {
                (
                    [&] {
                        if constexpr (data::Described<Alternatives>)
                            add_field_types<Alternatives>(
                                types, path + '.' + std::string(data::class_name<Alternatives>()), sense);
                    }(),
                    ...);
            }(std::type_identity<T>());
        } else if constexpr (data::Described<T>) {
            data::for_each_field<T>([&](auto const &field) {
                using Value = std::remove_cvref_t<std::invoke_result_t<decltype(field.read), T const &>>;
                auto name = path.empty() ? std::string(field.name) : path + '.' + std::string(field.name);
                if constexpr (requires { field.labels; })
                    add_field_types<Value>(types, name, field.sense);
                else
                    types.emplace(name, FieldType::number); // a link prints as an id
            });
        }
    }
}

/// Returns the fields of a record.
template <data::Described Record>
FieldTypes field_types()
{
    FieldTypes types;
    add_field_types<Record>(types, {}, data::Sense::plain);
    types.erase(std::string());
    return types;
}

template <class T, class Holds>
bool any_value(T const &value, std::string_view path, Holds const &holds);

/// Returns the field's name at the start of a path, and the rest of the path.
constexpr std::pair<std::string_view, std::string_view> split_path(std::string_view path)
{
    auto const dot = path.find('.');
    if (dot == std::string_view::npos)
        return {path, {}};
    return {path.substr(0, dot), path.substr(dot + 1)};
}

template <class T, class Holds>
bool any_element(T const &elements, std::string_view path, Holds const &holds)
{
    bool is_empty = true;
    for (auto const &element : elements) {
        if (any_value(element, path, holds))
            return true;
        is_empty = false;
    }
    return is_empty && holds(FieldValue());
}

/// The value of a single field without parts.
template <class T, class Holds>
bool leaf_holds(T const &value, Holds const &holds)
{
    if constexpr (std::is_same_v<T, bool>)
        return holds(FieldValue(value));
    else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>)
        return holds(FieldValue(static_cast<long double>(value)));
    else if constexpr (std::is_same_v<T, data::php::RequestId>)
        return holds(FieldValue(static_cast<long double>(value.id())));
    else if constexpr (std::is_same_v<T, data::TimePair>)
        return holds(FieldValue(nanoseconds(value)));
    else if constexpr (std::is_same_v<T, std::string>)
        return holds(FieldValue(std::string_view(value)));
    else if constexpr (std::is_same_v<T, QByteArray>)
        return holds(FieldValue(std::string_view(value.constData(), static_cast<std::size_t>(value.size()))));
    else if constexpr (std::is_same_v<T, QString>)
        return value.isNull() ? holds(FieldValue()) : leaf_holds(value.toUtf8(), holds);
    else
        return holds(FieldValue(OtherValue()));
}

/// Returns whether a condition holds for the field at a path, for one of its elements if there are several. `holds` takes
/// a `FieldValue`.
template <class T, class Holds>
bool any_value(T const &value, std::string_view path, Holds const &holds)
{
    if constexpr (std::is_same_v<T, data::php::StackTrace>) {
        return any_element(value.frames(), path, holds);
    } else if constexpr (requires { value.begin(); } && HasElements<T>) {
        return any_element(value, path, holds);
    } else if constexpr (HasElements<T>) { // an optional value, or a handle
        return value ? any_value(*value, path, holds) : holds(FieldValue());
    } else if constexpr (is_variant<T>) {
        if (value.valueless_by_exception())
            return holds(FieldValue());
        return std::visit(
            [&]<class Alternative>(Alternative const &alternative) {
                if constexpr (data::Described<Alternative>) {
                    if (path.empty())
                        return holds(FieldValue(OtherValue()));
                    auto const [name, rest] = split_path(path);
                    if (name == data::class_name<Alternative>())
                        return any_value(alternative, rest, holds);
                }
                return holds(FieldValue());
            },
            value);
    } else if constexpr (data::Described<T>) {
        if (path.empty())
            return holds(FieldValue(OtherValue()));
        auto const [name, rest] = split_path(path);
        bool result = false;
        data::for_each_field<T>([&](auto const &field) {
            if (field.name != name)
                return;
            auto const &member = std::invoke(field.read, value);
            if constexpr (requires { field.labels; })
                result = any_value(member, rest, holds);
            else
                result = member ? leaf_holds(member->id(), holds) : holds(FieldValue());
        });
        return result;
    } else {
        return leaf_holds(value, holds);
    }
}

} // namespace tarnwick::program
