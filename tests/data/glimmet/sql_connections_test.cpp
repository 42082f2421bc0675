// What the tables of connections and of transactions have in common is in sql_tables_test.cpp.

#include <tarnwick/data/glimmet/sql_connections.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::data::glimmet::sql_connections_test {
namespace {

using RpcQueries = rpc::glimmet::v1::SqlQueries;
using ProtobufConnections = pelorin::protobuf::Glimmet::SqlConnections;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

template <class Message>
class SqlConnectionsFrom : public testing::Test {
public:
    static SqlConnections read(std::string const &textproto) { return SqlConnections(from_text<Message>(textproto)); }
};

using Messages = testing::Types<RpcQueries, ProtobufConnections>;
TYPED_TEST_SUITE(SqlConnectionsFrom, Messages, );

TYPED_TEST(SqlConnectionsFrom, keep_the_last_of_two_with_the_same_id)
{
    auto const table = this->read("connections { id: 5 name: 'first' kind: 1 } connections { id: 6 }"
                                  " connections { id: 5 name: 'second' kind: 2 }");
    EXPECT_EQ(table.size(), 2);
    EXPECT_EQ(table.value(5)->name(), u"second"_s);
    EXPECT_EQ(table.value(5)->kind(), 2);
}

TYPED_TEST(SqlConnectionsFrom, a_connection_outlives_its_table)
{
    auto table = this->read("connections { id: 5 name: 'kept' }");
    auto const connection = table.value(5);
    table = SqlConnections();
    EXPECT_EQ(connection->ref.loadRelaxed(), 1);
    EXPECT_EQ(connection->name(), u"kept"_s);
}

TYPED_TEST(SqlConnectionsFrom, prints_in_the_order_of_the_table)
{
    EXPECT_EQ(to_text(this->read("connections { id: 9 name: 'b' } connections { id: 2 kind: 1 name: 'a' }")),
              "glimmet.SqlConnections{connections: [glimmet.SqlConnection{id: 2, kind: 1, name: \"a\"}, "
              "glimmet.SqlConnection{id: 9, kind: 0, name: \"b\"}]}");
}

TEST(SqlConnections, of_rpc_ignore_the_other_fields)
{
    SqlConnections const table(from_text<RpcQueries>("transactions { id: 1 } queries { connection_id: 2 }"));
    EXPECT_TRUE(table.isEmpty());
}

TEST(SqlConnections, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(test::field_names<ProtobufConnections>(), ElementsAre("connections"));
}

} // namespace
} // namespace tarnwick::data::glimmet::sql_connections_test
