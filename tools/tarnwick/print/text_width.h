#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Returns how many columns UTF-8 text takes on a terminal. A wide character takes two; a combining mark and a control
/// sequence that sets a colour take none.
std::size_t text_width(std::string_view text);

/// Cuts each line that is wider than `columns`, and ends it with an ellipsis in the last column. Keeps control
/// sequences after the cut, so that colours end. REQUIRES: `columns` is at least 1.
std::string cut_lines(std::string_view text, std::size_t columns);

/// Replaces the middle of a line that is wider than `columns` with an ellipsis, so that for example a path keeps its
/// file. REQUIRES: `columns` is at least 1, and the line has no control sequences.
std::string cut_middle(std::string_view line, std::size_t columns);

} // namespace tarnwick::program
