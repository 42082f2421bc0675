#include "print/word_finder.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::size_t last_group = 31;

constexpr auto normal_byte = [](char c) { return normal(c); };

} // namespace

std::string normal(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), normal_byte);
    return result;
}

WordFinder::WordFinder(std::vector<std::string> words)
    : words_(std::move(words))
{
    for (std::size_t i = 0; i < words_.size(); ++i) {
        words_[i] = normal(words_[i]);
        auto const group = std::uint32_t{1} << std::min(i, last_group);
        for (std::size_t place = 0; place < groups_.size(); ++place) {
            for (std::size_t byte = 0; byte < groups_[place].size(); ++byte) {
                if (place >= words_[i].size() || normal(static_cast<char>(byte)) == words_[i][place])
                    groups_[place][byte] |= group;
            }
        }
    }
}

std::optional<WordFinder::Match> WordFinder::next(std::string_view text, std::size_t from) const
{
    auto const groups_of = [&](std::size_t place, std::size_t at) {
        return groups_[place][at < text.size() ? static_cast<unsigned char>(text[at]) : 0];
    };
    for (auto at = from; at < text.size(); ++at) {
        auto groups = groups_of(0, at);
        if (groups == 0)
            continue;
        groups &= groups_of(1, at + 1) & groups_of(2, at + 2);
        if (groups == 0)
            continue;
        if (auto const word = word_at(text, at, groups))
            return Match{at, *word};
    }
    return std::nullopt;
}

std::optional<std::size_t> WordFinder::word_at(std::string_view text, std::size_t at, std::uint32_t groups) const
{
    for (; groups != 0; groups &= groups - 1) {
        auto const group = static_cast<std::size_t>(std::countr_zero(groups));
        auto const end = group == last_group ? words_.size() : group + 1;
        for (auto word = group; word < end; ++word) {
            if (std::ranges::equal(text.substr(at, words_[word].size()), words_[word], {}, normal_byte))
                return word;
        }
    }
    return std::nullopt;
}

} // namespace tarnwick::program
