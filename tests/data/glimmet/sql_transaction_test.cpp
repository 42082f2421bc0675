#include <tarnwick/data/glimmet/sql_transaction.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <initializer_list>
#include <string>
#include <type_traits>

namespace tarnwick::data::glimmet::sql_transaction_test {
namespace {

using RpcTransaction = rpc::glimmet::v1::SqlTransaction;
using ProtobufTransaction = pelorin::protobuf::Glimmet::SqlTransaction;
using Pointer = QExplicitlySharedDataPointer<detail::SqlTransaction>;
using Table = QMap<unsigned int, Pointer>;
using test::field_names;
using test::from_text;
using testing::ElementsAre;

static_assert(std::is_nothrow_constructible_v<detail::SqlTransaction, RpcTransaction const &, Table const &>);
static_assert(std::is_nothrow_constructible_v<detail::SqlTransaction, ProtobufTransaction const &, Table const &>);

template <class Message>
Pointer read(std::string const &textproto, Table const &table)
{
    return Pointer(new detail::SqlTransaction(from_text<Message>(textproto), table));
}

/// Transactions with these ids, each under its id.
Table table_of(std::initializer_list<unsigned int> ids)
{
    Table table;
    for (auto const id : ids)
        table[id] = read<RpcTransaction>(fmt::format("id: {}", id), {});
    return table;
}

template <class Message>
class SqlTransactionFrom : public testing::Test {};

using Messages = testing::Types<RpcTransaction, ProtobufTransaction>;
TYPED_TEST_SUITE(SqlTransactionFrom, Messages);

TYPED_TEST(SqlTransactionFrom, reads_every_field)
{
    auto const table = table_of({3, 4});
    auto const transaction =
        read<TypeParam>("time { seconds: 1 nanos: 2 } id: 4294967295 extra_number: 5 parent_id: 4", table);

    EXPECT_EQ(transaction->id(), 4294967295U);
    EXPECT_EQ(transaction->parent().get(), table.value(4).get());
    EXPECT_EQ(transaction->extra_number(), 5U);
    EXPECT_EQ(transaction->time(), (TimePair{1, 2}));
}

TYPED_TEST(SqlTransactionFrom, a_link_shares_the_parent_and_raises_its_count_by_one)
{
    auto const table = table_of({4});
    EXPECT_EQ(table.value(4)->ref.loadRelaxed(), 2); // the table, and the temporary
    auto const transaction = read<TypeParam>("parent_id: 4", table);
    EXPECT_EQ(transaction->parent()->ref.loadRelaxed(), 2);
}

TYPED_TEST(SqlTransactionFrom, an_unknown_parent_is_a_null_link)
{
    EXPECT_FALSE(read<TypeParam>("id: 1 parent_id: 5", table_of({4, 6}))->parent());
}

TYPED_TEST(SqlTransactionFrom, any_parent_in_an_empty_table_is_a_null_link)
{
    EXPECT_FALSE(read<TypeParam>("id: 1 parent_id: 1", {})->parent());
    EXPECT_FALSE(read<TypeParam>("id: 1 parent_id: 0", {})->parent());
}

TYPED_TEST(SqlTransactionFrom, a_parent_id_of_0_is_looked_up_when_present)
{
    auto const table = table_of({0, 1});
    EXPECT_EQ(read<TypeParam>("id: 5 parent_id: 0", table)->parent().get(), table.value(0).get());
}

TYPED_TEST(SqlTransactionFrom, an_absent_parent_id_is_not_looked_up)
{
    EXPECT_FALSE(read<TypeParam>("id: 5", table_of({0, 5}))->parent());
}

TYPED_TEST(SqlTransactionFrom, the_parent_lives_as_long_as_its_child)
{
    auto table = table_of({4});
    auto const transaction = read<TypeParam>("parent_id: 4", table);
    table.clear();
    EXPECT_EQ(transaction->parent()->ref.loadRelaxed(), 1);
    EXPECT_EQ(transaction->parent()->id(), 4U);
}

TYPED_TEST(SqlTransactionFrom, prints_the_id_of_its_parent)
{
    auto const table = table_of({0});
    EXPECT_EQ(to_text(*read<TypeParam>("id: 1 parent_id: 0 extra_number: 2", table)),
              "glimmet.SqlTransaction{id: 1, parent: 0, extra_number: 2, time: {0 s, 0 ns}}");
    EXPECT_EQ(to_text(*read<TypeParam>("id: 1 extra_number: 2", table)),
              "glimmet.SqlTransaction{id: 1, parent: none, extra_number: 2, time: {0 s, 0 ns}}");
}

struct Case {
    char const *name;
    Pointer (*read)(std::string const &textproto, Table const &table);
    char const *textproto;
    char const *printed;
};

#define NUMBER(id, extra_number)                                                                                       \
    "glimmet.SqlTransaction{id: " id ", parent: none, extra_number: " extra_number ", time: {0 s, 0 ns}}"

Case const cases[] = {
    {"rpc_empty_has_no_number", read<RpcTransaction>, "", NUMBER("0", "none")},
    {"rpc_with_a_number_of_0", read<RpcTransaction>, "extra_number: 0", NUMBER("0", "0")},
    {"rpc_with_a_number_of_2147483648", read<RpcTransaction>, "extra_number: 2147483648", NUMBER("0", "2147483648")},
    {"rpc_with_the_highest_number", read<RpcTransaction>, "extra_number: 4294967295", NUMBER("0", "4294967295")},
    {"rpc_with_times_out_of_range", read<RpcTransaction>, "time { seconds: -1 nanos: 1000000000 }",
     "glimmet.SqlTransaction{id: 0, parent: none, extra_number: none, time: {-1 s, 1000000000 ns}}"},
    {"protobuf_empty_has_a_number_of_0", read<ProtobufTransaction>, "", NUMBER("0", "0")},
    {"protobuf_with_a_number_of_0", read<ProtobufTransaction>, "extra_number: 0", NUMBER("0", "0")},
    {"protobuf_with_the_highest_number", read<ProtobufTransaction>, "extra_number: 2147483647",
     NUMBER("0", "2147483647")},
    {"protobuf_with_minus_1_has_no_number", read<ProtobufTransaction>, "id: 7 extra_number: -1", NUMBER("7", "none")},
    {"protobuf_with_the_lowest_number_has_none", read<ProtobufTransaction>, "extra_number: -2147483648",
     NUMBER("0", "none")},
    {"protobuf_with_times_out_of_range", read<ProtobufTransaction>,
     "time { seconds: -1 nanos: 1000000000 } extra_number: -1",
     "glimmet.SqlTransaction{id: 0, parent: none, extra_number: none, time: {-1 s, 1000000000 ns}}"},
};

class SqlTransactionFromMessage : public test::TableTest<Case> {};

TEST_P(SqlTransactionFromMessage, is_read)
{
    EXPECT_EQ(to_text(*GetParam().read(GetParam().textproto, table_of({0, 1, 7}))), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, SqlTransactionFromMessage, test::rows(cases), test::by_name);

TEST(SqlTransaction, round_trips_through_a_qvariant)
{
    SqlTransaction const record(read<RpcTransaction>("id: 1", {}));
    auto const variant = QVariant::fromValue(record);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::SqlTransaction");
    EXPECT_EQ(variant.value<SqlTransaction>().get(), record.get());
}

TEST(SqlTransaction, message_fields_are_all_read)
{
    EXPECT_THAT(field_names<RpcTransaction>(), ElementsAre("time", "id", "parent_id", "extra_number"));
    EXPECT_THAT(field_names<ProtobufTransaction>(), ElementsAre("time", "id", "extra_number", "parent_id"));
}

} // namespace
} // namespace tarnwick::data::glimmet::sql_transaction_test

#undef NUMBER
