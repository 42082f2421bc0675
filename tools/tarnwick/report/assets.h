#pragma once

#include <span>
#include <string_view>

namespace tarnwick::program {

// The files of the page in this folder. `embed.cmake` writes the source.

extern std::string_view const report_style;
extern std::string_view const report_body; ///< the elements that are always there
extern std::span<std::string_view const> const report_scripts;

} // namespace tarnwick::program
