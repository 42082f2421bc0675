#pragma once

// Helpers of the constructors: they read values from messages. Not installed.
//
// A sub-message that is absent, or that is of another case of a oneof, reads as its default instance: zeroes, empty texts
// and no elements. Constructors read through default instances without a test. They test presence (`has_x()`, or the case
// of a oneof) only where an absent message differs from an empty one: a text stays null, an optional has no value, or
// other fields of the record depend on it. Numbers are copied unchanged, apart from classifications.

#include <tarnwick/data/php/source_location.h>
#include <tarnwick/data/time_pair.h>

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>
#include <QtCore/QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwick::data {

/// Decodes bytes as UTF-8. A NUL does not end the text. A byte-order mark at the start is dropped. Each byte that is
/// not UTF-8 becomes a replacement character. An empty text is empty but not null: a null text means that there was no
/// message with the text.
inline QString text(std::string const &bytes)
{
    return QString::fromUtf8(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

/// Copies bytes unchanged, for fields that are not text.
inline QByteArray bytes(std::string const &bytes)
{
    return QByteArray::fromStdString(bytes);
}

/// Views bytes in the form that setters of messages take.
inline std::string_view view(QByteArray const &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

/// Copies a google.protobuf.Timestamp or Duration unchanged.
template <class Message>
TimePair time_pair(Message const &message)
{
    return {message.seconds(), message.nanos()};
}

/// Reads a location of the rpc dialect. A present sub-message is a location even if its file name is empty. `Message`
/// is any message with a `location` field.
template <class Message>
std::optional<php::SourceLocation> location_when_present(Message const &message)
{
    if (!message.has_location())
        return std::nullopt;
    return php::SourceLocation(message.location());
}

/// Reads a location of the protobuf dialect. Without a file name there is no location, and the line is ignored.
inline std::optional<php::SourceLocation> location_when_file_named(std::string const &file, std::uint32_t line)
{
    if (file.empty())
        return std::nullopt;
    return php::SourceLocation(text(file), line, 0);
}

/// Truncates a classification to 8 bits, then clamps it to the catch-all `top`: 256 becomes 0, 255 becomes `top`.
template <auto top>
constexpr std::uint8_t classification(decltype(top) number)
{
    return std::min(static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(top));
}

/// Reads an optional number of the protobuf dialect, where a negative number means absent. A number that was never set
/// is a present 0.
constexpr std::optional<std::uint32_t> number_unless_negative(std::int32_t number)
{
    if (number < 0)
        return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

} // namespace tarnwick::data
