#pragma once

#include <span>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace tarnwick::program {

/// Returns the command of that name, or null if there is none.
CLI::App *find_command(CLI::App &app, std::string_view name);

/// Returns the candidates for the last of `words`, the arguments of the program: commands, options, or the values of an
/// option. Each candidate is a line that ends with a tab and its description. Where the program expects a file, or any
/// other text, there are none.
std::string completions(CLI::App &app, std::span<char const *const> words);

} // namespace tarnwick::program
