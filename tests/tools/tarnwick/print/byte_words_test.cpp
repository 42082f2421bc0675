#include "print/byte_words.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace tarnwick::program::byte_words_test {
namespace {

/// Calls `use(text, place, byte)` with texts of up to three words that have each byte in each place.
template <class Use>
void for_each_text(Use const &use)
{
    constexpr std::size_t longest = 3 * sizeof(ByteWord);
    for (std::size_t size = 1; size <= longest; ++size) {
        for (std::size_t place = 0; place < size; ++place) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string text(size, 'x');
                text[place] = static_cast<char>(byte);
                use(text, place, static_cast<char>(byte));
            }
        }
    }
}

TEST(SizeOfStart, ends_at_the_first_byte_that_is_not_printable_ascii)
{
    auto const is_printable = [](auto bytes) { return is_printable_ascii(bytes); };
    EXPECT_EQ(size_of_start("", is_printable), 0);
    for_each_text([&](std::string const &text, std::size_t place, char byte) {
        auto const expected = byte >= ' ' && byte <= '~' ? text.size() : place;
        EXPECT_EQ(size_of_start(text, is_printable), expected)
            << fmt::format("{:#04x} at {} of {}", static_cast<unsigned char>(byte), place, text.size());
    });
}

TEST(HasByte, finds_the_byte_in_each_place)
{
    for_each_text([](std::string const &text, std::size_t place, char byte) {
        if (text.size() == sizeof(ByteWord)) {
            EXPECT_TRUE(has_byte(word_at(text.data()), byte))
                << fmt::format("{:#04x} at {}", static_cast<unsigned char>(byte), place);
            EXPECT_EQ(has_byte(word_at(text.data()), '"'), byte == '"');
            EXPECT_EQ(has_below(word_at(text.data()), ' '), byte >= '\0' && byte < ' ');
        }
    });
}

} // namespace
} // namespace tarnwick::program::byte_words_test
