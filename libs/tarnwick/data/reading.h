#pragma once

// The vocabulary of all constructors: how a value is read out of a message. Not installed.
//
// What presence means is visible where a constructor tests it: `has_x()` where a field has a bit of its own, the case
// of a oneof against its generated constant, and no test where the default of an absent field is the zero that the
// record holds already. Numbers are copied as they stand, apart from classifications.

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

/// All bytes decoded as UTF-8: a NUL does not end the text, a byte-order mark at the start is dropped, each byte that is
/// not UTF-8 becomes a replacement character, and an empty text is empty but not null. Null is left for texts that no
/// message reached.
inline QString text(std::string const &bytes)
{
    return QString::fromUtf8(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

/// All bytes as they came, for what is not text.
inline QByteArray bytes(std::string const &bytes)
{
    return QByteArray::fromStdString(bytes);
}

/// The way back: what a message's setter takes.
inline std::string_view view(QByteArray const &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

/// A google.protobuf.Timestamp or Duration, as it came.
template <class Message>
TimePair time_pair(Message const &message)
{
    return {message.seconds(), message.nanos()};
}

/// The location of the rpc dialect, where the sub-message alone decides: a present one is a location even when its file
/// is empty. `Message` is any message with a `location` field.
template <class Message>
std::optional<php::SourceLocation> location_when_present(Message const &message)
{
    if (!message.has_location())
        return std::nullopt;
    return php::SourceLocation(message.location());
}

/// The location of the protobuf dialect, where the file name decides: without one the line is dropped, whatever it is.
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

/// The optional number of the protobuf dialect, where a negative one stands for none: one that was never set is a 0 that
/// is there.
constexpr std::optional<std::uint32_t> number_unless_negative(std::int32_t number)
{
    if (number < 0)
        return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

} // namespace tarnwick::data
