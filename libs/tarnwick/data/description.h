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

/// How to present a field to a person, where its type does not show it.
enum class Sense {
    plain,
    instant, ///< a `TimePair` that is a point in time
    span,    ///< a `TimePair` that is a length of time
    id,      ///< a number that only identifies
};

/// A value of a classification and its meaning.
struct Label {
    std::int64_t value;
    std::string_view meaning;
};

namespace internal {

/// The sense of a field whose description has none.
template <class Member>
inline constexpr Sense default_sense = Sense::plain;
template <>
inline constexpr Sense default_sense<php::RequestId() const noexcept> = Sense::id;

} // namespace internal

/// A field of a record: its name and how to read it. `read` is usually the accessor of that name; for a plain struct it
/// is the data member.
template <class Record, class Member>
struct Field {
    std::string_view name;
    Member Record::*read;
    Sense sense = internal::default_sense<Member>;
    // NOLINTNEXTLINE(readability-redundant-member-init): fields leave them out
    std::span<Label const> labels = {}; ///< of a classification with known meanings
};

/// A field that refers to a record printed elsewhere. Its value is a handle, which may be null; it is printed as that
/// record's `id`.
template <class Record, class Member>
struct Link {
    std::string_view name;
    Member Record::*read;
    static constexpr Sense sense = Sense::id;
};

/// A source of a record: the message that one of its constructors reads, and the types of that constructor's further
/// arguments. Messages need no definition here.
template <class Message, class... Arguments>
struct From {};

/// Description of a record, on which all printing is based. Each record has a specialisation in its own header. `name`
/// is the family, a dot and the class: `php.RShutdown`. `fields` is a tuple of `Field` and `Link` in the record's
/// order.
///
/// A program may describe its own records. The header with the specialisation must then include
/// `<tarnwick/data/print.h>`; otherwise a `QVariant` or `QDebug` of that record does not link.
///
/// The library's own records have `Sources` too, a `std::tuple` of `From`, one for each constructor that reads a message.
/// Nothing prints it, and a program's own record needs none.
template <class Record>
struct Description;

/// Returns the name without the family: `RShutdown`.
template <class Record>
constexpr std::string_view class_name()
{
    constexpr std::string_view name = Description<Record>::name;
    return name.substr(name.rfind('.') + 1);
}

/// A type with a `Description`.
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

/// Types that print through a `Description`, and the parts of records that print without one.
template <class T>
concept PrintablePart =
    Described<T> || std::same_as<T, php::RequestId> || std::same_as<T, TimePair> || std::same_as<T, php::StackTrace> ||
    std::same_as<T, php::detail::ZVal> || std::same_as<T, php::detail::PelorinArray>;

// Not named `detail`: payloads of records are in a namespace `detail`, and a program that uses both namespaces would
// make the name ambiguous.
namespace internal {

template <class Payload>
Payload const &payload_of(QExplicitlySharedDataPointer<Payload> const &);

/// Text of a part. The library instantiates it for its own records and parts, `data/print.h` for those of programs.
template <PrintablePart T>
struct PartText {
    static std::string of(T const *part);
};

} // namespace internal

/// Types that print: records, their parts, handles of either, and the pointers that lists contain.
template <class T>
concept Printable = PrintablePart<T> || requires(T const &value) {
    requires PrintablePart<std::remove_cvref_t<decltype(internal::payload_of(value))>>;
};

/// Returns a value as one line, `none` for a null handle. `TextWriter` describes the format.
template <Printable T>
std::string to_text(T const &value)
{
    if constexpr (PrintablePart<T>)
        return internal::PartText<T>::of(&value);
    else
        return internal::PartText<std::remove_const_t<typename T::Type>>::of(value.get());
}

} // namespace tarnwick::data

// Declared with every record: a QVariant prints with the operator that is visible where its metatype is instantiated.
template <tarnwick::data::Printable T>
QDebug operator<<(QDebug debug, T const &value)
{
    QDebugStateSaver const saver(debug);
    debug.noquote() << QString::fromStdString(tarnwick::data::to_text(value));
    return debug;
}
