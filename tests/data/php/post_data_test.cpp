// What the bodies of requests and responses have in common is in bodies_test.cpp.

#include <tarnwick/data/php/post_data.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::data::php::post_data_test {
namespace {

using ProtobufMessage = pelorin::protobuf::Glimmet::RawPostData;
using test::field_names;
using testing::ElementsAre;

PostData from_protobuf(std::string const &textproto)
{
    return test::record_from_text<PostData, ProtobufMessage>(textproto, RequestId(7));
}

TEST(PostData, has_numbers_beyond_32_bits_only_in_the_protobuf_dialect)
{
    EXPECT_EQ(from_protobuf("number: 9223372036854775807")->number(), 9223372036854775807);
    EXPECT_EQ(from_protobuf("number: -1")->number(), -1);
    EXPECT_EQ(rpc::php::v1::PostData::descriptor()->FindFieldByName("number")->type(),
              google::protobuf::FieldDescriptor::TYPE_UINT32);
}

TEST(PostData, has_the_same_number_in_both_dialects)
{
    EXPECT_EQ(to_text(test::record_from_text<PostData, rpc::php::v1::NotifyRequest>(
                  "request_id { id: 7 } rinit { request { post_data { number: 4294967295 } } }")),
              to_text(from_protobuf("number: 4294967295")));
}

TEST(PostData, message_fields_are_all_read)
{
    EXPECT_THAT(field_names<rpc::php::v1::PostData>(), ElementsAre("text_0", "text_1", "number"));
    EXPECT_THAT(field_names<ProtobufMessage>(), ElementsAre("text_0", "text_1", "number"));
}

} // namespace
} // namespace tarnwick::data::php::post_data_test
