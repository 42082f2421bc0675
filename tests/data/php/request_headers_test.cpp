// What request and response headers have in common is in headers_test.cpp.

#include <tarnwick/data/php/request_headers.h>

#include "support/message_fields.h"

#include <pelorin/protobuf/Glimmet/headers.pb.h>

#include <gmock/gmock.h>

namespace tarnwick::data::php::request_headers_test {
namespace {

TEST(RequestHeaders, message_fields_are_all_read)
{
    EXPECT_THAT(test::field_names<pelorin::protobuf::Glimmet::RequestHeaders>(), testing::ElementsAre("lines"));
}

} // namespace
} // namespace tarnwick::data::php::request_headers_test
