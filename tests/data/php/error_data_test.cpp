#include <tarnwick/data/php/error_data.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/php_reports.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <string>

namespace tarnwick::data::php::error_data_test {
namespace {

using ProtobufError = pelorin::protobuf::Glimmet::Error;
using rpc::php::v1::NotifyRequest;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

constexpr auto from_rpc = test::record_from_text<ErrorData, NotifyRequest>;

ErrorData from_protobuf(std::string const &textproto)
{
    return test::record_from_text<ErrorData, ProtobufError>(textproto, RequestId(7));
}

void expect_id_time_and_trace(ErrorData const &record)
{
    EXPECT_EQ(record->request_id().id(), 7U);
    EXPECT_EQ(record->timestamp(), (TimePair{8, 9}));
    ASSERT_EQ(record->stack_trace().value().frames().size(), 1);
    EXPECT_EQ(record->stack_trace()->frames().front().name(), u"f"_s);
}

TEST(ErrorData, reads_every_field_of_an_rpc_error)
{
    ErrorData const record(new detail::ErrorData(test::php_error()));

    expect_id_time_and_trace(record);
    EXPECT_EQ(record->message(), u"Undefined variable"_s);
    EXPECT_EQ(to_text(std::get<Error>(record->details())), R"(php.Error{category: 2, number: 2, name: "E_WARNING"})");
    EXPECT_EQ(to_text(record->location().value()), R"(php.SourceLocation{file: "a.php", line: 17, line_extra: 3})");
}

TEST(ErrorData, reads_every_field_of_an_rpc_exception)
{
    auto const record = from_rpc(R"pb(
        request_id { id: 7 }
        timestamp { seconds: 8 nanos: 9 }
        error {
            exception {
                exception_name: "LogicException"
                exception_text: "caught"
                message: "m"
                location { file: "a.php" line: 17 line_extra: 3 }
                stack_trace { frames { function { name: "f" } } }
            }
        })pb");

    expect_id_time_and_trace(record);
    EXPECT_EQ(record->message(), u"m"_s);
    EXPECT_EQ(to_text(std::get<Exception>(record->details())),
              R"(php.Exception{exception_name: "LogicException", exception_text: "caught"})");
    EXPECT_EQ(to_text(record->location().value()), R"(php.SourceLocation{file: "a.php", line: 17, line_extra: 3})");
}

TEST(ErrorData, reads_every_field_of_a_protobuf_error)
{
    auto const record = from_protobuf(R"pb(
        name: "E_WARNING"
        file: "a.php"
        exception_text: "unread"
        message: "m"
        timestamp { seconds: 8 nanos: 9 }
        stack_trace { frames { name: "f" } }
        category: CATEGORY_2
        number: 8
        line: 17)pb");

    expect_id_time_and_trace(record);
    EXPECT_EQ(record->message(), u"m"_s);
    EXPECT_EQ(to_text(std::get<Error>(record->details())), R"(php.Error{category: 2, number: 8, name: "E_WARNING"})");
    EXPECT_EQ(to_text(record->location().value()), R"(php.SourceLocation{file: "a.php", line: 17, line_extra: 0})");
}

TEST(ErrorData, reads_a_protobuf_report_without_a_number_as_an_exception)
{
    auto const record = from_protobuf(R"pb(
        name: "LogicException"
        exception_text: "caught"
        category: CATEGORY_1)pb");

    EXPECT_EQ(to_text(std::get<Exception>(record->details())),
              R"(php.Exception{exception_name: "LogicException", exception_text: "caught"})");
}

TEST(ErrorData, reads_a_protobuf_report_with_a_negative_number_as_an_error)
{
    EXPECT_TRUE(std::holds_alternative<Error>(from_protobuf("number: -1")->details()));
}

TEST(ErrorData, has_alternatives_of_fixed_indices)
{
    EXPECT_EQ(from_rpc("")->details().index(), 0U);
    EXPECT_EQ(from_rpc("error { error { } }")->details().index(), 1U);
    EXPECT_EQ(from_rpc("error { exception { } }")->details().index(), 2U);
}

#define NOTHING_READ "message: null, details: none, location: none, stack_trace: none}"
#define ID_AND_TIME "php.ErrorData{request_id: 7, timestamp: {8 s, 9 ns}, "
#define NO_ID_NO_TIME "php.ErrorData{request_id: 0, timestamp: {0 s, 0 ns}, "

test::PhpReportCase const report_cases[] = {
    {"no_payload", test::no_payload(), ID_AND_TIME NOTHING_READ},
    {"unknown_payload", test::unknown_payload(), ID_AND_TIME NOTHING_READ},
    {"request_start", test::request_start(), ID_AND_TIME NOTHING_READ},
    {"request_end", test::request_end(), ID_AND_TIME NOTHING_READ},
    {"php_error", test::php_error(),
     ID_AND_TIME "message: \"Undefined variable\", details: php.Error{category: 2, number: 2, name: \"E_WARNING\"}, "
                 "location: php.SourceLocation{file: \"a.php\", line: 17, line_extra: 3}, "
                 "stack_trace: [php.Function{name: \"f\", args: [], call_value: none, location: none, "
                 "frame_number: 0}]}"},
    {"an_empty_message", NotifyRequest(), NO_ID_NO_TIME NOTHING_READ},
    {"neither_error_nor_exception_is_an_error", from_text<NotifyRequest>("error { }"),
     NO_ID_NO_TIME "message: \"\", details: php.Error{category: 0, number: 0, name: \"\"}, location: none, "
                   "stack_trace: none}"},
    {"an_empty_error", from_text<NotifyRequest>("error { error { } }"),
     NO_ID_NO_TIME "message: \"\", details: php.Error{category: 0, number: 0, name: \"\"}, location: none, "
                   "stack_trace: none}"},
    {"an_empty_exception", from_text<NotifyRequest>("error { exception { } }"),
     NO_ID_NO_TIME "message: \"\", details: php.Exception{exception_name: \"\", exception_text: \"\"}, "
                   "location: none, stack_trace: none}"},
    {"an_error_without_type_has_its_category", from_text<NotifyRequest>("error { error { category: CATEGORY_2 } }"),
     NO_ID_NO_TIME "message: \"\", details: php.Error{category: 2, number: 0, name: \"\"}, location: none, "
                   "stack_trace: none}"},
    {"an_error_with_an_empty_location_has_one", from_text<NotifyRequest>("error { error { location { } } }"),
     NO_ID_NO_TIME "message: \"\", details: php.Error{category: 0, number: 0, name: \"\"}, "
                   "location: php.SourceLocation{file: \"\", line: 0, line_extra: 0}, stack_trace: none}"},
    {"an_error_with_an_empty_trace_has_one", from_text<NotifyRequest>("error { error { stack_trace { } } }"),
     NO_ID_NO_TIME "message: \"\", details: php.Error{category: 0, number: 0, name: \"\"}, location: none, "
                   "stack_trace: []}"},
    {"times_outside_their_range_stay_as_they_are",
     from_text<NotifyRequest>("timestamp { seconds: -1 nanos: 1000000000 } error { }"),
     "php.ErrorData{request_id: 0, timestamp: {-1 s, 1000000000 ns}, message: \"\", "
     "details: php.Error{category: 0, number: 0, name: \"\"}, location: none, stack_trace: none}"},
    {"an_exception_with_an_empty_location_has_one", from_text<NotifyRequest>("error { exception { location { } } }"),
     NO_ID_NO_TIME "message: \"\", details: php.Exception{exception_name: \"\", exception_text: \"\"}, "
                   "location: php.SourceLocation{file: \"\", line: 0, line_extra: 0}, stack_trace: none}"},
    {"an_exception_with_an_empty_trace_has_one", from_text<NotifyRequest>("error { exception { stack_trace { } } }"),
     NO_ID_NO_TIME "message: \"\", details: php.Exception{exception_name: \"\", exception_text: \"\"}, "
                   "location: none, stack_trace: []}"},
};

class ErrorDataFromReport : public test::TableTest<test::PhpReportCase> {};

TEST_P(ErrorDataFromReport, is_read)
{
    EXPECT_EQ(to_text(detail::ErrorData(GetParam().message)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, ErrorDataFromReport, test::rows(report_cases), test::by_name);

#define ID_NO_TIME "php.ErrorData{request_id: 7, timestamp: {0 s, 0 ns}, "
#define EMPTY_EXCEPTION "message: \"\", details: php.Exception{exception_name: \"\", exception_text: \"\"}, "

test::PrintedCase const protobuf_cases[] = {
    {"an_empty_report_is_an_exception", "", ID_NO_TIME EMPTY_EXCEPTION "location: none, stack_trace: none}"},
    {"a_line_without_a_file_is_dropped", "line: 17", ID_NO_TIME EMPTY_EXCEPTION "location: none, stack_trace: none}"},
    {"a_file_without_a_line_is_a_location", "file: 'a.php'",
     ID_NO_TIME EMPTY_EXCEPTION "location: php.SourceLocation{file: \"a.php\", line: 0, line_extra: 0}, "
                                "stack_trace: none}"},
    {"an_empty_trace_is_one", "stack_trace { }", ID_NO_TIME EMPTY_EXCEPTION "location: none, stack_trace: []}"},
    {"an_error_does_not_read_the_text_of_an_exception", "exception_text: 't' number: 8",
     ID_NO_TIME "message: \"\", details: php.Error{category: 0, number: 8, name: \"\"}, location: none, "
                "stack_trace: none}"},
};

class ErrorDataFromProtobuf : public test::TableTest<test::PrintedCase> {};

TEST_P(ErrorDataFromProtobuf, is_read)
{
    EXPECT_EQ(to_text(from_protobuf(GetParam().textproto)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, ErrorDataFromProtobuf, test::rows(protobuf_cases), test::by_name);

TEST(ErrorData, is_the_same_in_both_dialects)
{
    auto const rpc = [](std::string const &member) {
        return to_text(from_rpc("request_id { id: 7 } timestamp { seconds: 8 nanos: 9 } error {" + member + "}"));
    };
    EXPECT_EQ(rpc(R"pb(
                  error {
                      message: "m"
                      type { name: "E_WARNING" number: 2 }
                      location { file: "a.php" line: 17 }
                      stack_trace { frames { function { name: "f" location { file: "b.php" line: 1 } } } }
                      category: CATEGORY_2
                  })pb"),
              to_text(from_protobuf(R"pb(
                  name: "E_WARNING"
                  file: "a.php"
                  message: "m"
                  timestamp { seconds: 8 nanos: 9 }
                  stack_trace { frames { name: "f" file: "b.php" line: 1 } }
                  category: CATEGORY_2
                  number: 2
                  line: 17)pb")));
    EXPECT_EQ(rpc(R"pb(
                  exception {
                      exception_name: "LogicException"
                      exception_text: "caught"
                      message: "m"
                      location { file: "a.php" line: 17 }
                      stack_trace { }
                  })pb"),
              to_text(from_protobuf(R"pb(
                  name: "LogicException"
                  file: "a.php"
                  exception_text: "caught"
                  message: "m"
                  timestamp { seconds: 8 nanos: 9 }
                  stack_trace { }
                  line: 17)pb")));
}

TEST(ErrorData, decodes_messages_with_nul_bytes_and_invalid_utf8)
{
    auto const *const message = R"(message: "a\000b\377")";
    EXPECT_EQ(from_protobuf(message)->message(), u"a\0b\uFFFD"_s);
    EXPECT_EQ(from_rpc(std::string("error { error {") + message + "} }")->message(), u"a\0b\uFFFD"_s);
    EXPECT_EQ(from_rpc(std::string("error { exception {") + message + "} }")->message(), u"a\0b\uFFFD"_s);
}

TEST(ErrorData, round_trips_through_a_qvariant)
{
    auto const record = from_protobuf("number: 2");

    EXPECT_EQ(QVariant::fromValue(record).value<ErrorData>(), record);
}

TEST(ErrorData, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<rpc::php::v1::ErrorPayload>(), ElementsAre("error", "exception"));
    EXPECT_THAT(field_names<rpc::php::v1::Error>(),
                ElementsAre("message", "type" /* by Error */, "location", "stack_trace", "category" /* by Error */));
    EXPECT_THAT(field_names<rpc::php::v1::Exception>(),
                ElementsAre("exception_name" /* by Exception */, "exception_text" /* by Exception */, "message",
                            "location", "stack_trace"));
    EXPECT_THAT(field_names<ProtobufError>(),
                ElementsAre("name" /* by Error, Exception */, "file", "exception_text" /* by Exception */, "message",
                            "timestamp", "stack_trace", "category" /* by Error */, "number", "line"));
}

} // namespace
} // namespace tarnwick::data::php::error_data_test

#undef NOTHING_READ
#undef ID_AND_TIME
#undef NO_ID_NO_TIME
#undef ID_NO_TIME
#undef EMPTY_EXCEPTION
