#include <tarnwick/data/php/rinit.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/php_reports.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/PelorinPHP/rinit_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <string>

namespace tarnwick::data::php::rinit_test {
namespace {

using pelorin::protobuf::PelorinPHP::RInitData;
using rpc::php::v1::NotifyRequest;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

constexpr auto from_rpc = test::record_from_text<RInit, NotifyRequest>;

RInit from_protobuf(std::string const &textproto)
{
    return test::record_from_text<RInit, RInitData>(textproto, RequestId(7));
}

void expect_fields_of_both_dialects(RInit const &record)
{
    EXPECT_EQ(record->request_id().id(), 7U);
    EXPECT_EQ(record->timestamp(), (TimePair{8, 9}));
    EXPECT_EQ(record->version_major(), 8);
    EXPECT_EQ(record->version_minor(), 4);
    EXPECT_EQ(record->version_patch(), 1);
    EXPECT_EQ(record->info_text(), u"fpm"_s);
    EXPECT_EQ(record->request_text_0(), u"GET"_s);
    EXPECT_EQ(record->request_text_1(), u"/"_s);
    EXPECT_EQ(record->info_number(), 3);
    EXPECT_EQ(record->request_bytes_0(), QByteArray("a=1"));
}

TEST(RInit, reads_every_field_of_an_rpc_report)
{
    RInit const record(new detail::RInit(test::request_start()));

    expect_fields_of_both_dialects(record);
    EXPECT_EQ(record->version_text(), u"8.4"_s);
    EXPECT_EQ(record->version_number(), 80401);
    EXPECT_EQ(record->request_bytes_1(), QByteArray("::1"));
}

TEST(RInit, reads_every_field_of_a_protobuf_report)
{
    auto const record = from_protobuf(R"pb(
        text_0: "GET"
        text_1: "/"
        info_text: "fpm"
        bytes_0: "a=1"
        version { major: 8 minor: 4 patch: 1 }
        timestamp { seconds: 8 nanos: 9 }
        info_number: 3)pb");

    expect_fields_of_both_dialects(record);
}

TEST(RInit, is_the_same_in_both_dialects)
{
    auto const rpc = from_rpc(R"pb(
        request_id { id: 7 }
        timestamp { seconds: -1 nanos: 1999999999 }
        rinit {
            info {
                text: "caf\303\251 \377"
                version { major: 2147483647 minor: -2147483648 patch: -1 }
                number: -1
            }
            request { text_0: "a\000b" text_1: "" bytes_0: "\000\377" }
        })pb");
    auto const protobuf = from_protobuf(R"pb(
        text_0: "a\000b"
        text_1: ""
        info_text: "caf\303\251 \377"
        bytes_0: "\000\377"
        version { major: 2147483647 minor: -2147483648 patch: -1 }
        timestamp { seconds: -1 nanos: 1999999999 }
        info_number: -1)pb");

    // The text of the version is the one field that no protobuf report fills and every rpc version does.
    EXPECT_EQ(rpc->version_text(), u""_s);
    EXPECT_TRUE(protobuf->version_text().isNull());
    auto printed = to_text(rpc);
    printed.replace(printed.find("version_text: \"\""), sizeof("version_text: \"\"") - 1, "version_text: null");
    EXPECT_EQ(printed, to_text(protobuf));
}

#define ID_AND_TIME "php.RInit{request_id: 7, timestamp: {8 s, 9 ns}, "
#define NO_VERSION "version_major: 0, version_minor: 0, version_patch: 0, version_text: null, version_number: 0, "
#define NO_REQUEST_TEXTS "request_text_0: null, request_text_1: null, "
#define NO_BYTES "request_bytes_0: none, request_bytes_1: none}"

test::PhpReportCase const report_cases[] = {
    {"no_payload", test::no_payload(),
     ID_AND_TIME NO_VERSION "info_text: null, " NO_REQUEST_TEXTS "info_number: 0, " NO_BYTES},
    {"unknown_payload", test::unknown_payload(),
     ID_AND_TIME NO_VERSION "info_text: null, " NO_REQUEST_TEXTS "info_number: 0, " NO_BYTES},
    {"request_start", test::request_start(),
     ID_AND_TIME "version_major: 8, version_minor: 4, version_patch: 1, version_text: \"8.4\", version_number: 80401, "
                 "info_text: \"fpm\", request_text_0: \"GET\", request_text_1: \"/\", info_number: 3, "
                 "request_bytes_0: \"a=1\", request_bytes_1: \"::1\"}"},
    {"request_end", test::request_end(),
     ID_AND_TIME NO_VERSION "info_text: null, " NO_REQUEST_TEXTS "info_number: 0, " NO_BYTES},
    {"php_error", test::php_error(),
     ID_AND_TIME NO_VERSION "info_text: null, " NO_REQUEST_TEXTS "info_number: 0, " NO_BYTES},
};

class RInitFromReport : public test::TableTest<test::PhpReportCase> {};

TEST_P(RInitFromReport, is_read)
{
    EXPECT_EQ(to_text(detail::RInit(GetParam().message)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, RInitFromReport, test::rows(report_cases), test::by_name);

#define NO_ID_NO_TIME "php.RInit{request_id: 0, timestamp: {0 s, 0 ns}, "

test::PrintedCase const rpc_cases[] = {
    {"an_empty_message_has_defaults", "",
     NO_ID_NO_TIME NO_VERSION "info_text: null, " NO_REQUEST_TEXTS "info_number: 0, " NO_BYTES},
    {"an_empty_request_start_has_defaults", "rinit { }",
     NO_ID_NO_TIME NO_VERSION "info_text: null, " NO_REQUEST_TEXTS "info_number: 0, " NO_BYTES},
    {"a_request_without_info_fills_the_fields_of_the_request",
     "rinit { request { text_0: 'GET' text_1: '/' bytes_0: 'a' bytes_1: 'b' } }",
     NO_ID_NO_TIME NO_VERSION "info_text: null, request_text_0: \"GET\", request_text_1: \"/\", info_number: 0, "
                              "request_bytes_0: \"a\", request_bytes_1: \"b\"}"},
    {"info_without_version_fills_its_text_and_number", "rinit { info { text: 'fpm' number: 3 } }",
     NO_ID_NO_TIME NO_VERSION "info_text: \"fpm\", " NO_REQUEST_TEXTS "info_number: 3, " NO_BYTES},
    {"empty_info_has_an_empty_text", "rinit { info { } }",
     NO_ID_NO_TIME NO_VERSION "info_text: \"\", " NO_REQUEST_TEXTS "info_number: 0, " NO_BYTES},
    {"an_empty_version_has_an_empty_text", "rinit { info { version { } } }",
     NO_ID_NO_TIME "version_major: 0, version_minor: 0, version_patch: 0, version_text: \"\", version_number: 0, "
                   "info_text: \"\", " NO_REQUEST_TEXTS "info_number: 0, " NO_BYTES},
    {"an_empty_request_has_empty_texts_and_no_bytes", "rinit { request { } }",
     NO_ID_NO_TIME NO_VERSION "info_text: null, request_text_0: \"\", request_text_1: \"\", info_number: 0, " NO_BYTES},
    {"bytes_that_are_present_and_empty_are_there", "rinit { request { bytes_0: '' bytes_1: '' } }",
     NO_ID_NO_TIME NO_VERSION "info_text: null, request_text_0: \"\", request_text_1: \"\", info_number: 0, "
                              "request_bytes_0: \"\", request_bytes_1: \"\"}"},
    {"the_second_bytes_can_be_absent", "rinit { request { bytes_0: 'a' } }",
     NO_ID_NO_TIME NO_VERSION "info_text: null, request_text_0: \"\", request_text_1: \"\", info_number: 0, "
                              "request_bytes_0: \"a\", request_bytes_1: none}"},
    {"the_first_bytes_can_be_absent", "rinit { request { bytes_1: 'b' } }",
     NO_ID_NO_TIME NO_VERSION "info_text: null, request_text_0: \"\", request_text_1: \"\", info_number: 0, "
                              "request_bytes_0: none, request_bytes_1: \"b\"}"},
};

class RInitFromRpc : public test::TableTest<test::PrintedCase> {};

TEST_P(RInitFromRpc, is_read)
{
    EXPECT_EQ(to_text(from_rpc(GetParam().textproto)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, RInitFromRpc, test::rows(rpc_cases), test::by_name);

TEST(RInit, of_an_empty_protobuf_report_has_empty_texts_and_no_version_text)
{
    EXPECT_EQ(to_text(from_protobuf("")),
              "php.RInit{request_id: 7, timestamp: {0 s, 0 ns}, " NO_VERSION
              "info_text: \"\", request_text_0: \"\", request_text_1: \"\", info_number: 0, " NO_BYTES);
}

TEST(RInit, has_no_version_text_and_number_from_a_protobuf_report)
{
    auto const record = from_protobuf("version { major: 8 minor: 4 patch: 1 }");

    EXPECT_TRUE(record->version_text().isNull());
    EXPECT_EQ(record->version_number(), 0);
}

TEST(RInit, reads_empty_bytes_of_a_protobuf_report_as_absent)
{
    EXPECT_FALSE(from_protobuf("bytes_0: ''")->request_bytes_0().has_value());
}

TEST(RInit, has_no_second_bytes_from_a_protobuf_report)
{
    EXPECT_FALSE(from_protobuf("text_0: 'GET' bytes_0: 'a=1'")->request_bytes_1().has_value());
}

TEST(RInit, keeps_bytes_that_are_not_utf8_and_decodes_such_texts)
{
    QByteArray const raw("a\0\xff\xfe", 4);
    auto const rpc = from_rpc(R"pb(
        rinit { request { text_0: "a\000\377\376" bytes_0: "a\000\377\376" bytes_1: "a\000\377\376" } })pb");
    auto const protobuf = from_protobuf(R"pb(text_0: "a\000\377\376" bytes_0: "a\000\377\376")pb");

    EXPECT_EQ(rpc->request_bytes_0(), raw);
    EXPECT_EQ(rpc->request_bytes_1(), raw);
    EXPECT_EQ(protobuf->request_bytes_0(), raw);
    EXPECT_EQ(rpc->request_text_0(), u"a\0\uFFFD\uFFFD"_s);
    EXPECT_EQ(protobuf->request_text_0(), u"a\0\uFFFD\uFFFD"_s);
}

TEST(RInit, reads_the_time_of_a_protobuf_report_without_version)
{
    auto const record = from_protobuf("timestamp { seconds: 8 nanos: 9 }");

    EXPECT_EQ(record->timestamp(), (TimePair{8, 9}));
    EXPECT_EQ(record->version_major(), 0);
    EXPECT_EQ(record->version_minor(), 0);
    EXPECT_EQ(record->version_patch(), 0);
}

TEST(RInit, does_not_refer_to_the_message)
{
    auto message = test::request_start();
    RInit const record(new detail::RInit(message));
    auto const before = to_text(record);
    message.Clear();

    EXPECT_EQ(to_text(record), before);
}

TEST(RInit, round_trips_through_a_qvariant)
{
    auto const record = from_protobuf("info_number: 3");

    EXPECT_EQ(QVariant::fromValue(record).value<RInit>(), record);
}

TEST(RInit, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<rpc::php::v1::Info>(), ElementsAre("text", "version", "number"));
    EXPECT_THAT(field_names<rpc::v1::VersionInfo>(), ElementsAre("text", "major", "minor", "patch", "number"));
    EXPECT_THAT(field_names<RInitData>(),
                ElementsAre("text_0", "text_1", "info_text", "bytes_0", "version", "timestamp", "info_number"));
    EXPECT_THAT(field_names<pelorin::protobuf::PelorinPHP::PhpVersion>(), ElementsAre("major", "minor", "patch"));
}

} // namespace
} // namespace tarnwick::data::php::rinit_test

#undef ID_AND_TIME
#undef NO_VERSION
#undef NO_REQUEST_TEXTS
#undef NO_BYTES
#undef NO_ID_NO_TIME
