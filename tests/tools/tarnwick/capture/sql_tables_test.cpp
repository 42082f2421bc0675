#include "capture/sql_tables.h"

#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace tarnwick::program::capture_sql_tables_test {
namespace {

using data::glimmet::SqlConnections;
using data::glimmet::SqlTransactions;
using data::php::RequestId;

class SqlTablesTest : public testing::Test {
public:
    void give_connection(std::uint64_t request_id)
    {
        tables.of(RequestId(request_id)).connections =
            SqlConnections(test::from_text<pelorin::protobuf::Glimmet::SqlConnections>("connections { id: 1 }"));
    }
    bool has_connection(std::uint64_t request_id) { return tables.of(RequestId(request_id)).connections.contains(1); }

    SqlTables tables;
};

TEST_F(SqlTablesTest, are_empty_for_an_unknown_request)
{
    auto const &[connections, transactions] = tables.of(RequestId(7));
    EXPECT_TRUE(connections.isEmpty());
    EXPECT_TRUE(transactions.isEmpty());
}

TEST_F(SqlTablesTest, belong_to_their_request)
{
    give_connection(0);
    give_connection(std::numeric_limits<std::uint64_t>::max());
    EXPECT_TRUE(has_connection(0));
    EXPECT_TRUE(has_connection(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_FALSE(has_connection(1));
}

TEST_F(SqlTablesTest, of_one_request_are_independent)
{
    give_connection(7);
    tables.of(RequestId(7)).transactions =
        SqlTransactions(test::from_text<pelorin::protobuf::Glimmet::SqlTransactions>("transactions { id: 2 }"));
    EXPECT_TRUE(tables.of(RequestId(7)).connections.contains(1));
    EXPECT_TRUE(tables.of(RequestId(7)).transactions.contains(2));
}

TEST_F(SqlTablesTest, are_kept_for_4096_requests)
{
    for (std::uint64_t id = 0; id < 4096; ++id)
        give_connection(id);
    for (std::uint64_t id = 0; id < 4096; ++id)
        ASSERT_TRUE(has_connection(id));
    give_connection(4096);
    EXPECT_FALSE(has_connection(0)); // replaces 1
    EXPECT_FALSE(has_connection(1));
    for (std::uint64_t id = 3; id <= 4096; ++id)
        ASSERT_TRUE(has_connection(id));
}

TEST_F(SqlTablesTest, are_kept_for_a_request_that_is_used_again)
{
    for (std::uint64_t id = 0; id < 4096; ++id)
        give_connection(id);
    EXPECT_TRUE(has_connection(0));
    give_connection(1);
    give_connection(4096);
    EXPECT_TRUE(has_connection(0));
    EXPECT_TRUE(has_connection(1));
    EXPECT_FALSE(has_connection(2));
}

TEST_F(SqlTablesTest, are_kept_for_any_number_of_reports_of_one_request)
{
    give_connection(1);
    for (int i = 0; i < 10'000; ++i)
        give_connection(2);
    EXPECT_TRUE(has_connection(1));
}

} // namespace
} // namespace tarnwick::program::capture_sql_tables_test
