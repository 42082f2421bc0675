#include <tarnwick/data/glimmet/sql_connections.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <concepts>
#include <string>
#include <type_traits>

namespace tarnwick::data::glimmet {
namespace {

using RpcQueries = rpc::glimmet::v1::SqlQueries;
using ProtobufConnections = pelorin::protobuf::Glimmet::SqlConnections;
using Table = QMap<unsigned int, QExplicitlySharedDataPointer<detail::SqlConnection>>;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

static_assert(std::convertible_to<SqlConnections const &, Table const &>);
static_assert(sizeof(SqlConnections) == sizeof(Table));
static_assert(std::is_nothrow_move_constructible_v<SqlConnections>);

template <class Message>
class SqlConnectionsFrom : public testing::Test {
public:
    static SqlConnections read(std::string const &textproto) { return SqlConnections(from_text<Message>(textproto)); }
};

using Messages = testing::Types<RpcQueries, ProtobufConnections>;
TYPED_TEST_SUITE(SqlConnectionsFrom, Messages);

TYPED_TEST(SqlConnectionsFrom, no_connections_give_an_empty_table)
{
    auto const table = this->read("");
    EXPECT_TRUE(table.isEmpty());
    EXPECT_FALSE(table.value(0));
}

TYPED_TEST(SqlConnectionsFrom, the_table_goes_in_ascending_order_of_unsigned_ids)
{
    auto const table = this->read("connections { id: 9 } connections { id: 4294967295 } connections { id: 2 }"
                                  " connections { id: 0 } connections { id: 2147483648 } connections { id: 7 }");
    EXPECT_THAT(table.keys(), ElementsAre(0, 2, 7, 9, 2147483648U, 4294967295U));
    for (auto entry = table.cbegin(); entry != table.cend(); ++entry) {
        ASSERT_TRUE(entry.value());
        EXPECT_EQ(entry.value()->id(), entry.key());
    }
}

TYPED_TEST(SqlConnectionsFrom, of_two_with_one_id_the_later_one_counts)
{
    auto const table = this->read("connections { id: 5 name: 'first' kind: 1 } connections { id: 6 }"
                                  " connections { id: 5 name: 'second' kind: 2 }");
    EXPECT_EQ(table.size(), 2);
    EXPECT_EQ(table.value(5)->name(), u"second"_s);
    EXPECT_EQ(table.value(5)->kind(), 2);
}

TYPED_TEST(SqlConnectionsFrom, the_table_alone_holds_its_connections)
{
    for (auto const &connection : this->read("connections { id: 1 } connections { id: 2 } connections { id: 2 }"))
        EXPECT_EQ(connection->ref.loadRelaxed(), 1);
}

TYPED_TEST(SqlConnectionsFrom, what_is_taken_out_outlives_the_table)
{
    auto table = this->read("connections { id: 5 name: 'kept' }");
    auto const connection = table.value(5);
    table = SqlConnections();
    EXPECT_EQ(connection->ref.loadRelaxed(), 1);
    EXPECT_EQ(connection->name(), u"kept"_s);
}

TYPED_TEST(SqlConnectionsFrom, a_copy_shares_the_connections)
{
    auto const table = this->read("connections { id: 5 }");
    auto copy = table;
    EXPECT_EQ(copy.value(5).get(), table.value(5).get());
    copy.remove(5);
    EXPECT_EQ(table.size(), 1);
}

TYPED_TEST(SqlConnectionsFrom, prints_in_the_order_of_the_table)
{
    EXPECT_EQ(to_text(this->read("connections { id: 9 name: 'b' } connections { id: 2 kind: 1 name: 'a' }")),
              "glimmet.SqlConnections{connections: [glimmet.SqlConnection{id: 2, kind: 1, name: \"a\"}, "
              "glimmet.SqlConnection{id: 9, kind: 0, name: \"b\"}]}");
}

TEST(SqlConnections, of_rpc_leave_the_rest_of_the_message_alone)
{
    SqlConnections const table(from_text<RpcQueries>("transactions { id: 1 } queries { connection_id: 2 }"));
    EXPECT_TRUE(table.isEmpty());
}

TEST(SqlConnections, go_through_a_variant_as_they_go_through_a_queued_signal)
{
    SqlConnections const table(from_text<ProtobufConnections>("connections { id: 5 }"));
    auto const variant = QVariant::fromValue(table);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::SqlConnections");
    EXPECT_EQ(variant.value<SqlConnections>().value(5).get(), table.value(5).get());
}

TEST(SqlConnections, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(test::field_names<RpcQueries>(),
                ElementsAre("connections", "transactions" /* ignored */, "queries" /* ignored */));
    EXPECT_THAT(test::field_names<ProtobufConnections>(), ElementsAre("connections"));
}

} // namespace
} // namespace tarnwick::data::glimmet
