#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Replaces a masked value.
inline constexpr std::string_view mask_text = "[masked]";

/// A part of a text, from `begin` to before `end`.
struct TextRange {
    std::size_t begin = 0;
    std::size_t end = 0;

    friend bool operator==(TextRange const &, TextRange const &) = default;
};

using TextRanges = std::vector<TextRange>;

/// Returns the text with `mask_text` in place of each range. Ranges can be in any order and overlap; adjacent ranges
/// count as one.
std::string masked(std::string_view text, TextRanges ranges);

} // namespace tarnwick::program
