// What the tables of connections and of transactions have in common is in sql_tables_test.cpp.

#include <tarnwick/data/glimmet/sql_transactions.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::data::glimmet::sql_transactions_test {
namespace {

using RpcQueries = rpc::glimmet::v1::SqlQueries;
using ProtobufTransactions = pelorin::protobuf::Glimmet::SqlTransactions;
using test::from_text;
using testing::ElementsAre;

template <class Message>
class SqlTransactionsFrom : public testing::Test {
public:
    static SqlTransactions read(std::string const &textproto) { return SqlTransactions(from_text<Message>(textproto)); }
};

using Messages = testing::Types<RpcQueries, ProtobufTransactions>;
TYPED_TEST_SUITE(SqlTransactionsFrom, Messages, );

TYPED_TEST(SqlTransactionsFrom, a_parent_before_its_child_is_linked)
{
    auto const table = this->read("transactions { id: 2 } transactions { id: 1 parent_id: 2 }");
    EXPECT_EQ(table.value(1)->parent().get(), table.value(2).get());
}

TYPED_TEST(SqlTransactionsFrom, a_parent_after_its_child_is_not_linked)
{
    auto const table = this->read("transactions { id: 1 parent_id: 2 } transactions { id: 2 }");
    EXPECT_TRUE(table.value(2));
    EXPECT_FALSE(table.value(1)->parent());
}

TYPED_TEST(SqlTransactionsFrom, two_that_name_each_other_do_not_form_a_cycle)
{
    auto const table = this->read("transactions { id: 1 parent_id: 2 } transactions { id: 2 parent_id: 1 }");
    EXPECT_FALSE(table.value(1)->parent());
    EXPECT_EQ(table.value(2)->parent().get(), table.value(1).get());
}

TYPED_TEST(SqlTransactionsFrom, one_that_names_itself_has_no_parent)
{
    EXPECT_FALSE(this->read("transactions { id: 1 parent_id: 1 }").value(1)->parent());
    EXPECT_FALSE(this->read("transactions { id: 0 parent_id: 0 }").value(0)->parent());
}

TYPED_TEST(SqlTransactionsFrom, one_that_names_its_own_id_is_the_child_of_the_previous_one_with_that_id)
{
    auto const table = this->read("transactions { id: 1 extra_number: 10 }"
                                  " transactions { id: 1 parent_id: 1 extra_number: 11 }"
                                  " transactions { id: 1 parent_id: 1 extra_number: 12 }");
    ASSERT_EQ(table.size(), 1);
    auto const *link = table.value(1).get();
    for (auto const number : {12U, 11U, 10U}) {
        ASSERT_NE(link, nullptr);
        EXPECT_EQ(link->extra_number(), number);
        link = link->parent().get();
    }
    EXPECT_EQ(link, nullptr);
}

TYPED_TEST(SqlTransactionsFrom, children_of_a_replaced_one_keep_it)
{
    auto const table = this->read("transactions { id: 1 extra_number: 10 } transactions { id: 2 parent_id: 1 }"
                                  " transactions { id: 1 extra_number: 11 } transactions { id: 3 parent_id: 1 }");
    EXPECT_EQ(table.size(), 3);
    EXPECT_EQ(table.value(1)->extra_number(), 11U);
    EXPECT_EQ(table.value(2)->parent()->extra_number(), 10U);
    EXPECT_EQ(table.value(2)->parent()->ref.loadRelaxed(), 1); // by the child alone
    EXPECT_EQ(table.value(3)->parent().get(), table.value(1).get());
}

TYPED_TEST(SqlTransactionsFrom, a_parent_id_of_0_links_to_0_only_when_present)
{
    auto const table = this->read("transactions { id: 0 } transactions { id: 1 parent_id: 0 } transactions { id: 2 }");
    EXPECT_EQ(table.value(1)->parent().get(), table.value(0).get());
    EXPECT_FALSE(table.value(2)->parent());
}

TYPED_TEST(SqlTransactionsFrom, a_child_outlives_the_table_and_keeps_its_parent)
{
    auto table = this->read("transactions { id: 1 } transactions { id: 2 parent_id: 1 }");
    auto const child = table.value(2);
    table = SqlTransactions();
    EXPECT_EQ(child->ref.loadRelaxed(), 1);
    EXPECT_EQ(child->parent()->id(), 1U);
    EXPECT_EQ(child->parent()->ref.loadRelaxed(), 1);
}

TYPED_TEST(SqlTransactionsFrom, prints_in_the_order_of_the_table)
{
    EXPECT_EQ(to_text(this->read("transactions { id: 9 extra_number: 0 }"
                                 " transactions { id: 2 parent_id: 9 extra_number: 5 time { nanos: 6 } }")),
              "glimmet.SqlTransactions{transactions: "
              "[glimmet.SqlTransaction{id: 2, parent: 9, extra_number: 5, time: {0 s, 6 ns}}, "
              "glimmet.SqlTransaction{id: 9, parent: none, extra_number: 0, time: {0 s, 0 ns}}]}");
}

TEST(SqlTransactions, of_rpc_ignore_the_other_fields)
{
    SqlTransactions const table(from_text<RpcQueries>("connections { id: 1 } queries { transaction_id: 2 }"));
    EXPECT_TRUE(table.isEmpty());
}

TEST(SqlTransactions, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(test::field_names<ProtobufTransactions>(), ElementsAre("transactions"));
}

} // namespace
} // namespace tarnwick::data::glimmet::sql_transactions_test
