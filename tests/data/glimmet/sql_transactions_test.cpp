#include <tarnwick/data/glimmet/sql_transactions.h>

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
using ProtobufTransactions = pelorin::protobuf::Glimmet::SqlTransactions;
using Table = QMap<unsigned int, QExplicitlySharedDataPointer<detail::SqlTransaction>>;
using test::from_text;
using testing::ElementsAre;

static_assert(std::convertible_to<SqlTransactions const &, Table const &>);
static_assert(sizeof(SqlTransactions) == sizeof(Table));
static_assert(std::is_nothrow_move_constructible_v<SqlTransactions>);

template <class Message>
class SqlTransactionsFrom : public testing::Test {
public:
    static SqlTransactions read(std::string const &textproto) { return SqlTransactions(from_text<Message>(textproto)); }
};

using Messages = testing::Types<RpcQueries, ProtobufTransactions>;
TYPED_TEST_SUITE(SqlTransactionsFrom, Messages);

TYPED_TEST(SqlTransactionsFrom, no_transactions_give_an_empty_table)
{
    auto const table = this->read("");
    EXPECT_TRUE(table.isEmpty());
    EXPECT_FALSE(table.value(0));
}

TYPED_TEST(SqlTransactionsFrom, the_table_goes_in_ascending_order_of_unsigned_ids)
{
    auto const table = this->read("transactions { id: 9 } transactions { id: 4294967295 } transactions { id: 2 }"
                                  " transactions { id: 0 } transactions { id: 2147483648 } transactions { id: 7 }");
    EXPECT_THAT(table.keys(), ElementsAre(0, 2, 7, 9, 2147483648U, 4294967295U));
    for (auto entry = table.cbegin(); entry != table.cend(); ++entry) {
        ASSERT_TRUE(entry.value());
        EXPECT_EQ(entry.value()->id(), entry.key());
        EXPECT_EQ(entry.value()->ref.loadRelaxed(), 1);
    }
}

TYPED_TEST(SqlTransactionsFrom, a_parent_that_stands_before_its_child_is_linked)
{
    auto const table = this->read("transactions { id: 2 } transactions { id: 1 parent_id: 2 }");
    EXPECT_EQ(table.value(1)->parent().get(), table.value(2).get());
}

TYPED_TEST(SqlTransactionsFrom, a_parent_that_stands_behind_its_child_is_not_linked)
{
    auto const table = this->read("transactions { id: 1 parent_id: 2 } transactions { id: 2 }");
    EXPECT_TRUE(table.value(2));
    EXPECT_FALSE(table.value(1)->parent());
}

TYPED_TEST(SqlTransactionsFrom, two_that_name_each_other_are_no_cycle)
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

TYPED_TEST(SqlTransactionsFrom, one_that_names_its_own_id_is_the_child_of_the_earlier_one_with_it)
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

TYPED_TEST(SqlTransactionsFrom, replacing_one_leaves_its_children_with_the_old_one)
{
    auto const table = this->read("transactions { id: 1 extra_number: 10 } transactions { id: 2 parent_id: 1 }"
                                  " transactions { id: 1 extra_number: 11 } transactions { id: 3 parent_id: 1 }");
    EXPECT_EQ(table.size(), 3);
    EXPECT_EQ(table.value(1)->extra_number(), 11U);
    EXPECT_EQ(table.value(2)->parent()->extra_number(), 10U);
    EXPECT_EQ(table.value(2)->parent()->ref.loadRelaxed(), 1); // by the child alone
    EXPECT_EQ(table.value(3)->parent().get(), table.value(1).get());
}

TYPED_TEST(SqlTransactionsFrom, a_parent_id_of_0_links_to_0_only_where_it_was_sent)
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

TEST(SqlTransactions, of_rpc_leave_the_rest_of_the_message_alone)
{
    SqlTransactions const table(from_text<RpcQueries>("connections { id: 1 } queries { transaction_id: 2 }"));
    EXPECT_TRUE(table.isEmpty());
}

TEST(SqlTransactions, go_through_a_variant_as_they_go_through_a_queued_signal)
{
    SqlTransactions const table(from_text<ProtobufTransactions>("transactions { id: 5 }"));
    auto const variant = QVariant::fromValue(table);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::SqlTransactions");
    EXPECT_EQ(variant.value<SqlTransactions>().value(5).get(), table.value(5).get());
}

TEST(SqlTransactions, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(test::field_names<RpcQueries>(),
                ElementsAre("connections" /* ignored */, "transactions", "queries" /* ignored */));
    EXPECT_THAT(test::field_names<ProtobufTransactions>(), ElementsAre("transactions"));
}

} // namespace
} // namespace tarnwick::data::glimmet
