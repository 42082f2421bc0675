#pragma once

#include "output.h"

#include <cstdlib>
#include <string_view>

namespace tarnwick::program {

/// What `--color` asks for.
enum class Color { automatic, always, never };

/// Whether text for people has colour.
inline bool is_colored(Color color, Output const &output)
{
    if (color != Color::automatic)
        return color == Color::always;
    // NOLINTBEGIN(concurrency-mt-unsafe): the program changes its environment in no other thread
    auto const *const no_color = std::getenv("NO_COLOR");
    auto const *const terminal = std::getenv("TERM");
    // NOLINTEND(concurrency-mt-unsafe)
    return output.is_terminal() && (no_color == nullptr || *no_color == '\0') &&
           (terminal == nullptr || terminal != std::string_view("dumb"));
}

} // namespace tarnwick::program
