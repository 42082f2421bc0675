// What request and response headers have in common is in headers_test.cpp.

#include <tarnwick/data/php/response_headers.h>

#include "support/message_fields.h"

#include <pelorin/protobuf/Glimmet/headers.pb.h>

#include <gmock/gmock.h>

namespace tarnwick::data::php::response_headers_test {
namespace {

TEST(ResponseHeaders, message_fields_are_all_read)
{
    EXPECT_THAT(test::field_names<pelorin::protobuf::Glimmet::ResponseHeaders>(), testing::ElementsAre("lines"));
}

} // namespace
} // namespace tarnwick::data::php::response_headers_test
