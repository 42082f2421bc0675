// The tables of SQL connections and of SQL transactions are records of their own that follow the same rules.

#include <tarnwick/data/glimmet/sql_connections.h>
#include <tarnwick/data/glimmet/sql_transactions.h>

#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <concepts>
#include <regex>
#include <string>
#include <type_traits>

namespace tarnwick::data::glimmet::glimmet_sql_tables_test {
namespace {

using RpcQueries = rpc::glimmet::v1::SqlQueries;
using testing::ElementsAre;

struct Connections {
    using Table = SqlConnections;
    using Payload = detail::SqlConnection;
    static constexpr auto name = "tarnwick::data::glimmet::SqlConnections";
    static constexpr auto field = "connections";
};

struct Transactions {
    using Table = SqlTransactions;
    using Payload = detail::SqlTransaction;
    static constexpr auto name = "tarnwick::data::glimmet::SqlTransactions";
    static constexpr auto field = "transactions";
};

template <class KindOfTable, class MessageOfTable>
struct From : KindOfTable {
    using Message = MessageOfTable;
};

template <class Kind>
class SqlTables : public testing::Test {
    using Table = Kind::Table;
    using Map = QMap<unsigned int, QExplicitlySharedDataPointer<typename Kind::Payload>>;

    static_assert(std::convertible_to<Table const &, Map const &>);
    static_assert(sizeof(Table) == sizeof(Map));
    static_assert(std::is_nothrow_move_constructible_v<Table>);

public:
    /// The table of entries as textproto, in which `#` is replaced by the name of their field.
    static Table read(std::string const &entries)
    {
        auto const textproto = std::regex_replace(entries, std::regex("#"), Kind::field);
        return Table(test::from_text<typename Kind::Message>(textproto));
    }
};

using Kinds =
    testing::Types<From<Connections, RpcQueries>, From<Connections, pelorin::protobuf::Glimmet::SqlConnections>,
                   From<Transactions, RpcQueries>, From<Transactions, pelorin::protobuf::Glimmet::SqlTransactions>>;
TYPED_TEST_SUITE(SqlTables, Kinds, );

TYPED_TEST(SqlTables, are_empty_without_entries)
{
    auto const table = this->read("");
    EXPECT_TRUE(table.isEmpty());
    EXPECT_FALSE(table.value(0));
}

TYPED_TEST(SqlTables, are_in_ascending_order_of_unsigned_ids)
{
    auto const table = this->read("# { id: 9 } # { id: 4294967295 } # { id: 2 } # { id: 0 } # { id: 2147483648 } "
                                  "# { id: 7 }");
    EXPECT_THAT(table.keys(), ElementsAre(0, 2, 7, 9, 2147483648U, 4294967295U));
    for (auto entry = table.cbegin(); entry != table.cend(); ++entry) {
        ASSERT_TRUE(entry.value());
        EXPECT_EQ(entry.value()->id(), entry.key());
    }
}

TYPED_TEST(SqlTables, are_the_only_owners_of_their_entries)
{
    for (auto const &entry : this->read("# { id: 1 } # { id: 2 } # { id: 2 }"))
        EXPECT_EQ(entry->ref.loadRelaxed(), 1);
}

TYPED_TEST(SqlTables, share_their_entries_with_copies)
{
    auto const table = this->read("# { id: 5 }");
    auto copy = table;
    EXPECT_EQ(copy.value(5).get(), table.value(5).get());
    copy.remove(5);
    EXPECT_EQ(table.size(), 1);
}

TYPED_TEST(SqlTables, round_trip_through_a_qvariant)
{
    auto const table = this->read("# { id: 5 }");
    auto const variant = QVariant::fromValue(table);
    EXPECT_STREQ(variant.metaType().name(), TypeParam::name);
    EXPECT_EQ(variant.template value<typename TypeParam::Table>().value(5).get(), table.value(5).get());
}

} // namespace
} // namespace tarnwick::data::glimmet::glimmet_sql_tables_test
