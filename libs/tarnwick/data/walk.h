#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/php/stack_trace.h>
#include <tarnwick/data/php/zval.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/data/writer.h>

#include <QtCore/QByteArray>
#include <QtCore/QExplicitlySharedDataPointer>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <variant>
#include <vector>

namespace tarnwick::data {

/// Names of the kinds of PHP values, by number.
inline constexpr std::array<std::string_view, std::variant_size_v<php::detail::ZVal::Value>> kind_names{
    "undefined", "null", "bool", "long", "double", "string", "array", "object", "resource", "json", "timestamp"};

// Not plain `bool`: any pointer would convert to it.
template <Writer W, std::same_as<bool> T>
void walk(W &writer, T value)
{
    writer.boolean(value);
}

template <Writer W, std::signed_integral T>
void walk(W &writer, T value)
{
    writer.integer(static_cast<std::int64_t>(value));
}

template <Writer W, std::unsigned_integral T>
    requires(!std::same_as<T, bool>)
void walk(W &writer, T value)
{
    writer.integer(static_cast<std::uint64_t>(value));
}

template <Writer W, class T>
    requires std::is_enum_v<T>
void walk(W &writer, T value)
{
    walk(writer, static_cast<std::underlying_type_t<T>>(value));
}

template <Writer W>
void walk(W &writer, double value)
{
    writer.real(value);
}

template <Writer W>
void walk(W &writer, TimePair value)
{
    writer.time(value);
}

template <Writer W>
void walk(W &writer, php::RequestId value)
{
    writer.integer(value.id());
}

template <Writer W>
void walk(W &writer, QString const &value)
{
    writer.text(value);
}

template <Writer W>
void walk(W &writer, std::string const &value)
{
    writer.bytes(value);
}

template <Writer W>
void walk(W &writer, QByteArray const &value)
{
    writer.bytes({value.constData(), static_cast<std::size_t>(value.size())});
}

template <Writer W, std::size_t size>
void walk(W &writer, std::array<char, size> const &block)
{
    auto const hex = QByteArray::fromRawData(block.data(), static_cast<qsizetype>(size)).toHex();
    writer.digits({hex.constData(), static_cast<std::size_t>(hex.size())});
}

/// A view is a chunk of a trace: large bytes that a record owns.
template <Writer W>
void walk(W &writer, std::string_view chunk)
{
    writer.chunk(chunk);
}

// Values nest, so all overloads are declared before the first definition.
template <Writer W, class T>
void walk(W &writer, std::optional<T> const &value);
template <Writer W, class... Alternatives>
void walk(W &writer, std::variant<Alternatives...> const &alternatives);
template <Writer W, class T>
void walk(W &writer, QList<T> const &list);
template <Writer W, class Key, class T>
void walk(W &writer, QMap<Key, T> const &table);
template <Writer W, class T>
void walk(W &writer, std::unordered_set<T> const &set);
template <Writer W, class Payload>
void walk(W &writer, QExplicitlySharedDataPointer<Payload> const &handle);
template <Writer W>
void walk(W &writer, php::detail::ZVal const &value);
template <Writer W>
void walk(W &writer, php::detail::PelorinArray const &array);
template <Writer W>
void walk(W &writer, php::StackTrace const &trace);
template <Writer W, Described Record>
void walk(W &writer, Record const &record);

template <Writer W, class T>
void walk(W &writer, std::optional<T> const &value)
{
    if (value)
        walk(writer, *value);
    else
        writer.absent();
}

// An alternative without a description means that none of the others is present.
template <Writer W, class... Alternatives>
void walk(W &writer, std::variant<Alternatives...> const &alternatives)
{
    if (alternatives.valueless_by_exception()) {
        writer.absent();
        return;
    }
    std::visit(
        [&]<class Alternative>(Alternative const &alternative) {
            if constexpr (Described<Alternative>) {
                writer.begin_alternative(class_name<Alternative>());
                walk(writer, alternative);
                writer.end_alternative();
            } else {
                writer.absent();
            }
        },
        alternatives);
}

template <Writer W, class Values>
void walk_items(W &writer, Values const &values)
{
    writer.begin_list();
    for (auto const &value : values) {
        writer.item();
        walk(writer, value);
    }
    writer.end_list();
}

template <Writer W, class T>
void walk(W &writer, QList<T> const &list)
{
    walk_items(writer, list);
}

// The keys are left out: each value contains its key.
template <Writer W, class Key, class T>
void walk(W &writer, QMap<Key, T> const &table)
{
    walk_items(writer, table);
}

// Sorted, so that equal sets print the same text.
template <Writer W, class T>
void walk(W &writer, std::unordered_set<T> const &set)
{
    std::vector<T> sorted(set.begin(), set.end());
    std::ranges::sort(sorted);
    walk_items(writer, sorted);
}

template <Writer W, class Payload>
void walk(W &writer, QExplicitlySharedDataPointer<Payload> const &handle)
{
    if (handle)
        walk(writer, *handle);
    else
        writer.absent();
}

template <Writer W>
void walk(W &writer, php::detail::ZVal const &value)
{
    if (value.value().valueless_by_exception()) {
        writer.absent();
        return;
    }
    auto const kind = kind_names[value.value().index()];
    std::visit(
        [&]<class Content>(Content const &content) {
            using php::detail::ZVal;
            if constexpr (std::same_as<Content, ZVal::undefined_t> || std::same_as<Content, ZVal::null_t>) {
                writer.bare_value(kind);
            } else {
                writer.begin_value(kind);
                if constexpr (std::same_as<Content, QByteArray>)
                    writer.json({content.constData(), static_cast<std::size_t>(content.size())});
                else
                    walk(writer, content);
                writer.end_value();
            }
        },
        value.value());
}

template <Writer W>
void walk(W &writer, php::detail::PelorinArray const &array)
{
    writer.begin_list();
    for (auto const &[key, value] : array.elements()) {
        writer.item();
        writer.begin_entry();
        walk(writer, key);
        writer.entry_value();
        walk(writer, value);
        writer.end_entry();
    }
    writer.end_list();
}

template <Writer W>
void walk(W &writer, php::StackTrace const &trace)
{
    walk(writer, trace.frames());
}

template <Writer W, class Record, class Member>
void walk_value(W &writer, Field<Record, Member> const &field, std::type_identity_t<Record> const &record)
{
    auto const &value = std::invoke(field.read, record);
    walk(writer, value);
    if constexpr (std::is_enum_v<std::remove_cvref_t<decltype(value)>>) {
        auto const label = std::ranges::find(field.labels, static_cast<std::int64_t>(value), &Label::value);
        if (label != field.labels.end())
            writer.label(label->meaning);
    }
}

template <Writer W, class Record, class Member>
void walk_value(W &writer, Link<Record, Member> const &link, std::type_identity_t<Record> const &record)
{
    if (auto const &handle = std::invoke(link.read, record))
        walk(writer, handle->id());
    else
        writer.absent();
}

/// Writes the fields of a record, in the record's order.
template <Writer W, Described Record>
void walk_fields(W &writer, Record const &record)
{
    for_each_field<Record>([&](auto const &field) {
        writer.field(field.name, field.sense);
        walk_value(writer, field, record);
    });
}

template <Writer W, Described Record>
void walk(W &writer, Record const &record)
{
    writer.begin_record(Description<Record>::name);
    walk_fields(writer, record);
    writer.end_record();
}

} // namespace tarnwick::data
