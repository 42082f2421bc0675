#include <tarnwick/data/php/exception.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <tarnwick/rpc/php/v1/error.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

namespace tarnwick::data::php::exception_test {
namespace {

using RpcException = rpc::php::v1::Exception;
using ProtobufError = pelorin::protobuf::Glimmet::Error;
using test::field_names;
using test::from_text;
using testing::ElementsAre;

TEST(Exception, reads_its_fields_of_an_rpc_message)
{
    EXPECT_EQ(to_text(Exception(from_text<RpcException>(R"pb(
                  exception_name: "LogicException"
                  exception_text: "caught"
                  message: "m"
                  location { file: "a.php" }
                  stack_trace { frames { } })pb"))),
              R"(php.Exception{exception_name: "LogicException", exception_text: "caught"})");
}

TEST(Exception, reads_its_fields_of_a_protobuf_message)
{
    EXPECT_EQ(to_text(Exception(from_text<ProtobufError>(R"pb(
                  name: "LogicException"
                  file: "a.php"
                  exception_text: "caught"
                  message: "m"
                  stack_trace { frames { } }
                  category: CATEGORY_2
                  line: 17)pb"))),
              R"(php.Exception{exception_name: "LogicException", exception_text: "caught"})");
}

TEST(Exception, is_the_same_in_both_dialects)
{
    EXPECT_EQ(to_text(Exception(from_text<RpcException>(R"(exception_name: "a\000b" exception_text: "\377")"))),
              to_text(Exception(from_text<ProtobufError>(R"(name: "a\000b" exception_text: "\377")"))));
}

TEST(Exception, of_an_empty_message_has_empty_texts_and_not_null_ones)
{
    auto const *const empty = R"(php.Exception{exception_name: "", exception_text: ""})";
    EXPECT_EQ(to_text(Exception(RpcException())), empty);
    EXPECT_EQ(to_text(Exception(ProtobufError())), empty);
}

TEST(Exception, round_trips_through_a_qvariant)
{
    auto const variant = QVariant::fromValue(Exception(from_text<RpcException>("exception_name: 'LogicException'")));
    auto const *exception = get_if<Exception>(&variant);
    ASSERT_NE(exception, nullptr);
    EXPECT_EQ(to_text(*exception), R"(php.Exception{exception_name: "LogicException", exception_text: ""})");
}

TEST(Exception, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<RpcException>(), ElementsAre("exception_name", "exception_text", "message" /* ignored */,
                                                         "location" /* ignored */, "stack_trace" /* ignored */));
    EXPECT_THAT(field_names<ProtobufError>(),
                ElementsAre("name", "file" /* ignored */, "exception_text", "message" /* ignored */,
                            "timestamp" /* ignored */, "stack_trace" /* ignored */, "category" /* ignored */,
                            "number" /* ignored */, "line" /* ignored */));
}

} // namespace
} // namespace tarnwick::data::php::exception_test
