#pragma once

#include <string>
#include <string_view>

namespace tarnwick::program {

/// Returns a cell of CSV, in quotes if the text has a comma, a quote or a line break.
std::string csv_cell(std::string_view text);

} // namespace tarnwick::program
