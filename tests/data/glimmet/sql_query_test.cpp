#include <tarnwick/data/glimmet/sql_query.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstdint>
#include <limits>
#include <string>

namespace tarnwick::data::glimmet::sql_query_test {
namespace {

using RpcQuery = rpc::glimmet::v1::SqlQuery;
using ProtobufQuery = pelorin::protobuf::Glimmet::SqlQuery;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

SqlConnections const connections(from_text<pelorin::protobuf::Glimmet::SqlConnections>(
    "connections { id: 0 } connections { id: 4 } connections { id: 4294967295 }"));
SqlTransactions const transactions(from_text<pelorin::protobuf::Glimmet::SqlTransactions>(
    "transactions { id: 0 } transactions { id: 6 } transactions { id: 4294967295 }"));

template <class Message>
SqlQuery read(std::string const &textproto)
{
    return test::record_from_text<SqlQuery, Message>(textproto, connections, transactions);
}

template <class Message>
class SqlQueryFrom : public testing::Test {};

using Messages = testing::Types<RpcQuery, ProtobufQuery>;
TYPED_TEST_SUITE(SqlQueryFrom, Messages);

TYPED_TEST(SqlQueryFrom, reads_every_field)
{
    auto const query = read<TypeParam>(R"pb(
        text: "SELECT 1"
        error { message: "no" }
        time { seconds: 1 nanos: 2 }
        stack_trace { frames { frame_number: 3 } frames { frame_number: 4 } }
        kind: KIND_12
        status: STATUS_1
        wide_number: -9223372036854775808
        extra_number: 7
        connection_id: 4
        source_kind: SOURCE_KIND_5
        transaction_id: 6)pb");

    EXPECT_EQ(query->kind(), 12);
    EXPECT_EQ(query->source_kind(), 5);
    EXPECT_EQ(query->text(), u"SELECT 1"_s);
    EXPECT_EQ(query->status(), 1);
    EXPECT_EQ(query->wide_number(), std::numeric_limits<std::int64_t>::min());
    ASSERT_TRUE(query->error());
    EXPECT_EQ(query->error()->message(), u"no"_s);
    EXPECT_EQ(query->time(), (TimePair{1, 2}));
    EXPECT_EQ(query->extra_number(), 7U);
    EXPECT_EQ(query->connection().get(), connections.value(4).get());
    EXPECT_EQ(query->transaction().get(), transactions.value(6).get());
    ASSERT_TRUE(query->stack_trace());
    ASSERT_EQ(query->stack_trace()->frames().size(), 2);
    EXPECT_EQ(query->stack_trace()->frames()[1].frame_number(), 4U);
}

TYPED_TEST(SqlQueryFrom, classifications_are_truncated_to_8_bits_and_clamped_to_their_top)
{
    struct Row {
        int sent;
        int kind;
        int source_kind;
        int status;
    };
    Row const rows[] = {
        {0, 0, 0, 0},    {1, 1, 1, 1},    {2, 2, 2, 2},           {3, 3, 3, 2},           {6, 6, 6, 2},
        {7, 7, 6, 2},    {12, 12, 6, 2},  {13, 13, 6, 2},         {14, 13, 6, 2},         {127, 13, 6, 2},
        {128, 13, 6, 2}, {255, 13, 6, 2}, {256, 0, 0, 0},         {257, 1, 1, 1},         {259, 3, 3, 2},
        {-1, 13, 6, 2},  {-255, 1, 1, 1}, {2147483647, 13, 6, 2}, {-2147483648, 0, 0, 0},
    };
    for (auto const &row : rows) {
        SCOPED_TRACE(row.sent);
        auto const query = read<TypeParam>(fmt::format("kind: {0} status: {0} source_kind: {0}", row.sent));
        EXPECT_EQ(query->kind(), row.kind);
        EXPECT_EQ(query->source_kind(), row.source_kind);
        EXPECT_EQ(query->status(), row.status);
    }
}

TYPED_TEST(SqlQueryFrom, links_share_their_records_and_raise_each_count_by_one)
{
    auto const connection = connections.value(4);
    auto const transaction = transactions.value(6);
    auto const before_connection = connection->ref.loadRelaxed();
    auto const before_transaction = transaction->ref.loadRelaxed();
    {
        auto const query = read<TypeParam>("connection_id: 4 transaction_id: 6");
        EXPECT_EQ(connection->ref.loadRelaxed(), before_connection + 1);
        EXPECT_EQ(transaction->ref.loadRelaxed(), before_transaction + 1);
    }
    EXPECT_EQ(connection->ref.loadRelaxed(), before_connection);
    EXPECT_EQ(transaction->ref.loadRelaxed(), before_transaction);
}

TYPED_TEST(SqlQueryFrom, ids_of_0_are_looked_up_when_present)
{
    auto const query = read<TypeParam>("connection_id: 0 transaction_id: 0");
    EXPECT_EQ(query->connection().get(), connections.value(0).get());
    EXPECT_EQ(query->transaction().get(), transactions.value(0).get());
}

TYPED_TEST(SqlQueryFrom, absent_ids_are_not_looked_up)
{
    auto const query = read<TypeParam>("text: 'q'");
    EXPECT_FALSE(query->connection());
    EXPECT_FALSE(query->transaction());
}

TYPED_TEST(SqlQueryFrom, links_are_looked_up_independently)
{
    auto const connected = read<TypeParam>("connection_id: 4294967295");
    EXPECT_EQ(connected->connection().get(), connections.value(4294967295).get());
    EXPECT_FALSE(connected->transaction());
    auto const in_transaction = read<TypeParam>("transaction_id: 4294967295");
    EXPECT_FALSE(in_transaction->connection());
    EXPECT_EQ(in_transaction->transaction().get(), transactions.value(4294967295).get());
}

TYPED_TEST(SqlQueryFrom, an_unknown_transaction_is_a_null_link_beside_a_known_connection)
{
    auto const query = read<TypeParam>("connection_id: 4 transaction_id: 5");
    EXPECT_EQ(query->connection().get(), connections.value(4).get());
    EXPECT_FALSE(query->transaction());
}

TYPED_TEST(SqlQueryFrom, an_unknown_connection_is_a_null_link_beside_a_known_transaction)
{
    auto const query = read<TypeParam>("connection_id: 6 transaction_id: 6");
    EXPECT_FALSE(query->connection());
    EXPECT_EQ(query->transaction().get(), transactions.value(6).get());
}

TYPED_TEST(SqlQueryFrom, links_into_empty_tables_are_null)
{
    detail::SqlQuery const query(from_text<TypeParam>("connection_id: 0 transaction_id: 0"), {}, {});
    EXPECT_FALSE(query.connection());
    EXPECT_FALSE(query.transaction());
}

TYPED_TEST(SqlQueryFrom, an_empty_error_is_present)
{
    auto const query = read<TypeParam>("error { }");
    ASSERT_TRUE(query->error());
    EXPECT_TRUE(query->error()->message().isEmpty());
    EXPECT_FALSE(query->error()->message().isNull());
    EXPECT_FALSE(read<TypeParam>("status: STATUS_1")->error());
}

TYPED_TEST(SqlQueryFrom, an_empty_stack_trace_is_present)
{
    auto const query = read<TypeParam>("stack_trace { }");
    ASSERT_TRUE(query->stack_trace());
    EXPECT_TRUE(query->stack_trace()->frames().isEmpty());
    EXPECT_FALSE(read<TypeParam>("text: 'q'")->stack_trace());
}

TYPED_TEST(SqlQueryFrom, a_text_keeps_nul_bytes_and_replaces_invalid_utf8)
{
    EXPECT_EQ(read<TypeParam>(R"(text: ' SELECT\000\377\n')")->text(), u" SELECT\0\ufffd\n"_s);
    EXPECT_FALSE(read<TypeParam>("")->text().isNull());
}

TYPED_TEST(SqlQueryFrom, keeps_its_links_alive)
{
    auto const query = [] {
        SqlConnections const own_connections(
            from_text<pelorin::protobuf::Glimmet::SqlConnections>("connections { id: 1 name: 'c' }"));
        SqlTransactions const own_transactions(
            from_text<pelorin::protobuf::Glimmet::SqlTransactions>("transactions { id: 2 }"));
        return SqlQuery(new detail::SqlQuery(from_text<TypeParam>("connection_id: 1 transaction_id: 2"),
                                             own_connections, own_transactions));
    }();
    EXPECT_EQ(query->connection()->name(), u"c"_s);
    EXPECT_EQ(query->connection()->ref.loadRelaxed(), 1);
    EXPECT_EQ(query->transaction()->id(), 2U);
    EXPECT_EQ(query->transaction()->ref.loadRelaxed(), 1);
}

TYPED_TEST(SqlQueryFrom, allocates_a_block_for_the_payload_and_one_for_each_text)
{
    auto const message = from_text<TypeParam>("text: 'SELECT 1' error { message: 'no' } connection_id: 4");
    EXPECT_EQ(
        test::allocations_of([&] { SqlQuery const query(new detail::SqlQuery(message, connections, transactions)); }),
        3U);
}

struct Case {
    char const *name;
    SqlQuery (*read)(std::string const &textproto);
    char const *textproto;
    char const *printed;
};

#define QUERY(source_kind, extra_number)                                                                               \
    "glimmet.SqlQuery{kind: 0, source_kind: " source_kind ", text: \"\", status: 0, wide_number: 0, error: none, "     \
    "time: {0 s, 0 ns}, extra_number: " extra_number ", connection: none, transaction: none, stack_trace: none}"

Case const cases[] = {
    {"rpc_empty", read<RpcQuery>, "", QUERY("0", "none")},
    {"rpc_with_a_source_kind_of_0", read<RpcQuery>, "source_kind: SOURCE_KIND_0", QUERY("0", "none")},
    {"rpc_with_a_source_kind_of_9", read<RpcQuery>, "source_kind: 9", QUERY("6", "none")},
    {"rpc_with_a_number_of_0", read<RpcQuery>, "extra_number: 0", QUERY("0", "0")},
    {"rpc_with_a_number_of_2147483648", read<RpcQuery>, "extra_number: 2147483648", QUERY("0", "2147483648")},
    {"rpc_with_the_highest_number", read<RpcQuery>, "extra_number: 4294967295", QUERY("0", "4294967295")},
    {"protobuf_empty_has_a_number_of_0_and_no_catch_all", read<ProtobufQuery>, "", QUERY("0", "0")},
    {"protobuf_with_a_source_kind_of_0", read<ProtobufQuery>, "source_kind: SOURCE_KIND_0", QUERY("0", "0")},
    {"protobuf_with_a_source_kind_of_9", read<ProtobufQuery>, "source_kind: 9", QUERY("6", "0")},
    {"protobuf_with_the_highest_number", read<ProtobufQuery>, "extra_number: 2147483647", QUERY("0", "2147483647")},
    {"protobuf_with_minus_1_has_no_number", read<ProtobufQuery>, "extra_number: -1", QUERY("0", "none")},
    {"protobuf_with_the_lowest_number_has_none", read<ProtobufQuery>, "extra_number: -2147483648", QUERY("0", "none")},
};

class SqlQueryFromMessage : public test::TableTest<Case> {};

TEST_P(SqlQueryFromMessage, is_read)
{
    EXPECT_EQ(to_text(GetParam().read(GetParam().textproto)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, SqlQueryFromMessage, test::rows(cases), test::by_name);

TEST(SqlQuery, is_the_same_in_both_dialects)
{
    EXPECT_EQ(to_text(read<RpcQuery>(R"pb(
                  text: "SELECT 1"
                  error { message: "no" }
                  time { seconds: -1 nanos: 1999999999 }
                  stack_trace { frames { function { name: "f" location { file: "a.php" line: 2 } } frame_number: 1 } }
                  kind: KIND_3
                  connection_id: 4
                  source_kind: SOURCE_KIND_2
                  transaction_id: 6
                  wide_number: 9223372036854775807
                  status: STATUS_OTHER
                  extra_number: 8)pb")),
              to_text(read<ProtobufQuery>(R"pb(
                  text: "SELECT 1"
                  error { message: "no" }
                  time { seconds: -1 nanos: 1999999999 }
                  stack_trace { frames { name: "f" file: "a.php" frame_number: 1 line: 2 } }
                  kind: KIND_3
                  status: STATUS_OTHER
                  wide_number: 9223372036854775807
                  extra_number: 8
                  connection_id: 4
                  source_kind: SOURCE_KIND_2
                  transaction_id: 6)pb")));
}

TEST(SqlQuery, prints_its_links_as_ids)
{
    auto const printed = to_text(read<RpcQuery>("connection_id: 0 transaction_id: 6"));
    EXPECT_THAT(printed, testing::HasSubstr("connection: 0, transaction: 6, "));
}

TEST(SqlQuery, round_trips_through_a_qvariant)
{
    auto const record = read<RpcQuery>("text: 'q'");
    auto const variant = QVariant::fromValue(record);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::SqlQuery");
    EXPECT_EQ(variant.value<SqlQuery>().get(), record.get());
}

TEST(SqlQuery, message_fields_are_all_read)
{
    EXPECT_THAT(test::field_names<RpcQuery>(),
                ElementsAre("text", "error", "time", "stack_trace", "kind", "connection_id", "source_kind",
                            "transaction_id", "wide_number", "status", "extra_number"));
    EXPECT_THAT(test::field_names<ProtobufQuery>(),
                ElementsAre("text", "error", "time", "stack_trace", "kind", "status", "wide_number", "extra_number",
                            "connection_id", "source_kind", "transaction_id"));
}

} // namespace
} // namespace tarnwick::data::glimmet::sql_query_test

#undef QUERY
