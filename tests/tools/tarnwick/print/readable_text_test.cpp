#include "print/readable_text.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

namespace tarnwick::program::readable_text_test {
namespace {

TEST(QuotedText, has_the_escapes_of_fmt)
{
    for (int byte = 0; byte < 256; ++byte) {
        auto const character = std::string(1, static_cast<char>(byte));
        for (auto const &text : {character, "a" + character + "\"b", "\n\\" + character,
                                 std::string(20, 'a') + character + std::string(10, 'b')}) {
            auto const expected = fmt::format("{:?}", text);
            EXPECT_EQ(quoted_text(text, TextLength::whole), expected);
            EXPECT_EQ(quoted_text(text, TextLength::cut), expected);
        }
    }
    EXPECT_EQ(quoted_text(std::string("Grüße\t"), TextLength::cut), "\"Grüße\\t\"");
}

TEST(AppendQuoted, keeps_what_precedes)
{
    for (std::string const text : {"plain", "a \"b\"", "Grüße"}) {
        std::string out = "before ";
        append_quoted(out, text, TextLength::whole);
        EXPECT_EQ(out, "before " + quoted_text(text, TextLength::whole));
    }
}

} // namespace
} // namespace tarnwick::program::readable_text_test
