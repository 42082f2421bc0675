#pragma once

#include <concepts>
#include <string_view>
#include <tuple>

namespace tarnwick::data {

/// How a field wants to be read by a person, where its type does not tell.
enum class Sense {
    plain,
    instant, ///< a `TimePair` that is a point in time
    span,    ///< a `TimePair` that is a length of time
};

/// One field of a record: its name and what reads it, the accessor of that name as a rule, or the member itself where a
/// record is a plain struct.
template <class Record, class Member>
struct Field {
    std::string_view name;
    Member Record::*read;
    Sense sense = Sense::plain;
};

/// A field that holds a handle of a record which stands elsewhere, and which can be null: it is told by the `id` of that
/// record.
template <class Record, class Member>
struct Link {
    std::string_view name;
    Member Record::*read;
    static constexpr Sense sense = Sense::plain;
};

/// The one description of a record, from which everything that prints it is made. A specialisation stands beside each
/// record, with `name` (family dot class, `php.RShutdown`) and `fields`, a tuple of `Field` and `Link` in the record's
/// order.
template <class Record>
struct Description;

/// The name without the family: `RShutdown`.
template <class Record>
constexpr std::string_view class_name()
{
    constexpr std::string_view name = Description<Record>::name;
    return name.substr(name.rfind('.') + 1);
}

template <class T>
concept Described = requires {
    { Description<T>::name } -> std::convertible_to<std::string_view>;
    Description<T>::fields;
};

/// Calls `visit(field)` for each field of a record, in the record's order.
template <Described Record, class Visit>
constexpr void for_each_field(Visit &&visit)
{
    std::apply([&](auto const &...field) { (visit(field), ...); }, Description<Record>::fields);
}

} // namespace tarnwick::data
