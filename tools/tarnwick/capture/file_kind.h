#pragma once

#include <string_view>

namespace tarnwick::program {

/// Describes a file that is no capture by its first bytes, for a message after the file's name.
[[nodiscard]] std::string_view describe_foreign_file(std::string_view head);

} // namespace tarnwick::program
