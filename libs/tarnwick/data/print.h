#pragma once

// Printing of records with {fmt}. Include it to pass records, handles and parts to `fmt::format`, or to print a record
// of your own that has a `Description`. `QDebug` prints the library's records without it.

#include <tarnwick/data/text_writer.h>
#include <tarnwick/data/walk.h>

#include <fmt/format.h>

#include <string>
#include <type_traits>

template <tarnwick::data::PrintablePart T>
std::string tarnwick::data::internal::PartText<T>::of(T const *part)
{
    TextWriter writer;
    if (part != nullptr)
        walk(writer, *part);
    else
        writer.absent();
    return writer.line();
}

/// Formatter of records, handles and parts. Takes the format specifications of a string. Elements of a formatted list
/// are not quoted, unlike strings.
template <tarnwick::data::Printable T>
struct fmt::formatter<T, char> : private fmt::formatter<fmt::string_view> {
    using fmt::formatter<fmt::string_view>::parse;

    template <class Context>
    auto format(T const &value, Context &context) const
    {
        return fmt::formatter<fmt::string_view>::format(tarnwick::data::to_text(value), context);
    }
};

FMT_BEGIN_NAMESPACE
template <typename T, typename Char>
struct is_range;

/// Disables {fmt}'s range formatting for tables of records, which are both containers and records.
template <tarnwick::data::Printable T, typename Char>
struct is_range<T, Char> : std::false_type {};
FMT_END_NAMESPACE
