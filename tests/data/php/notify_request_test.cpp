// The messages from which several records of the php family are built. Beside each field are the records that read it.

#include "support/message_fields.h"

#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gmock/gmock.h>

namespace tarnwick::data::php::php_notify_request_test {
namespace {

using test::field_names;
using testing::ElementsAre;

TEST(PhpNotifyRequest, fields_are_all_read)
{
    EXPECT_THAT(field_names<rpc::php::v1::NotifyRequest>(),
                ElementsAre("request_id" /* all */, "timestamp" /* RInit, RShutdown, ErrorData */, "rinit", "rshutdown",
                            "error" /* ErrorData */));
    EXPECT_THAT(field_names<rpc::php::v1::RInitPayload>(),
                ElementsAre("info" /* RInit */, "request", "superglobals" /* Superglobals */));
    EXPECT_THAT(field_names<rpc::php::v1::Request>(),
                ElementsAre("text_0" /* RInit */, "text_1" /* RInit */, "bytes_0" /* RInit */, "bytes_1" /* RInit */,
                            "headers" /* RequestHeaders */, "post_data" /* PostData */));
    EXPECT_THAT(field_names<rpc::php::v1::RShutdownPayload>(),
                ElementsAre("duration" /* RShutdown */, "response", "memory" /* RShutdown */,
                            "superglobals" /* Superglobals */));
    EXPECT_THAT(field_names<rpc::php::v1::Response>(),
                ElementsAre("headers" /* ResponseHeaders */, "body" /* ResponseBody */, "status" /* RShutdown */));
}

} // namespace
} // namespace tarnwick::data::php::php_notify_request_test
