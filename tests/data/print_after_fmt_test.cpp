#include <fmt/ranges.h>
#include <fmt/std.h>

#include <tarnwick/data/print.h>

#include "data/formattable_records.h"

#include <gtest/gtest.h>

#include <QtCore/QList>

#include <vector>

namespace tarnwick::data::print_after_fmt_test {
namespace {

static_assert(test::all_format_as_records);

TEST(PrintAfterFmt, a_table_prints_as_a_record)
{
    EXPECT_EQ(fmt::format("{}", glimmet::SqlConnections()), "glimmet.SqlConnections{connections: []}");
    EXPECT_EQ(fmt::format("{}", glimmet::SqlTransactions()), "glimmet.SqlTransactions{transactions: []}");
}

TEST(PrintAfterFmt, a_list_of_records_prints_as_a_list)
{
    EXPECT_EQ(fmt::format("{}", std::vector{php::RequestId(1), php::RequestId(2)}), "[1, 2]");
    EXPECT_EQ(fmt::format("{}", QList<php::ZVal::Pointer>(2)), "[none, none]");
}

} // namespace
} // namespace tarnwick::data::print_after_fmt_test
