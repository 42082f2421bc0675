#include "print/text_table.h"

#include <gmock/gmock.h>

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

} // namespace
} // namespace tarnwick::program::text_table_test
