#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Returns the columns that UTF-8 text takes on a terminal: two for a wide character, none for a combining mark and for
/// a control sequence that sets a colour.
std::size_t text_width(std::string_view text);

/// Cuts each line that is wider than `columns`, which is at least 1, and ends it with an ellipsis in the last column.
/// Control sequences are kept, also those after the cut: colours end where they did.
std::string cut_lines(std::string_view text, std::size_t columns);

} // namespace tarnwick::program
