#include <tarnwick/data/php/error.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <tarnwick/rpc/php/v1/error.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <string>

namespace tarnwick::data::php::error_test {
namespace {

using RpcError = rpc::php::v1::Error;
using ProtobufError = pelorin::protobuf::Glimmet::Error;
using test::field_names;
using test::from_text;
using testing::ElementsAre;

TEST(Error, reads_its_fields_of_an_rpc_message)
{
    EXPECT_EQ(to_text(Error(from_text<RpcError>(R"pb(
                  message: "m"
                  type { name: "E_WARNING" number: 2 }
                  location { file: "a.php" }
                  stack_trace { frames { } }
                  category: CATEGORY_2)pb"))),
              R"(php.Error{category: 2, number: 2, name: "E_WARNING"})");
}

TEST(Error, reads_its_fields_of_a_protobuf_message)
{
    EXPECT_EQ(to_text(Error(from_text<ProtobufError>(R"pb(
                  name: "E_WARNING"
                  file: "a.php"
                  exception_text: "t"
                  message: "m"
                  stack_trace { frames { } }
                  category: CATEGORY_2
                  number: 2
                  line: 17)pb"))),
              R"(php.Error{category: 2, number: 2, name: "E_WARNING"})");
}

TEST(Error, is_the_same_in_both_dialects)
{
    EXPECT_EQ(to_text(Error(from_text<RpcError>(R"(type { name: "a\377" number: -2147483648 } category: CATEGORY_1)"))),
              to_text(Error(from_text<ProtobufError>(R"(name: "a\377" category: CATEGORY_1 number: -2147483648)"))));
}

TEST(Error, without_a_type_keeps_its_category)
{
    EXPECT_EQ(to_text(Error(from_text<RpcError>("category: CATEGORY_2"))),
              R"(php.Error{category: 2, number: 0, name: ""})");
}

TEST(Error, of_an_empty_message_has_an_empty_name_and_not_a_null_one)
{
    EXPECT_EQ(to_text(Error(RpcError())), R"(php.Error{category: 0, number: 0, name: ""})");
    EXPECT_EQ(to_text(Error(ProtobufError())), R"(php.Error{category: 0, number: 0, name: ""})");
}

TEST(Error, compares_categories_without_truncation)
{
    struct Case {
        int sent;
        Error::Category category;
    };
    Case const cases[] = {
        {0, Error::Category::none},           {1, Error::Category::category_1}, {2, Error::Category::category_2},
        {3, Error::Category::category_3},     {4, Error::Category::none},       {256, Error::Category::none},
        {257, Error::Category::none},         {65538, Error::Category::none},   {-1, Error::Category::none},
        {-2147483647, Error::Category::none},
    };
    for (auto const &[sent, category] : cases) {
        RpcError rpc;
        rpc.set_category(static_cast<RpcError::Category>(sent));
        EXPECT_EQ(Error(rpc).category(), category) << sent;
        ProtobufError protobuf;
        protobuf.set_category(static_cast<ProtobufError::Category>(sent));
        EXPECT_EQ(Error(protobuf).category(), category) << sent;
    }
}

TEST(Error, categories_have_the_numbers_of_the_messages)
{
    EXPECT_EQ(static_cast<int>(Error::Category::none), 0);
    EXPECT_EQ(static_cast<int>(Error::Category::category_1), 1);
    EXPECT_EQ(static_cast<int>(Error::Category::category_2), 2);
    EXPECT_EQ(static_cast<int>(Error::Category::category_3), 3);
}

TEST(Error, round_trips_through_a_qvariant)
{
    auto const variant =
        QVariant::fromValue(Error(from_text<RpcError>("type { name: 'E_WARNING' } category: CATEGORY_2")));
    auto const *error = get_if<Error>(&variant);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(to_text(*error), R"(php.Error{category: 2, number: 0, name: "E_WARNING"})");
}

TEST(Error, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<RpcError>(), ElementsAre("message" /* ignored */, "type", "location" /* ignored */,
                                                     "stack_trace" /* ignored */, "category"));
    EXPECT_THAT(field_names<rpc::php::v1::ErrorType>(), ElementsAre("name", "number"));
    EXPECT_THAT(field_names<ProtobufError>(),
                ElementsAre("name", "file" /* ignored */, "exception_text" /* ignored */, "message" /* ignored */,
                            "timestamp" /* ignored */, "stack_trace" /* ignored */, "category", "number",
                            "line" /* ignored */));
}

} // namespace
} // namespace tarnwick::data::php::error_test
