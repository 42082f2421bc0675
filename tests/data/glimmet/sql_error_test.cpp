#include <tarnwick/data/glimmet/sql_error.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

namespace tarnwick::data::glimmet::sql_error_test {
namespace {

using testing::ElementsAre;
using namespace Qt::StringLiterals;

template <class Message>
class SqlErrorFrom : public testing::Test {};

using Messages = testing::Types<rpc::glimmet::v1::SqlError, pelorin::protobuf::Glimmet::SqlError>;
TYPED_TEST_SUITE(SqlErrorFrom, Messages);

TYPED_TEST(SqlErrorFrom, reads_the_text)
{
    SqlError const error(test::from_text<TypeParam>(R"(message: ' no such table\000\377')"));
    EXPECT_EQ(error.message(), u" no such table\0\ufffd"_s);
}

TYPED_TEST(SqlErrorFrom, an_absent_text_is_empty_and_not_null)
{
    SqlError const error{TypeParam()};
    EXPECT_TRUE(error.message().isEmpty());
    EXPECT_FALSE(error.message().isNull());
}

TYPED_TEST(SqlErrorFrom, every_message_field_is_read)
{
    EXPECT_THAT(test::field_names<TypeParam>(), ElementsAre("message"));
}

TEST(SqlError, round_trips_through_a_qvariant)
{
    SqlError const error(test::from_text<rpc::glimmet::v1::SqlError>("message: 'm'"));
    auto const variant = QVariant::fromValue(error);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::SqlError");
    auto const *const inside = get_if<SqlError>(&variant);
    ASSERT_NE(inside, nullptr);
    EXPECT_EQ(to_text(*inside), R"(glimmet.SqlError{message: "m"})");
}

} // namespace
} // namespace tarnwick::data::glimmet::sql_error_test
