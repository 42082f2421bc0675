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

/// A text, and the parts of it that are masked.
struct MaskedText {
    std::string text;
    TextRanges masked{}; // NOLINT(readability-redundant-member-init): designators leave it out
};

/// Adds ranges of the same text. The result is sorted, and no two of its ranges overlap or are adjacent.
void add_ranges(TextRanges &ranges, TextRanges const &more);

/// Returns the text with `mask_text` in place of each range. Ranges can be in any order and overlap; adjacent ranges
/// count as one.
std::string masked(std::string_view text, TextRanges ranges);

} // namespace tarnwick::program
