#pragma once

#include <tarnwick/data/php/source_location.h>
#include <tarnwick/data/time_pair.h>

#include <QtCore/QStringView>

#include <string>
#include <string_view>

namespace tarnwick::program {

/// Seconds and nanoseconds as they are.
std::string stored_text(data::TimePair value);
/// A point in time as a date, and a length of time in a fitting unit, with all digits; as stored where there is none. The
/// point 0 s, 0 ns is `-`: a report without a time reads so.
std::string instant_text(data::TimePair value);
std::string span_text(data::TimePair value);
/// In quotes with escapes; a long one is cut between characters, with a word on how much is left out.
std::string quoted_text(std::string_view bytes);
std::string quoted_text(QStringView text);
/// Without quotes, and whole. What does not print has the same escapes, so that a text cannot act on a terminal or be
/// read in another order than its own; quotes and backslashes are as they are.
std::string shown_text(std::string_view bytes);
/// Like `"a.php":12`, with the second number behind another colon where it is not 0.
std::string place_text(data::php::SourceLocation const &location);

} // namespace tarnwick::program
