#pragma once

// Printing of records: include it to give them, their handles and their parts to `fmt::format` and to `QDebug`.

#include <tarnwick/data/text_writer.h>
#include <tarnwick/data/walk.h>

#include <fmt/format.h>

#include <QtCore/QDebug>
#include <QtCore/QExplicitlySharedDataPointer>

#include <concepts>
#include <string>
#include <type_traits>

namespace tarnwick::data {

namespace detail {

template <class Payload>
Payload const &payload_of(QExplicitlySharedDataPointer<Payload> const &);

} // namespace detail

/// What `fmt::format` and `QDebug` print by the description of its fields: records and their parts.
template <class T>
concept PrintablePart =
    Described<T> || std::same_as<T, php::RequestId> || std::same_as<T, TimePair> || std::same_as<T, php::StackTrace> ||
    std::same_as<T, php::detail::ZVal> || std::same_as<T, php::detail::PelorinArray>;

template <class T>
concept Printable = PrintablePart<T> || requires(T const &value) {
    requires PrintablePart<std::remove_cvref_t<decltype(detail::payload_of(value))>>;
};

/// One line; see `TextWriter` for its form.
template <Printable T>
std::string to_text(T const &value)
{
    TextWriter writer;
    walk(writer, value);
    return writer.line();
}

} // namespace tarnwick::data

/// Takes the format specifications of a string.
template <tarnwick::data::Printable T>
struct fmt::formatter<T, char> : fmt::formatter<fmt::string_view> {
    template <class Context>
    auto format(T const &value, Context &context) const
    {
        return fmt::formatter<fmt::string_view>::format(tarnwick::data::to_text(value), context);
    }
};

template <tarnwick::data::Printable T>
QDebug operator<<(QDebug debug, T const &value)
{
    QDebugStateSaver const saver(debug);
    debug.noquote() << QString::fromStdString(tarnwick::data::to_text(value));
    return debug;
}
