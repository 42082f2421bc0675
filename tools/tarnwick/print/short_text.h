#pragma once

#include "print/readable_text.h"

#include <tarnwick/data/time_pair.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

// Values in tables for people: three or four digits are enough. Times that are not normal are as `stored_text`.

/// Returns a point in time in UTC with milliseconds, without its zone. 0 s, 0 ns is `-`.
std::string short_instant_text(data::TimePair value);
/// Returns a length of time like `42.8 ms`.
std::string short_span_text(data::TimePair value);
/// Returns a number of bytes like `10.8 MB`, in powers of 1,000.
std::string short_size_text(std::int64_t bytes);

/// Returns the longest start of a UTF-8 text that has at most `max_bytes` and ends between characters.
std::string_view start_of_text(std::string_view text, std::size_t max_bytes);
/// Returns the text. Of a longer text than `max_bytes`, returns the start and an ellipsis.
std::string cut_text(std::string_view text, std::size_t max_bytes);

// Values for other programs, with all digits.

/// Returns a point in time in ISO 8601, like `2026-11-22T10:30:00.582572000Z`. Other times as decimal seconds.
std::string iso_text(data::TimePair value);
/// Returns decimal seconds, like `0.042834034`.
std::string seconds_text(data::TimePair value);

} // namespace tarnwick::program
