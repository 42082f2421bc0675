#pragma once

#include <string_view>

namespace tarnwick::program {

/// Describes a file that is not a capture, from its first bytes, as a message without the file name.
[[nodiscard]] std::string_view describe_foreign_file(std::string_view head);

} // namespace tarnwick::program
