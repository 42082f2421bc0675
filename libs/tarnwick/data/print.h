#pragma once

// Printing of records: include it to give them, their handles and their parts to `fmt::format`, and to print a record of
// your own that has a `Description`. `QDebug` prints the library's records without it.

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

/// Takes the format specifications of a string. A list of records does not quote them as it quotes strings.
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

/// Tables of records are containers, and print as the records that they are.
template <tarnwick::data::Printable T, typename Char>
struct is_range<T, Char> : std::false_type {};
FMT_END_NAMESPACE
