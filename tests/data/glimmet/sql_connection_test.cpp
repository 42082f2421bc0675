#include <tarnwick/data/glimmet/sql_connection.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <limits>
#include <string>

namespace tarnwick::data::glimmet::sql_connection_test {
namespace {

using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

template <class Message>
class SqlConnectionFrom : public testing::Test {
public:
    static SqlConnection read(std::string const &textproto)
    {
        return SqlConnection(new detail::SqlConnection(from_text<Message>(textproto)));
    }
};

using Messages = testing::Types<rpc::glimmet::v1::SqlConnection, pelorin::protobuf::Glimmet::SqlConnection>;
TYPED_TEST_SUITE(SqlConnectionFrom, Messages);

TYPED_TEST(SqlConnectionFrom, reads_every_field)
{
    auto const connection = this->read("name: 'mysql:host=db' id: 4294967295 kind: KIND_3");
    EXPECT_EQ(connection->id(), 4294967295U);
    EXPECT_EQ(connection->kind(), 3);
    EXPECT_EQ(connection->name(), u"mysql:host=db"_s);
}

TYPED_TEST(SqlConnectionFrom, an_empty_message_is_zeroes_and_an_empty_name)
{
    auto const connection = this->read("");
    EXPECT_EQ(to_text(connection), R"(glimmet.SqlConnection{id: 0, kind: 0, name: ""})");
    EXPECT_FALSE(connection->name().isNull());
}

TYPED_TEST(SqlConnectionFrom, kind_is_truncated_to_8_bits_and_clamped_to_6)
{
    struct Row {
        int sent;
        int kind;
    };
    Row const rows[] = {
        {0, 0},
        {1, 1},
        {2, 2},
        {3, 3},
        {4, 4},
        {5, 5},
        {6, 6},
        {7, 6},
        {13, 6},
        {128, 6},
        {255, 6},
        {256, 0},
        {257, 1},
        {262, 6},
        {263, 6},
        {-1, 6},
        {-256, 0},
        {-255, 1},
        {std::numeric_limits<int>::max(), 6},
        {std::numeric_limits<int>::min(), 0},
    };
    for (auto const &[sent, kind] : rows)
        EXPECT_EQ(this->read(fmt::format("kind: {}", sent))->kind(), kind) << sent;
}

TYPED_TEST(SqlConnectionFrom, a_name_keeps_nul_bytes_and_replaces_invalid_utf8)
{
    EXPECT_EQ(this->read(R"(name: ' a\000\377 ')")->name(), u" a\0\ufffd "_s);
}

TYPED_TEST(SqlConnectionFrom, allocates_a_block_for_the_payload_and_one_for_the_name)
{
    auto const message = from_text<TypeParam>("name: 'mysql:host=db'");
    EXPECT_EQ(test::allocations_of([&] { SqlConnection const connection(new detail::SqlConnection(message)); }), 2U);
}

TEST(SqlConnection, round_trips_through_a_qvariant)
{
    SqlConnection const record(new detail::SqlConnection(rpc::glimmet::v1::SqlConnection()));
    auto const variant = QVariant::fromValue(record);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::SqlConnection");
    EXPECT_EQ(variant.value<SqlConnection>().get(), record.get());
}

TEST(SqlConnection, message_fields_are_all_read)
{
    EXPECT_THAT(test::field_names<rpc::glimmet::v1::SqlConnection>(), ElementsAre("name", "id", "kind"));
    EXPECT_THAT(test::field_names<pelorin::protobuf::Glimmet::SqlConnection>(), ElementsAre("name", "id", "kind"));
}

} // namespace
} // namespace tarnwick::data::glimmet::sql_connection_test
