#include <tarnwick/data/php/response_headers.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/php_reports.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

namespace tarnwick::data::php {
namespace {

using rpc::php::v1::NotifyRequest;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using ProtobufMessage = pelorin::protobuf::Glimmet::ResponseHeaders;

constexpr char const *nothing_read = "php.ResponseHeaders{request_id: 7, headers: []}";

test::PhpReportCase const report_cases[] = {
    {"no_payload", test::no_payload(), nothing_read},
    {"unknown_payload", test::unknown_payload(), nothing_read},
    {"request_start", test::request_start(), nothing_read},
    {"request_end", test::request_end(), R"(php.ResponseHeaders{request_id: 7, headers: ["Server" => "php"]})"},
    {"php_error", test::php_error(), nothing_read},
    {"nothing_in_the_request_end", from_text<NotifyRequest>("request_id { id: 7 } rshutdown { }"), nothing_read},
    {"no_headers_in_the_response", from_text<NotifyRequest>("request_id { id: 7 } rshutdown { response { } }"),
     nothing_read},
    {"headers_without_elements",
     from_text<NotifyRequest>("request_id { id: 7 } rshutdown { response { headers { } } }"), nothing_read},
    {"a_missing_id_is_0", from_text<NotifyRequest>("rshutdown { response { headers { elements { } } } }"),
     "php.ResponseHeaders{request_id: 0, headers: [undefined => undefined]}"},
    {"a_header_that_is_there_twice_and_is_no_string",
     from_text<NotifyRequest>("request_id { id: 7 } rshutdown { response { headers { elements { string_key: 'A' value "
                              "{ long_value: 1 } } elements { string_key: 'A' } } } }"),
     R"(php.ResponseHeaders{request_id: 7, headers: ["A" => 1, "A" => undefined]})"},
};

class ResponseHeadersFromReport : public test::TableTest<test::PhpReportCase> {};

TEST_P(ResponseHeadersFromReport, gives)
{
    EXPECT_EQ(to_text(detail::ResponseHeaders(GetParam().message)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, ResponseHeadersFromReport, test::rows(report_cases), test::by_name);

TEST(ResponseHeaders, dialects_agree_on_what_both_carry)
{
    detail::ResponseHeaders const rpc(from_text<NotifyRequest>(R"pb(
        request_id { id: 7 }
        rshutdown {
            response {
                headers {
                    elements { string_key: "A" value { string_value: "b\377" } }
                    elements { string_key: "A" value { string_value: "" } }
                }
            }
        })pb"));
    detail::ResponseHeaders const protobuf(from_text<ProtobufMessage>(R"pb(lines: "A: b\377" lines: "A: ")pb"),
                                           RequestId(7));

    EXPECT_EQ(to_text(rpc), to_text(protobuf));
}

TEST(ResponseHeaders, travel_in_a_qvariant)
{
    ResponseHeaders const record(
        new detail::ResponseHeaders(from_text<ProtobufMessage>("lines: 'A: b'"), RequestId(7)));

    EXPECT_EQ(QVariant::fromValue(record).value<ResponseHeaders>(), record);
}

TEST(ResponseHeaders, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<NotifyRequest>(), ElementsAre("request_id", "timestamp" /* ignored */,
                                                          "rinit" /* ignored */, "rshutdown", "error" /* ignored */));
    EXPECT_THAT(
        field_names<rpc::php::v1::RShutdownPayload>(),
        ElementsAre("duration" /* ignored */, "response", "memory" /* ignored */, "superglobals" /* ignored */));
    EXPECT_THAT(field_names<rpc::php::v1::Response>(),
                ElementsAre("headers", "body" /* ignored */, "status" /* ignored */));
    EXPECT_THAT(field_names<ProtobufMessage>(), ElementsAre("lines"));
}

} // namespace
} // namespace tarnwick::data::php
