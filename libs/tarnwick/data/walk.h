#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/time_pair.h>

#include <QtCore/QString>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tarnwick::data {

/// What a record is told to, piece by piece, by `walk`: everything that prints records is one of these.
template <class W>
concept Writer = requires(W writer, std::string_view name, QString const &text) {
    writer.begin_record(name);
    writer.field(name, Sense::plain);
    writer.end_record();
    writer.absent();
    writer.integer(std::int64_t{});
    writer.integer(std::uint64_t{});
    writer.time(TimePair{});
    writer.text(text);
};

template <Writer W, std::signed_integral T>
void walk(W &writer, T value)
{
    writer.integer(static_cast<std::int64_t>(value));
}

template <Writer W, std::unsigned_integral T>
void walk(W &writer, T value)
{
    writer.integer(static_cast<std::uint64_t>(value));
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

template <Writer W, class T>
void walk(W &writer, std::optional<T> const &value)
{
    if (value)
        walk(writer, *value);
    else
        writer.absent();
}

template <Writer W, class Payload>
void walk(W &writer, Handle<Payload> const &handle)
{
    if (handle)
        walk(writer, *handle);
    else
        writer.absent();
}

template <Writer W, Described Record>
void walk_fields(W &writer, Record const &record)
{
    for_each_field<Record>([&](auto const &field) {
        writer.field(field.name, field.sense);
        walk(writer, (record.*field.read)());
    });
}

/// Tells a record to a writer, field by field, in the record's order.
template <Writer W, Described Record>
void walk(W &writer, Record const &record)
{
    writer.begin_record(Description<Record>::name);
    walk_fields(writer, record);
    writer.end_record();
}

} // namespace tarnwick::data
