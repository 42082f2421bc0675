// What the bodies of requests and responses have in common is in bodies_test.cpp.

#include <tarnwick/data/php/response_body.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gmock/gmock.h>

namespace tarnwick::data::php::response_body_test {
namespace {

using ProtobufMessage = pelorin::protobuf::Glimmet::ResponseBody;
using test::field_names;
using testing::ElementsAre;

TEST(ResponseBody, has_no_number_in_the_protobuf_dialect)
{
    EXPECT_EQ(
        to_text(test::record_from_text<ResponseBody, ProtobufMessage>("text_0: '<p>' text_1: 'html'", RequestId(7))),
        R"(php.ResponseBody{request_id: 7, text_0: "<p>", number: 0, text_1: "html"})");
}

TEST(ResponseBody, message_fields_are_all_read)
{
    EXPECT_THAT(field_names<rpc::php::v1::ResponseBody>(), ElementsAre("text_0", "text_1", "number"));
    EXPECT_THAT(field_names<ProtobufMessage>(), ElementsAre("text_0", "text_1"));
}

} // namespace
} // namespace tarnwick::data::php::response_body_test
