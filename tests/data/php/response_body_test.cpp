#include <tarnwick/data/php/response_body.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/php_reports.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <string>

namespace tarnwick::data::php {
namespace {

using rpc::php::v1::NotifyRequest;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

ResponseBody from_rpc(std::string const &body)
{
    return ResponseBody(new detail::ResponseBody(
        from_text<NotifyRequest>("request_id { id: 7 } rshutdown { response { body {" + body + "} } }")));
}

ResponseBody from_protobuf(std::string const &textproto)
{
    return ResponseBody(
        new detail::ResponseBody(from_text<pelorin::protobuf::Glimmet::ResponseBody>(textproto), RequestId(7)));
}

constexpr char const *nothing_read = "php.ResponseBody{request_id: 7, text_0: null, number: 0, text_1: null}";

test::PhpReportCase const report_cases[] = {
    {"no_payload", test::no_payload(), nothing_read},
    {"unknown_payload", test::unknown_payload(), nothing_read},
    {"request_start", test::request_start(), nothing_read},
    {"request_end", test::request_end(),
     R"(php.ResponseBody{request_id: 7, text_0: "<p>", number: 3, text_1: "html"})"},
    {"php_error", test::php_error(), nothing_read},
    {"nothing_in_the_request_end", from_text<NotifyRequest>("request_id { id: 7 } rshutdown { }"), nothing_read},
    {"no_body_in_the_response", from_text<NotifyRequest>("request_id { id: 7 } rshutdown { response { } }"),
     nothing_read},
    {"an_empty_body_has_empty_texts",
     from_text<NotifyRequest>("request_id { id: 7 } rshutdown { response { body { } } }"),
     R"(php.ResponseBody{request_id: 7, text_0: "", number: 0, text_1: ""})"},
    {"a_missing_id_is_0", from_text<NotifyRequest>("rshutdown { response { body { number: 1 } } }"),
     R"(php.ResponseBody{request_id: 0, text_0: "", number: 1, text_1: ""})"},
};

class ResponseBodyFromReport : public test::TableTest<test::PhpReportCase> {};

TEST_P(ResponseBodyFromReport, gives)
{
    EXPECT_EQ(to_text(detail::ResponseBody(GetParam().message)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, ResponseBodyFromReport, test::rows(report_cases), test::by_name);

TEST(ResponseBody, widens_the_number_of_an_rpc_report_without_a_sign)
{
    EXPECT_EQ(from_rpc("number: 4294967295")->number(), 4294967295);
}

TEST(ResponseBody, keeps_texts_with_nul_bytes_whole)
{
    EXPECT_EQ(from_rpc(R"(text_0: "a\000b" text_1: "\000")")->text_0(), u"a\0b"_s);
    EXPECT_EQ(from_rpc(R"(text_0: "a\000b" text_1: "\000")")->text_1(), u"\0"_s);
    EXPECT_EQ(from_protobuf(R"(text_0: "a\000b" text_1: "\000")")->text_0(), u"a\0b"_s);
    EXPECT_EQ(from_protobuf(R"(text_0: "a\000b" text_1: "\000")")->text_1(), u"\0"_s);
}

TEST(ResponseBody, replaces_what_is_not_utf8)
{
    EXPECT_EQ(from_rpc(R"(text_0: "a\377\376")")->text_0(), u"a\uFFFD\uFFFD"_s);
    EXPECT_EQ(from_protobuf(R"(text_0: "a\377\376")")->text_0(), u"a\uFFFD\uFFFD"_s);
}

TEST(ResponseBody, has_no_number_from_a_protobuf_report)
{
    EXPECT_EQ(to_text(from_protobuf("text_0: '<p>' text_1: 'html'")),
              R"(php.ResponseBody{request_id: 7, text_0: "<p>", number: 0, text_1: "html"})");
}

TEST(ResponseBody, of_an_empty_protobuf_report_has_empty_texts)
{
    EXPECT_EQ(to_text(from_protobuf("")), R"(php.ResponseBody{request_id: 7, text_0: "", number: 0, text_1: ""})");
}

TEST(ResponseBody, dialects_agree_on_what_both_carry)
{
    auto const *const body = R"(text_0: "caf\303\251" text_1: "html")";
    auto const rpc = from_rpc(body);

    EXPECT_EQ(rpc->text_0(), u"café"_s);
    EXPECT_EQ(rpc->text_1(), u"html"_s);
    EXPECT_EQ(to_text(rpc), to_text(from_protobuf(body)));
}

TEST(ResponseBody, travels_in_a_qvariant)
{
    auto const record = from_protobuf("text_0: 'a'");

    EXPECT_EQ(QVariant::fromValue(record).value<ResponseBody>(), record);
}

TEST(ResponseBody, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<NotifyRequest>(), ElementsAre("request_id", "timestamp" /* ignored */,
                                                          "rinit" /* ignored */, "rshutdown", "error" /* ignored */));
    EXPECT_THAT(
        field_names<rpc::php::v1::RShutdownPayload>(),
        ElementsAre("duration" /* ignored */, "response", "memory" /* ignored */, "superglobals" /* ignored */));
    EXPECT_THAT(field_names<rpc::php::v1::Response>(),
                ElementsAre("headers" /* ignored */, "body", "status" /* ignored */));
    EXPECT_THAT(field_names<rpc::php::v1::ResponseBody>(), ElementsAre("text_0", "text_1", "number"));
    EXPECT_THAT(field_names<pelorin::protobuf::Glimmet::ResponseBody>(), ElementsAre("text_0", "text_1"));
}

} // namespace
} // namespace tarnwick::data::php
