#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Returns a letter in lower case, and `_` for `-`.
constexpr char normal(char c)
{
    if (c >= 'A' && c <= 'Z')
        return static_cast<char>(c - 'A' + 'a');
    return c == '-' ? '_' : c;
}

/// The same for each byte.
std::string normal(std::string_view text);

/// Finds words in texts. Case does not matter, and `-` is like `_`.
class WordFinder {
public:
    struct Match {
        std::size_t begin;
        std::size_t word; ///< its position among the words
    };

    explicit WordFinder(std::vector<std::string> words);

    /// Returns the first match that does not begin before `from`. If several words match there, it is the first word.
    [[nodiscard]] std::optional<Match> next(std::string_view text, std::size_t from) const;

private:
    [[nodiscard]] std::optional<std::size_t> word_at(std::string_view text, std::size_t at, std::uint32_t groups) const;

    std::vector<std::string> words_;
    /// For the first bytes of a word: which groups have a word with this byte. A group is a word; the last group has all
    /// further words.
    std::array<std::array<std::uint32_t, 256>, 3> groups_{};
};

} // namespace tarnwick::program
