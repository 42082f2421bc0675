#include "print/bar.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace tarnwick::program {

std::string bar(double fraction)
{
    constexpr double full_width = 20;
    constexpr std::array<std::string_view, 8> partial{"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
    auto const eighths = static_cast<std::size_t>(std::lround(fraction * full_width * 8));
    std::string text;
    for (std::size_t i = 0; i < eighths / 8; ++i)
        text += "█";
    return text.append(partial[eighths % 8]);
}

} // namespace tarnwick::program
