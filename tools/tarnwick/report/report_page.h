#pragma once

#include <string>
#include <string_view>

namespace tarnwick::program {

/// Returns the content security policy of the page: nothing is loaded, and only its script and its style are used.
std::string report_policy();

/// The parts of the page, in order: one start, blocks of data, one end.
std::string report_start();
/// `json` is compressed, so that no text in it is part of the page.
std::string report_block(std::string_view id, std::string_view json);
std::string report_end();

} // namespace tarnwick::program
