#include "print/text_width.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwick::program::text_width_test {
namespace {

TEST(TextWidth, counts_columns)
{
    struct Case {
        char const *text;
        std::size_t columns;
    };
    Case const cases[] = {
        {"", 0},
        {"abc", 3},
        {"Grüße", 5},
        {"█▏µ…", 4},
        {"日本語", 6},
        {"ｆｕｌｌ", 8},
        {"한국", 4},
        {"\u1112\u1161\u11ab", 2}, // one syllable of three letters
        {"✅✓", 3},
        {"😀🚀", 4},
        {"\U00020000", 2},
        {"e\u0301x\u20dd", 2}, // an accent, a circle around
        {"\x1b[1;36mname\x1b[0m", 4},
        {"\x1b[", 0}, // a sequence that does not end
        {"\x1b[1", 0},
        {"\u1100\u115f\u231a\u231c\u303e\u303f\u3041", 12},
        {"\U0003fffd\U0003fffe", 3},
        {"\x80\xff", 2}, // not UTF-8
        {"\xe2\x82", 1},
    };
    for (auto const &[text, columns] : cases)
        EXPECT_EQ(text_width(text), columns) << testing::PrintToString(text);
}

struct CutCase {
    char const *text;
    std::size_t columns;
    char const *cut;
};

TEST(CutLines, end_with_an_ellipsis_in_the_last_column)
{
    CutCase const cases[] = {
        {"", 1, ""},
        {"abcd", 4, "abcd"},
        {"abcd", 3, "ab…"},
        {"abcd", 1, "…"},
        {"ab\nabcd\n\nabcde\n", 3, "ab\nab…\n\nab…\n"},
        {"Grüße", 4, "Grü…"},
        {"日本語", 6, "日本語"},
        {"日本語", 5, "日本…"},
        {"日本語", 4, "日…"}, // half of a character would fit
        {"e\u0301e\u0301e\u0301", 3, "e\u0301e\u0301e\u0301"},
        {"e\u0301e\u0301e\u0301", 2, "e\u0301…"}, // with its accent
        {"\x1b[1mabcd\x1b[0m", 4, "\x1b[1mabcd\x1b[0m"},
        {"\x1b[1mabcd\x1b[0mef\x1b[2mgh\x1b[0m", 3, "\x1b[1mab…\x1b[0m\x1b[2m\x1b[0m"},
        {"a\x1b[1mb", 1, "…\x1b[1m"},
    };
    for (auto const &[text, columns, cut] : cases)
        EXPECT_EQ(cut_lines(text, columns), cut) << testing::PrintToString(text) << " at " << columns;
}

TEST(CutMiddle, keeps_the_start_and_the_end)
{
    CutCase const cases[] = {
        {"", 1, ""},
        {"abcd", 4, "abcd"},
        {"abcdefgh", 1, "…"},
        {"abcdefgh", 2, "…h"},
        {"abcdefgh", 3, "a…h"},
        {"abcdefgh", 6, "ab…fgh"},
        {"abcdefgh", 7, "abc…fgh"},
        {"日本語日本語", 7, "日…語"},                           // half of a character would fit
        {"e\u0301e\u0301e\u0301e\u0301", 3, "e\u0301…e\u0301"}, // with their accents
    };
    for (auto const &[text, columns, cut] : cases)
        EXPECT_EQ(cut_middle(text, columns), cut) << testing::PrintToString(text) << " at " << columns;
}

} // namespace
} // namespace tarnwick::program::text_width_test
