#include "print/word_finder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program::word_finder_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Returns all matches as `begin:word`.
std::vector<std::string> matches(std::vector<std::string> const &words, std::string_view text)
{
    WordFinder const finder(words);
    std::vector<std::string> found;
    for (auto match = finder.next(text, 0); match; match = finder.next(text, match->begin + 1))
        found.push_back(fmt::format("{}:{}", match->begin, words[match->word]));
    return found;
}

TEST(WordFinder, finds_words_in_any_case)
{
    EXPECT_THAT(matches({"token", "api_key"}, "a Token, API-Key and api_keys"),
                ElementsAre("2:token", "9:api_key", "21:api_key"));
}

TEST(WordFinder, finds_words_at_the_start_and_at_the_end)
{
    EXPECT_THAT(matches({"ab"}, "abab"), ElementsAre("0:ab", "2:ab"));
    EXPECT_THAT(matches({"ab"}, "ba"), IsEmpty());
    EXPECT_THAT(matches({"abc"}, "ab"), IsEmpty());
    EXPECT_THAT(matches({std::string("a\0", 2)}, "a"), IsEmpty());
    EXPECT_THAT(matches({"a"}, ""), IsEmpty());
}

TEST(WordFinder, prefers_the_first_word_of_a_place)
{
    EXPECT_THAT(matches({"session", "sess"}, "session"), ElementsAre("0:session"));
    EXPECT_THAT(matches({"sess", "session"}, "session"), ElementsAre("0:sess"));
}

TEST(WordFinder, finds_what_a_search_word_by_word_finds)
{
    std::minstd_rand random(1); // NOLINT(bugprone-random-generator-seed): the same each time
    auto const text_of = [&](std::size_t size) {
        std::string text;
        for (std::size_t i = 0; i < size; ++i)
            text += "aAbB_-"[random() % 6];
        return text;
    };
    for (int round = 0; round < 2'000; ++round) {
        // More words than groups.
        std::vector<std::string> words(1 + random() % 40);
        for (auto &word : words)
            word = text_of(1 + random() % 6);
        auto const text = text_of(random() % 20);
        std::vector<std::string> expected;
        for (std::size_t at = 0; at < text.size(); ++at) {
            for (auto const &word : words) {
                if (normal(text.substr(at, word.size())) != normal(word))
                    continue;
                expected.push_back(fmt::format("{}:{}", at, word));
                break;
            }
        }
        ASSERT_EQ(matches(words, text), expected) << text;
    }
}

} // namespace
} // namespace tarnwick::program::word_finder_test
