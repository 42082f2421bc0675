#include <tarnwick/data/php/post_data.h>

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
#include <type_traits>

namespace tarnwick::data::php {
namespace {

using rpc::php::v1::NotifyRequest;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

// Neither body converts to the other, nor to what they share.
static_assert(!std::is_convertible_v<detail::PostData *, detail::ResponseBody *>);
static_assert(!std::is_convertible_v<detail::ResponseBody *, detail::PostData *>);
static_assert(!std::is_convertible_v<detail::PostData *, detail::Body *>);
static_assert(!std::is_convertible_v<detail::ResponseBody *, detail::Body *>);

PostData from_rpc(std::string const &body)
{
    return PostData(new detail::PostData(
        from_text<NotifyRequest>("request_id { id: 7 } rinit { request { post_data {" + body + "} } }")));
}

PostData from_protobuf(std::string const &textproto)
{
    return PostData(new detail::PostData(from_text<pelorin::protobuf::Glimmet::RawPostData>(textproto), RequestId(7)));
}

constexpr char const *nothing_read = "php.PostData{request_id: 7, text_0: null, number: 0, text_1: null}";

test::PhpReportCase const report_cases[] = {
    {"no_payload", test::no_payload(), nothing_read},
    {"unknown_payload", test::unknown_payload(), nothing_read},
    {"request_start", test::request_start(),
     R"(php.PostData{request_id: 7, text_0: "posted", number: 6, text_1: "form"})"},
    {"request_end", test::request_end(), nothing_read},
    {"php_error", test::php_error(), nothing_read},
    {"nothing_in_the_request_start", from_text<NotifyRequest>("request_id { id: 7 } rinit { }"), nothing_read},
    {"no_body_in_the_request", from_text<NotifyRequest>("request_id { id: 7 } rinit { request { } }"), nothing_read},
    {"an_empty_body_has_empty_texts",
     from_text<NotifyRequest>("request_id { id: 7 } rinit { request { post_data { } } }"),
     R"(php.PostData{request_id: 7, text_0: "", number: 0, text_1: ""})"},
    {"a_missing_id_is_0", from_text<NotifyRequest>("rinit { request { post_data { number: 1 } } }"),
     R"(php.PostData{request_id: 0, text_0: "", number: 1, text_1: ""})"},
};

class PostDataFromReport : public test::TableTest<test::PhpReportCase> {};

TEST_P(PostDataFromReport, gives)
{
    EXPECT_EQ(to_text(detail::PostData(GetParam().message)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, PostDataFromReport, test::rows(report_cases), test::by_name);

TEST(PostData, widens_the_number_of_an_rpc_report_without_a_sign)
{
    EXPECT_EQ(from_rpc("number: 4294967295")->number(), 4294967295);
}

TEST(PostData, keeps_texts_with_nul_bytes_whole)
{
    EXPECT_EQ(from_rpc(R"(text_0: "a\000b" text_1: "\000")")->text_0(), u"a\0b"_s);
    EXPECT_EQ(from_rpc(R"(text_0: "a\000b" text_1: "\000")")->text_1(), u"\0"_s);
    EXPECT_EQ(from_protobuf(R"(text_0: "a\000b" text_1: "\000")")->text_0(), u"a\0b"_s);
    EXPECT_EQ(from_protobuf(R"(text_0: "a\000b" text_1: "\000")")->text_1(), u"\0"_s);
}

TEST(PostData, replaces_what_is_not_utf8)
{
    EXPECT_EQ(from_rpc(R"(text_0: "a\377\376")")->text_0(), u"a\uFFFD\uFFFD"_s);
    EXPECT_EQ(from_protobuf(R"(text_0: "a\377\376")")->text_0(), u"a\uFFFD\uFFFD"_s);
}

TEST(PostData, has_numbers_beyond_32_bits_from_protobuf_reports_alone)
{
    EXPECT_EQ(from_protobuf("number: 9223372036854775807")->number(), 9223372036854775807);
    EXPECT_EQ(from_protobuf("number: -1")->number(), -1);
    EXPECT_EQ(rpc::php::v1::PostData::descriptor()->FindFieldByName("number")->type(),
              google::protobuf::FieldDescriptor::TYPE_UINT32);
}

TEST(PostData, of_an_empty_protobuf_report_has_empty_texts)
{
    EXPECT_EQ(to_text(from_protobuf("")), R"(php.PostData{request_id: 7, text_0: "", number: 0, text_1: ""})");
}

TEST(PostData, dialects_agree_on_what_both_carry)
{
    auto const *const body = R"(text_0: "caf\303\251" text_1: "form" number: 4294967295)";
    auto const rpc = from_rpc(body);

    EXPECT_EQ(rpc->text_0(), u"café"_s);
    EXPECT_EQ(rpc->text_1(), u"form"_s);
    EXPECT_EQ(to_text(rpc), to_text(from_protobuf(body)));
}

TEST(PostData, travels_in_a_qvariant)
{
    auto const record = from_protobuf("text_0: 'a'");

    EXPECT_EQ(QVariant::fromValue(record).value<PostData>(), record);
}

TEST(PostData, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<NotifyRequest>(), ElementsAre("request_id", "timestamp" /* ignored */, "rinit",
                                                          "rshutdown" /* ignored */, "error" /* ignored */));
    EXPECT_THAT(field_names<rpc::php::v1::RInitPayload>(),
                ElementsAre("info" /* ignored */, "request", "superglobals" /* ignored */));
    EXPECT_THAT(field_names<rpc::php::v1::Request>(),
                ElementsAre("text_0" /* ignored */, "text_1" /* ignored */, "bytes_0" /* ignored */,
                            "bytes_1" /* ignored */, "headers" /* ignored */, "post_data"));
    EXPECT_THAT(field_names<rpc::php::v1::PostData>(), ElementsAre("text_0", "text_1", "number"));
    EXPECT_THAT(field_names<pelorin::protobuf::Glimmet::RawPostData>(), ElementsAre("text_0", "text_1", "number"));
}

} // namespace
} // namespace tarnwick::data::php
