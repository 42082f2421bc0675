#pragma once

#include <QtCore/QDebug>
#include <QtCore/QExplicitlySharedDataPointer>

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace tarnwick::data {

struct TimePair;
namespace php {
class RequestId;
class StackTrace;
namespace detail {
class PelorinArray;
class ZVal;
} // namespace detail
} // namespace php

/// How a field wants to be read by a person, where its type does not tell.
enum class Sense {
    plain,
    instant, ///< a `TimePair` that is a point in time
    span,    ///< a `TimePair` that is a length of time
};

/// A value of a classification and what it means.
struct Label {
    std::int64_t value;
    std::string_view meaning;
};

/// One field of a record: its name and what reads it, the accessor of that name as a rule, or the member itself where a
/// record is a plain struct.
template <class Record, class Member>
struct Field {
    std::string_view name;
    Member Record::*read;
    Sense sense = Sense::plain;
    // NOLINTNEXTLINE(readability-redundant-member-init): fields leave them out
    std::span<Label const> labels = {}; ///< of a classification whose values have a known meaning
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
/// order. A program that describes a record of its own includes `<tarnwick/data/print.h>` in the same header: without it,
/// a `QVariant` or `QDebug` of that record does not link.
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

/// What prints by the description of its fields: records and their parts.
template <class T>
concept PrintablePart =
    Described<T> || std::same_as<T, php::RequestId> || std::same_as<T, TimePair> || std::same_as<T, php::StackTrace> ||
    std::same_as<T, php::detail::ZVal> || std::same_as<T, php::detail::PelorinArray>;

// Not `detail`: a program that uses the namespaces of the records, where payloads are in `detail`, would find two.
namespace internal {

template <class Payload>
Payload const &payload_of(QExplicitlySharedDataPointer<Payload> const &);

/// The library defines this for its own records and parts, `data/print.h` for those of programs.
template <PrintablePart T>
struct PartText {
    static std::string of(T const *part);
};

} // namespace internal

/// Records, their parts, their handles, and the pointers that lists hold.
template <class T>
concept Printable = PrintablePart<T> || requires(T const &value) {
    requires PrintablePart<std::remove_cvref_t<decltype(internal::payload_of(value))>>;
};

/// One line, `none` for a null handle; see `TextWriter` for its form.
template <Printable T>
std::string to_text(T const &value)
{
    if constexpr (PrintablePart<T>)
        return internal::PartText<T>::of(&value);
    else
        return internal::PartText<std::remove_const_t<typename T::Type>>::of(value.get());
}

} // namespace tarnwick::data

// Visible wherever a record is: a QVariant prints what is visible where its metatype is made.
template <tarnwick::data::Printable T>
QDebug operator<<(QDebug debug, T const &value)
{
    QDebugStateSaver const saver(debug);
    debug.noquote() << QString::fromStdString(tarnwick::data::to_text(value));
    return debug;
}
