#include <tarnwick/data/glimmet/sql_queries.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <barrier>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace tarnwick::data::glimmet::sql_queries_test {
namespace {

using rpc::glimmet::v1::NotifyRequest;
using ProtobufConnections = pelorin::protobuf::Glimmet::SqlConnections;
using ProtobufTransactions = pelorin::protobuf::Glimmet::SqlTransactions;
using ProtobufQueries = pelorin::protobuf::Glimmet::SqlQueries;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace Qt::StringLiterals;

/// The parts of a report as textproto. The messages of both dialects have these fields under the same names.
struct Parts {
    // NOLINTBEGIN(readability-redundant-member-init): designators leave them out
    std::string connections = {};
    std::string transactions = {};
    std::string queries = {};
    // NOLINTEND(readability-redundant-member-init)
};

struct Rpc {
    static SqlQueries record(Parts const &parts)
    {
        return SqlQueries(new detail::SqlQueries(from_text<NotifyRequest>(
            "request_id { id: 7 } sql_queries { " + parts.connections + parts.transactions + parts.queries + " }")));
    }
};

struct Protobuf {
    static SqlQueries record(Parts const &parts)
    {
        SqlConnections const connections(from_text<ProtobufConnections>(parts.connections));
        SqlTransactions const transactions(from_text<ProtobufTransactions>(parts.transactions));
        return SqlQueries(new detail::SqlQueries(from_text<ProtobufQueries>(parts.queries), php::RequestId(7),
                                                 connections, transactions));
    }
};

template <class List>
std::vector<unsigned int> ids(List const &list)
{
    std::vector<unsigned int> ids;
    for (auto const &record : list)
        ids.push_back(record->id());
    return ids;
}

template <class Dialect>
class SqlQueriesFrom : public testing::Test {};

using Dialects = testing::Types<Rpc, Protobuf>;
TYPED_TEST_SUITE(SqlQueriesFrom, Dialects);

TYPED_TEST(SqlQueriesFrom, reads_and_links_a_whole_report)
{
    auto const record = TypeParam::record({
        .connections = "connections { id: 1 name: 'db' } ",
        .transactions = "transactions { id: 1 } transactions { id: 2 parent_id: 1 } ",
        .queries = "queries { text: 'a' connection_id: 1 transaction_id: 2 } queries { text: 'b' connection_id: 1 }",
    });

    EXPECT_EQ(record->request_id().id(), 7U);
    ASSERT_EQ(record->connections().size(), 1);
    EXPECT_EQ(record->connections()[0]->name(), u"db"_s);
    ASSERT_EQ(record->transactions().size(), 2);
    EXPECT_EQ(record->transactions()[1]->parent().get(), record->transactions()[0].get());
    ASSERT_EQ(record->queries().size(), 2);
    EXPECT_EQ(record->queries()[0]->text(), u"a"_s);
    EXPECT_EQ(record->queries()[0]->connection().get(), record->connections()[0].get());
    EXPECT_EQ(record->queries()[0]->transaction().get(), record->transactions()[1].get());
    EXPECT_EQ(record->queries()[1]->text(), u"b"_s);
    EXPECT_EQ(record->queries()[1]->connection().get(), record->connections()[0].get());
    EXPECT_FALSE(record->queries()[1]->transaction());
}

TYPED_TEST(SqlQueriesFrom, an_empty_report_has_empty_lists)
{
    EXPECT_EQ(to_text(TypeParam::record({})),
              "glimmet.SqlQueries{request_id: 7, connections: [], transactions: [], queries: []}");
}

TYPED_TEST(SqlQueriesFrom, sorts_connections_and_transactions_by_id_and_keeps_the_order_of_queries)
{
    auto const record = TypeParam::record({
        .connections =
            "connections { id: 9 } connections { id: 2147483648 } connections { id: 2 } connections { id: 7 } ",
        .transactions = "transactions { id: 8 } transactions { id: 0 } transactions { id: 4294967295 } ",
        .queries = "queries { connection_id: 9 } queries { connection_id: 2 } queries { connection_id: 7 }",
    });

    EXPECT_THAT(ids(record->connections()), ElementsAre(2, 7, 9, 2147483648U));
    EXPECT_THAT(ids(record->transactions()), ElementsAre(0, 8, 4294967295U));
    std::vector<unsigned int> connections;
    for (auto const &query : record->queries())
        connections.push_back(query->connection()->id());
    EXPECT_THAT(connections, ElementsAre(9, 2, 7));
}

TYPED_TEST(SqlQueriesFrom, queries_without_connections_have_null_links)
{
    auto const record = TypeParam::record({.queries = "queries { connection_id: 1 transaction_id: 1 } queries { }"});
    ASSERT_EQ(record->queries().size(), 2);
    for (auto const &query : record->queries()) {
        EXPECT_FALSE(query->connection());
        EXPECT_FALSE(query->transaction());
    }
    EXPECT_THAT(record->connections(), IsEmpty());
    EXPECT_THAT(record->transactions(), IsEmpty());
}

TYPED_TEST(SqlQueriesFrom, an_unknown_transaction_leaves_the_connection)
{
    auto const record = TypeParam::record({
        .connections = "connections { id: 1 } ",
        .transactions = "transactions { id: 1 } ",
        .queries = "queries { connection_id: 1 transaction_id: 2 }",
    });
    EXPECT_TRUE(record->queries()[0]->connection());
    EXPECT_FALSE(record->queries()[0]->transaction());
}

TYPED_TEST(SqlQueriesFrom, ids_of_0_link_when_present)
{
    auto const record = TypeParam::record({
        .connections = "connections { id: 0 } ",
        .transactions = "transactions { id: 0 } ",
        .queries = "queries { connection_id: 0 transaction_id: 0 } queries { }",
    });
    EXPECT_TRUE(record->queries()[0]->connection());
    EXPECT_TRUE(record->queries()[0]->transaction());
    EXPECT_FALSE(record->queries()[1]->connection());
    EXPECT_FALSE(record->queries()[1]->transaction());
}

TYPED_TEST(SqlQueriesFrom, of_two_with_one_id_the_later_one_is_listed_and_linked)
{
    auto const record = TypeParam::record({
        .connections = "connections { id: 1 name: 'first' } connections { id: 1 name: 'second' } ",
        .transactions = "transactions { id: 1 extra_number: 1 } transactions { id: 1 extra_number: 2 } ",
        .queries = "queries { connection_id: 1 transaction_id: 1 }",
    });
    ASSERT_EQ(record->connections().size(), 1);
    ASSERT_EQ(record->transactions().size(), 1);
    EXPECT_EQ(record->connections()[0]->name(), u"second"_s);
    EXPECT_EQ(record->transactions()[0]->extra_number(), 2U);
    EXPECT_EQ(record->queries()[0]->connection().get(), record->connections()[0].get());
    EXPECT_EQ(record->queries()[0]->transaction().get(), record->transactions()[0].get());
}

TYPED_TEST(SqlQueriesFrom, lists_connections_and_transactions_without_queries)
{
    auto const record = TypeParam::record({
        .connections = "connections { id: 1 } connections { id: 2 } ",
        .transactions = "transactions { id: 3 } ",
        .queries = "queries { connection_id: 1 }",
    });
    EXPECT_THAT(ids(record->connections()), ElementsAre(1, 2));
    EXPECT_THAT(ids(record->transactions()), ElementsAre(3));
}

TYPED_TEST(SqlQueriesFrom, equal_queries_stay_separate)
{
    auto const record = TypeParam::record({.queries = "queries { text: 'q' } queries { text: 'q' }"});
    ASSERT_EQ(record->queries().size(), 2);
    EXPECT_NE(record->queries()[0].get(), record->queries()[1].get());
}

TYPED_TEST(SqlQueriesFrom, owns_its_connections_and_transactions_through_lists_and_links)
{
    auto const record = TypeParam::record({
        .connections = "connections { id: 1 } ",
        .transactions = "transactions { id: 1 } transactions { id: 2 parent_id: 1 } ",
        .queries = "queries { connection_id: 1 transaction_id: 2 } queries { connection_id: 1 }",
    });
    EXPECT_EQ(record->connections()[0]->ref.loadRelaxed(), 1 + 2);  // the list, two queries
    EXPECT_EQ(record->transactions()[0]->ref.loadRelaxed(), 1 + 1); // the list, a child
    EXPECT_EQ(record->transactions()[1]->ref.loadRelaxed(), 1 + 1); // the list, a query
    EXPECT_EQ(record->queries()[0]->ref.loadRelaxed(), 1);
}

TYPED_TEST(SqlQueriesFrom, a_loop_over_a_list_by_reference_does_not_change_counts)
{
    auto const record = TypeParam::record({
        .connections = "connections { id: 1 } ",
        .transactions = "transactions { id: 1 } ",
        .queries = "queries { text: 'a' } queries { text: 'b' }",
    });
    std::vector<QString> texts;
    // NOLINTBEGIN(performance-for-range-copy): the copies are what is tested
    for (SqlQuery const query : record->queries()) {
        EXPECT_EQ(query->ref.loadRelaxed(), 2);
        texts.push_back(query->text());
    }
    EXPECT_THAT(texts, ElementsAre(u"a"_s, u"b"_s));
    for (SqlConnection const connection : record->connections())
        EXPECT_EQ(connection->ref.loadRelaxed(), 2);
    for (SqlTransaction const transaction : record->transactions())
        EXPECT_EQ(transaction->ref.loadRelaxed(), 2);
    // NOLINTEND(performance-for-range-copy)

    for (auto const &query : record->queries())
        EXPECT_EQ(query->ref.loadRelaxed(), 1);
    for (auto const &connection : record->connections())
        EXPECT_EQ(connection->ref.loadRelaxed(), 1);
    for (auto const &transaction : record->transactions())
        EXPECT_EQ(transaction->ref.loadRelaxed(), 1);
}

TYPED_TEST(SqlQueriesFrom, a_query_outlives_its_record_with_its_links)
{
    auto record = TypeParam::record({
        .connections = "connections { id: 1 name: 'db' } ",
        .transactions = "transactions { id: 1 } transactions { id: 2 parent_id: 1 } ",
        .queries = "queries { connection_id: 1 transaction_id: 2 }",
    });
    auto const query = record->queries()[0];
    record.reset();
    EXPECT_EQ(query->connection()->name(), u"db"_s);
    EXPECT_EQ(query->connection()->ref.loadRelaxed(), 1);
    EXPECT_EQ(query->transaction()->ref.loadRelaxed(), 1);
    EXPECT_EQ(query->transaction()->parent()->id(), 1U);
}

TYPED_TEST(SqlQueriesFrom, prints_links_as_ids)
{
    auto const record = TypeParam::record({
        .connections = "connections { id: 1 } ",
        .transactions = "transactions { id: 2 extra_number: 0 } transactions { id: 3 parent_id: 2 extra_number: 0 } ",
        .queries = "queries { text: 'q' connection_id: 1 transaction_id: 3 extra_number: 4 }",
    });
    EXPECT_EQ(to_text(record),
              "glimmet.SqlQueries{request_id: 7, connections: [glimmet.SqlConnection{id: 1, kind: 0, name: \"\"}], "
              "transactions: [glimmet.SqlTransaction{id: 2, parent: none, extra_number: 0, time: {0 s, 0 ns}}, "
              "glimmet.SqlTransaction{id: 3, parent: 2, extra_number: 0, time: {0 s, 0 ns}}], "
              "queries: [glimmet.SqlQuery{kind: 0, source_kind: 0, text: \"q\", status: 0, wide_number: 0, "
              "error: none, time: {0 s, 0 ns}, extra_number: 4, connection: 1, transaction: 3, stack_trace: none}]}");
}

TEST(SqlQueries, is_the_same_in_both_dialects)
{
    Parts const parts{
        .connections = "connections { id: 9 kind: KIND_3 name: 'b' } connections { id: 2 name: 'a' } ",
        .transactions = "transactions { id: 5 extra_number: 6 } "
                        "transactions { id: 4 parent_id: 5 extra_number: 0 time { nanos: 7 } } ",
        .queries = "queries { text: 'q' kind: KIND_3 source_kind: SOURCE_KIND_2 status: STATUS_1 wide_number: -1 "
                   "error { message: 'm' } time { seconds: 8 } extra_number: 9 connection_id: 9 transaction_id: 4 "
                   "stack_trace { frames { frame_number: 1 } } }",
    };
    EXPECT_EQ(to_text(Rpc::record(parts)), to_text(Protobuf::record(parts)));
}

struct RpcCase {
    char const *name;
    char const *textproto;
    char const *request_id;
};

RpcCase const rpc_cases[] = {
    {"an_empty_message", "", "0"},
    {"no_case", "request_id { id: 7 } timestamp { seconds: 8 }", "7"},
    {"functions", "request_id { id: 7 } functions { functions { name: 'f' } }", "7"},
    {"storage", "request_id { id: 7 } storage { name: 'n' }", "7"},
    {"empty_queries", "request_id { id: 18446744073709551615 } sql_queries { }", "18446744073709551615"},
    {"queries_without_an_id", "sql_queries { }", "0"},
};

class SqlQueriesWithNothingIn : public test::TableTest<RpcCase> {};

TEST_P(SqlQueriesWithNothingIn, have_the_id_and_empty_lists)
{
    SqlQueries const record(new detail::SqlQueries(from_text<NotifyRequest>(GetParam().textproto)));
    EXPECT_EQ(to_text(record), "glimmet.SqlQueries{request_id: " + std::string(GetParam().request_id) +
                                   ", connections: [], transactions: [], queries: []}");
}

INSTANTIATE_TEST_SUITE_P(Cases, SqlQueriesWithNothingIn, test::rows(rpc_cases), test::by_name);

TEST(SqlQueries, of_protobuf_share_their_tables)
{
    SqlConnections const connections(from_text<ProtobufConnections>("connections { id: 1 } connections { id: 2 }"));
    SqlTransactions const transactions(from_text<ProtobufTransactions>("transactions { id: 3 }"));
    auto const message = from_text<ProtobufQueries>("queries { connection_id: 2 transaction_id: 3 }");

    SqlQueries const one(new detail::SqlQueries(message, php::RequestId(7), connections, transactions));
    SqlQueries const other(new detail::SqlQueries(message, php::RequestId(8), connections, transactions));
    SqlQueries const bare(new detail::SqlQueries(message, php::RequestId(9), {}, {}));

    EXPECT_EQ(other->request_id().id(), 8U);
    EXPECT_EQ(one->connections()[0].get(), other->connections()[0].get());
    EXPECT_EQ(one->queries()[0]->connection().get(), other->queries()[0]->connection().get());
    EXPECT_EQ(one->queries()[0]->transaction().get(), other->transactions()[0].get());
    EXPECT_EQ(one->connections()[0]->ref.loadRelaxed(), 1 + 2);      // the table, two lists
    EXPECT_EQ(one->transactions()[0]->ref.loadRelaxed(), 1 + 2 + 2); // two queries too
    EXPECT_EQ(connections.size(), 2);
    EXPECT_FALSE(bare->queries()[0]->connection());
    EXPECT_THAT(bare->connections(), IsEmpty());
}

TEST(SqlQueries, of_protobuf_can_be_built_from_one_table_on_several_threads)
{
    SqlConnections const connections(from_text<ProtobufConnections>("connections { id: 1 } connections { id: 2 }"));
    SqlTransactions const transactions(
        from_text<ProtobufTransactions>("transactions { id: 3 } transactions { id: 4 parent_id: 3 }"));
    auto const message = from_text<ProtobufQueries>("queries { connection_id: 2 transaction_id: 4 } queries { }");
    constexpr int rounds = 500;
    std::barrier start(2);
    std::vector<SqlQueries> made[2];
    auto const build = [&](std::vector<SqlQueries> &records) {
        start.arrive_and_wait();
        for (int i = 0; i < rounds; ++i)
            records.emplace_back(new detail::SqlQueries(message, php::RequestId(7), connections, transactions));
    };
    {
        std::jthread const one([&] { build(made[0]); });
        std::jthread const other([&] { build(made[1]); });
    }
    EXPECT_EQ(connections.first()->ref.loadRelaxed(), 1 + 2 * rounds);
    EXPECT_EQ(transactions.last()->ref.loadRelaxed(), 1 + 2 * rounds + 2 * rounds);
    {
        std::jthread const one([&] { made[0].clear(); });
        std::jthread const other([&] { made[1].clear(); });
    }
    EXPECT_EQ(connections.first()->ref.loadRelaxed(), 1);
    EXPECT_EQ(transactions.last()->ref.loadRelaxed(), 1);
}

TEST(SqlQueries, allocate_one_block_for_each_list)
{
    SqlConnections const connections(from_text<ProtobufConnections>("connections { id: 1 } connections { id: 2 }"));
    SqlTransactions const transactions(from_text<ProtobufTransactions>("transactions { id: 3 }"));
    ProtobufQueries message;
    for (int i = 0; i < 100; ++i)
        message.add_queries();
    auto const record_and_lists = 1U + 3U;
    EXPECT_EQ(test::allocations_of([&] {
                  SqlQueries const record(
                      new detail::SqlQueries(message, php::RequestId(7), connections, transactions));
              }),
              record_and_lists + 100U);
}

TEST(SqlQueries, round_trips_through_a_qvariant)
{
    auto const record = Rpc::record({});
    auto const variant = QVariant::fromValue(record);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::SqlQueries");
    EXPECT_EQ(variant.value<SqlQueries>().get(), record.get());
}

TEST(SqlQueries, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<ProtobufQueries>(), ElementsAre("queries"));
}

} // namespace
} // namespace tarnwick::data::glimmet::sql_queries_test
