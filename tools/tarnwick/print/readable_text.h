#pragma once

#include "print/masks.h"

#include <tarnwick/data/php/source_location.h>
#include <tarnwick/data/time_pair.h>

#include <QtCore/QStringView>

#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Returns whether the nanoseconds are a part of a second.
bool is_normal(data::TimePair value);
/// Returns seconds and nanoseconds unchanged, like `1 s, 5 ns`.
std::string stored_text(data::TimePair value);
/// Returns a point in time as a date in UTC, with all digits. 0 s, 0 ns is `-`, which means that the report has no
/// time. Times that are not a date from 1970 to 9999 are as `stored_text`.
std::string instant_text(data::TimePair value);
/// Returns a length of time in seconds, milliseconds or microseconds, with all digits. Others are as `stored_text`.
std::string span_text(data::TimePair value);
enum class TextLength : std::uint8_t {
    cut, ///< a long text is cut between characters, and the number of bytes left out follows
    whole,
};
/// Appends the text in quotes, escaped.
void append_quoted(std::string &out, std::string_view bytes, TextLength length);
void append_quoted(std::string &out, QStringView text, TextLength length);
/// Returns the text in quotes, escaped.
std::string quoted_text(std::string_view bytes, TextLength length = TextLength::cut);
/// Returns the whole text without quotes. Escapes characters that control a terminal or change the direction of text,
/// but not quotes and backslashes.
std::string escaped_text(std::string_view bytes);
/// Returns a location like `"a.php":12`. A second number other than 0 follows after another colon.
std::string place_text(data::php::SourceLocation const &location, Masks const &masks = {});

} // namespace tarnwick::program
