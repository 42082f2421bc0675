#include "print/text_table.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program::text_table_test {
namespace {

using testing::ElementsAre;
using Align = TextTable::Align;

TEST(TextTable, columns_fit_their_widest_cell)
{
    TextTable table({{"n"}, {"name", Align::left}, {"count"}});
    table.add({"100", "a", "5"});
    table.add({"1", "a longer name", "12345678"});
    EXPECT_THAT(table.take_lines(), ElementsAre("  n  name              count", "100  a                     5",
                                                "  1  a longer name  12345678"));
}

TEST(TextTable, lines_have_no_trailing_blanks)
{
    TextTable table({{"n"}, {"name", Align::left}, {"", Align::left}});
    table.add({"1", "abc", "text"});
    table.add({"2", "a", ""});
    EXPECT_THAT(table.take_lines(), ElementsAre("n  name", "1  abc   text", "2  a"));
}

TEST(TextTable, uses_the_width_on_a_terminal)
{
    TextTable table({{"a", Align::left}, {"b"}});
    table.add({"éé", "1"});
    table.add({"█▏x", "µ"});
    table.add({"日", "1"});
    table.add({"e\u0301", "1"});
    EXPECT_THAT(table.take_lines(), ElementsAre("a    b", "éé   1", "█▏x  µ", "日   1", "e\u0301    1"));
}

TEST(TextTable, a_wide_cell_in_a_column_of_a_fixed_width_moves_the_rest_of_its_line)
{
    TextTable table({{"a", Align::left, 3}, {"b", Align::right, 2}});
    table.add({"x", "1"});
    table.add({"wider", "234"});
    table.add({"y", "5"});
    EXPECT_THAT(table.take_lines(), ElementsAre("a     b", "x     1", "wider  234", "y     5"));
}

TEST(TextTable, prints_titles_without_rows)
{
    EXPECT_THAT(TextTable({{"a"}, {"b"}}).take_lines(), ElementsAre("a  b"));
}

/// Returns a table that prefers to leave out `memory`, then `count`.
TextTable table_of_width(std::size_t width)
{
    TextTable table({{"count", Align::right, 0, 0, 2},
                     {"uri", Align::left, 0, TextTable::narrowest_text},
                     {"memory", Align::right, 0, 0, 1}},
                    width);
    table.add({"7", "/articles/2026/index.php", "10 MB"});
    table.add({"8", "/", "9 MB"});
    return table;
}

TEST(TextTable, cuts_long_texts_before_it_leaves_out_columns)
{
    struct Case {
        std::size_t width;
        std::vector<std::string> lines;
        std::optional<std::string> left_out;
    };
    Case const cases[] = {
        {39,
         {"count  uri                       memory", "    7  /articles/2026/index.php   10 MB",
          "    8  /                           9 MB"},
         std::nullopt},
        {27,
         {"count  uri           memory", "    7  /arti…ex.php   10 MB", "    8  /               9 MB"},
         std::nullopt},
        {24, {"count  uri", "    7  /article…ndex.php", "    8  /"}, "columns left out: memory"},
        {18, {"count  uri", "    7  /arti…x.php", "    8  /"}, "columns left out: memory"},
        {16, {"uri", "/articl…ndex.php", "/"}, "columns left out: count, memory"},
        {5, {"uri", "/art…x.php", "/"}, "columns left out: count, memory"},
    };
    for (auto const &[width, lines, left_out] : cases) {
        auto table = table_of_width(width);
        EXPECT_EQ(table.take_lines(), lines) << width;
        EXPECT_EQ(table.left_out_text(), left_out) << width;
    }
}

TEST(TextTable, keeps_its_columns_when_later_rows_are_wider)
{
    auto table = table_of_width(39);
    EXPECT_EQ(table.take_lines().size(), 3);
    table.add({"123456", "/articles/2026/index.php", "10 MB"});
    EXPECT_THAT(table.take_lines(), ElementsAre("123456  /articles/2…6/index.php   10 MB"));
    EXPECT_EQ(table.left_out_text(), std::nullopt);
}

TEST(TextTable, cuts_the_widest_text_first)
{
    TextTable table(
        {{"a", Align::left, 0, TextTable::narrowest_text}, {"b", Align::left, 0, TextTable::narrowest_text}}, 32);
    table.add({"fourteen bytes", "abcdefghijklmnopqrstuvwxyz"});
    EXPECT_THAT(table.take_lines(), ElementsAre("a               b", "fourteen bytes  abcdefg…stuvwxyz"));
}

} // namespace
} // namespace tarnwick::program::text_table_test
