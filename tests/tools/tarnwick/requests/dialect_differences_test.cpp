#include "requests/dialect_differences.h"

#include "capture/record_feed.h"
#include "capture/report_parser.h"
#include "support/table.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/reports.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwick::program::dialect_differences_test {
namespace {

using test::Report;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::StartsWith;
using Reports = std::vector<Report>;
using Texts = std::vector<std::string>;

/// What a comparison found.
struct Found {
    Texts differences; ///< request, record, place, value of the rpc dialect, value of the protobuf dialect
    Texts fields;
    std::set<std::string> exceptions; ///< paths
    std::set<std::string> absences;   ///< records
    std::uint64_t pairs = 0;
};

Found compare(std::vector<std::pair<std::uint64_t, Report>> const &reports)
{
    Found found;
    DialectDifferences differences([](std::uint64_t /*number*/) { return true; }, {},
                                   [&](DialectDifference const &difference) {
                                       found.differences.push_back(fmt::format(
                                           "{} {}: {}: {} | {}", difference.request_id, difference.records.name(),
                                           difference.place, difference.rpc, difference.protobuf));
                                       found.fields.push_back(difference.field);
                                   });
    RecordFeed feed(differences);
    for (auto const &[id, report] : reports)
        EXPECT_EQ(feed.feed(test::frame_of(id, report)), std::nullopt);
    differences.close_all();
    for (auto const *exception : differences.exceptions())
        found.exceptions.emplace(exception->path);
    for (auto const *absence : differences.absences())
        found.absences.emplace(absence->record);
    found.pairs = differences.pairs();
    return found;
}

Found compare(Reports const &reports)
{
    std::vector<std::pair<std::uint64_t, Report>> of_one_request;
    for (auto const &report : reports)
        of_one_request.emplace_back(7, report);
    return compare(of_one_request);
}

Report rpc_start(std::string const &fields)
{
    return {"rpc_php", "rinit { " + fields + " }"};
}
Report rpc_end(std::string const &fields)
{
    return {"rpc_php", "rshutdown { " + fields + " }"};
}
Report rpc_error(std::string const &fields)
{
    return {"rpc_php", "error { error { " + fields + " } }"};
}

// Reports of both dialects that agree, apart from the fields that a case adds.

Reports with_start(std::string const &rpc, Reports protobuf)
{
    protobuf.insert(protobuf.begin(), rpc_start(rpc));
    if (std::ranges::none_of(protobuf, [](Report const &report) { return report.field == "rinit"; }))
        protobuf.push_back({"rinit", ""});
    return protobuf;
}
Reports with_end(std::string const &rpc, Reports protobuf)
{
    protobuf.insert(protobuf.begin(), rpc_end(rpc));
    if (std::ranges::none_of(protobuf, [](Report const &report) { return report.field == "rshutdown"; }))
        protobuf.push_back({"rshutdown", ""});
    return protobuf;
}
Reports with_queries(std::string const &rpc, std::string const &protobuf)
{
    return {{"rpc_glimmet", "sql_queries { queries { " + rpc + " } }"},
            {"sql_queries", "queries { " + protobuf + " }"}};
}

std::string group(std::string const &name, std::string const &entries)
{
    return "elements { string_key: '" + name + "' value { array_value { " + entries + " } } }";
}
std::string const entry_a = "elements { string_key: 'a' value { long_value: 1 } }";
std::string const get_a = "groups { name: '_GET' entries { key: 'a' value { type: TYPE_LONG long_value: 1 } } }";

/// Mistake of a sender.
struct Mistake {
    char const *name;
    Reports reports;
    Texts differences;
    /// Of the only difference; not compared if empty.
    std::string field = {}; // NOLINT(readability-redundant-member-init): rows leave it out
};

Mistake const mistakes[] = {
    {"a_text_of_the_start",
     with_start("request { text_1: '/a' }", {{"rinit", "text_1: '/b'"}}),
     {R"(7 php.RInit: request_text_1: "/a" | "/b")"},
     "request_text_1"},
    {"a_number_of_the_end",
     with_end("response { status: 200 }", {{"rshutdown", "response_status: 404"}}),
     {"7 php.RShutdown: response_status: 200 | 404"},
     "response_status"},
    {"a_part_of_a_time",
     with_end("duration { seconds: 1 nanos: 2 }", {{"rshutdown", "duration { seconds: 1 nanos: 3 }"}}),
     {"7 php.RShutdown: duration.nanos: 2 | 3"},
     "duration.nanos"},
    {"a_number_beyond_the_digits_of_a_double",
     with_end("memory { value_0: 9007199254740993 }", {{"rshutdown", "memory_0: 9007199254740992"}}),
     {"7 php.RShutdown: memory_0: 9007199254740993 | 9007199254740992"}},
    {"the_value_of_a_header",
     with_start("request { headers { elements { string_key: 'Host' value { string_value: 'a' } } } }",
                {{"request_headers", "lines: 'Host: b'"}}),
     {R"(7 php.RequestHeaders: headers["Host"]: "a" | "b")"},
     "headers"},
    {"the_name_of_a_header",
     with_end("response { headers { elements { string_key: 'Host' value { string_value: 'a' } } } }",
              {{"response_headers", "lines: 'host: a'"}}),
     {R"(7 php.ResponseHeaders: headers[0].key: "Host" | "host")"}},
    {"a_missing_header",
     with_start("request { headers { elements { string_key: 'Host' value { string_value: 'a' } } } }",
                {{"request_headers", ""}}),
     {R"(7 php.RequestHeaders: headers: [[{"kind":"string","value":"Host"},{"kind":"string","value":"a"}]] | [])"}},
    {"headers_without_a_message",
     with_start("request { headers { elements { string_key: 'Host' value { string_value: 'a' } } } }", {}),
     {R"(7 php.RequestHeaders: : {"request_id":7,"headers":[[{"kind":"string","value":"Host"},)"
      R"({"kind":"string","value":"a"}]]} | )"}},
    {"a_superglobal_at_the_start_in_both_reports_of_it",
     with_start("superglobals { " + group("_GET", entry_a) + " }",
                {{"monitor_superglobals", "groups { name: '_GET' entries { key: 'a' value { type: TYPE_NULL } } }"},
                 {"superglobals", get_a}}),
     {R"(7 php.Superglobals all: values["_GET"]["a"]: {"kind":"long","value":1} | {"kind":"null"})",
      R"(7 php.Superglobals change: : )"
      R"( | {"request_id":7,"values":[[{"kind":"string","value":"_GET"},{"kind":"array","value":[]}]]})"}},
    {"a_superglobal_that_changed",
     with_end("superglobals { " + group("_GET", entry_a) + " }",
              {{"superglobals", "groups { name: '_GET' entries { key: 'a' value { type: TYPE_LONG long_value: 2 } "
                                "initial_value { } } }"}}),
     {R"(7 php.Superglobals change: values["_GET"]["a"]: 1 | 2)",
      R"(7 php.Superglobals init: : )"
      R"( | {"request_id":7,"values":[[{"kind":"string","value":"_GET"},{"kind":"array","value":[)"
      R"([{"kind":"string","value":"a"},{"kind":"undefined"}]]}]]})"}},
    {"a_body",
     with_start("request { post_data { text_0: 'a' } }", {{"raw_post_data", "text_0: 'b'"}}),
     {R"(7 php.PostData: text_0: "a" | "b")"}},
    {"a_body_of_a_response",
     with_end("response { body { text_1: 'a' } }", {{"response_body", "text_1: 'b'"}}),
     {R"(7 php.ResponseBody: text_1: "a" | "b")"}},
    {"a_line_of_an_error",
     {rpc_error("type { number: 5 } location { file: 'a' line: 1 }"), {"error", "file: 'a' number: 5 line: 2"}},
     {"7 php.ErrorData: location.line: 1 | 2"}},
    {"a_list_of_calls_that_is_null",
     {rpc_error("type { number: 5 } stack_trace { }"), {"error", "number: 5"}},
     {"7 php.ErrorData: stack_trace: [] | null"}},
    {"an_exception_instead_of_an_error",
     {{"rpc_php", "error { exception { } }"}, {"error", "number: 5"}},
     {R"(7 php.ErrorData: details: {"Exception":{"exception_name":"","exception_text":""}} | )"
      R"({"Error":{"category":0,"number":5,"name":""}})"}},
    {"an_argument_of_a_call",
     {rpc_error("type { number: 5 } stack_trace { frames { } frames { function { arguments { elements "
                "{ long_key: 0 value { long_value: 9223372036854775807 } } } } } }"),
      {"error", "number: 5 stack_trace { frames { } frames { arguments { elements { long_key: 0 value { type: "
                "TYPE_LONG long_value: 9223372036854775806 } } } } }"}},
     {"7 php.ErrorData: stack_trace[1].args[0]: 9223372036854775807 | 9223372036854775806"},
     "stack_trace[].args"},
    {"a_kind_of_an_argument",
     {rpc_error("type { number: 5 } stack_trace { frames { function { arguments { elements { long_key: 0 value { "
                "long_value: 1 } } } } } }"),
      {"error", "number: 5 stack_trace { frames { arguments { elements { long_key: 0 value { type: TYPE_STRING "
                "string_value: '1' } } } } }"}},
     {R"(7 php.ErrorData: stack_trace[0].args[0]: {"kind":"long","value":1} | {"kind":"string","value":"1"})"}},
    {"a_detail_of_an_event",
     {{"rpc_monitor", "high_memory_usage { usage: 1 }"}, {"monitor_event", "type: TYPE_HIGH_MEMORY_USAGE usage: 2"}},
     {"7 monitor.Event 3: details.HighMemoryUsage.usage: 1 | 2"}},
    {"a_kind_of_an_event",
     {{"rpc_monitor", "slow_request { }"}, {"monitor_event", "type: TYPE_HIGH_MEMORY_USAGE"}},
     {R"(7 monitor.Event 2: : {"request_id":7,"timestamp":{"seconds":0,"nanos":0},"kind":2,"event_text":"",)"
      R"("function":null,"stack_trace":null,"event_flag":false,)"
      R"("details":{"SlowRequest":{"duration":{"seconds":0,"nanos":0}}}} | )",
      R"(7 monitor.Event 3: :  | {"request_id":7,"timestamp":{"seconds":0,"nanos":0},"kind":3,"event_text":"",)"
      R"("function":null,"stack_trace":null,"event_flag":false,"details":{"HighMemoryUsage":{"usage":0}}})"}},
    {"an_event_of_kind_1_without_its_function",
     {{"rpc_monitor", "function_error { }"},
      {"monitor_event", "type: TYPE_FUNCTION_ERROR function { name: 'f' file: 'a' }"}},
     {R"(7 monitor.Event 1: function: null | {"name":"f","args":[],"call_value":null,)"
      R"("location":{"file":"a","line":0,"line_extra":0},"frame_number":0})"}},
    {"a_count_of_a_function",
     {{"rpc_glimmet", "functions { functions { name: 'f' stats { count: 1 } } }"},
      {"functions", "functions { name: 'f' count: 2 }"}},
     {"7 glimmet.Functions: functions[0].count: 1 | 2"},
     "functions[].count"},
    {"a_missing_function",
     {{"rpc_glimmet", "functions { }"}, {"functions", "functions { name: 'f' }"}},
     {R"(7 glimmet.Functions: functions: [] | [{"has_location":false,"name":"f","location":null,"count":0,)"
      R"("time_first":{"seconds":0,"nanos":0},"time_second":{"seconds":0,"nanos":0}}])"}},
    {"a_value_of_storage",
     {{"rpc_glimmet", "storage { entries { name: 'a' values: 'b' values: 'c' } }"},
      {"storage", "entries { name: 'a' values: 'b' values: '\\377' }"}},
     {R"(7 glimmet.Storage: entries[0].values[1]: "c" | {"base64":"/w=="})"}},
    {"a_statement",
     with_queries("text: 'a' extra_number: 0", "text: 'b'"),
     {R"(7 glimmet.SqlQueries: queries[0].text: "a" | "b")"}},
    {"a_connection",
     {{"rpc_glimmet", "sql_queries { connections { id: 1 name: 'a' } }"},
      {"sql_connections", "connections { id: 1 name: 'b' }"},
      {"sql_queries", ""}},
     {R"(7 glimmet.SqlQueries: connections[0].name: "a" | "b")"}},
    {"a_parent_of_a_transaction",
     {{"rpc_glimmet", "sql_queries { transactions { id: 1 extra_number: 0 } transactions { id: 2 parent_id: 1 "
                      "extra_number: 0 } }"},
      {"sql_transactions", "transactions { id: 1 } transactions { id: 2 }"},
      {"sql_queries", ""}},
     {"7 glimmet.SqlQueries: transactions[1].parent: 1 | null"}},
    {"a_kind_of_a_trace",
     {{"rpc_codetrace", "header { request { kind: KIND_1 } format_major: 1 }"},
      {"ct_header", "kind: KIND_1 format_major: 1"}},
     {"7 codetrace.Header: trace_kind: 0 | 1"}},
    {"a_chunk_of_a_trace", {{"rpc_data", "a"}, {"ct_data", "b"}}, {R"(7 codetrace.Data: data: "a" | "b")"}},
    {"additional_data_of_a_trace",
     {{"rpc_add_data", "a"}, {"ct_add_data", "b"}},
     {R"(7 codetrace.AddData: data: "a" | "b")"}},
};

class DialectMistakes : public test::TableTest<Mistake> {};

TEST_P(DialectMistakes, are_found)
{
    auto const found = compare(GetParam().reports);
    EXPECT_THAT(found.differences, ElementsAreArray(GetParam().differences));
    if (!GetParam().field.empty()) {
        EXPECT_THAT(found.fields, ElementsAre(GetParam().field));
    }
}

INSTANTIATE_TEST_SUITE_P(Table, DialectMistakes, test::rows(mistakes), test::by_name);

std::string custom_event(std::string const &value)
{
    return "custom { value { " + value + " } level: 1 }";
}

/// Reports of one fact, of which a dialect cannot carry a part.
struct Limit {
    char const *name;
    std::string_view path; ///< of the exception
    Reports reports;
};

Limit const limits[] = {
    {"a_nested_value",
     "*",
     {{"rpc_monitor", custom_event("object_value { class_name: 'c' }")},
      {"monitor_event", "type: TYPE_CUSTOM custom { value { type: TYPE_JSON json_value: '{}' } level: 1 }"}}},
    {"a_value_of_a_call",
     "*.call_value",
     {{"rpc_monitor", "function_error { function { call_value { } } }"},
      {"monitor_event", "type: TYPE_FUNCTION_ERROR function { }"}}},
    {"a_location_without_a_file",
     "*.location",
     {rpc_error("type { number: 5 } location { line: 1 }"), {"error", "number: 5 line: 1"}}},
    {"a_second_line_of_a_function",
     "*.function.location.line_extra",
     {{"rpc_monitor", "function_error { function { location { file: 'a' line_extra: 1 } } }"},
      {"monitor_event", "type: TYPE_FUNCTION_ERROR function { file: 'a' }"}}},
    {"a_second_line_of_a_call", "*stack_trace[].location.line_extra",
     with_queries("extra_number: 0 stack_trace { frames { function { location { file: 'a' line_extra: 1 } } } }",
                  "stack_trace { frames { file: 'a' } }")},
    {"a_second_line_of_an_error",
     "php.ErrorData.location.line_extra",
     {rpc_error("type { number: 5 } location { file: 'a' line_extra: 1 }"), {"error", "number: 5 file: 'a'"}}},
    {"an_error_with_the_number_0", "php.ErrorData.details", {rpc_error("type { name: 'n' }"), {"error", "name: 'n'"}}},
    {"a_text_of_the_version", "php.RInit.version_text", with_start("info { version { text: '8' } } request { }", {})},
    {"a_number_of_the_version", "php.RInit.version_number",
     with_start("info { version { number: 8 } } request { }", {})},
    {"a_text_of_the_runtime", "php.RInit.info_text", with_start("request { }", {})},
    {"a_text_of_the_request", "php.RInit.request_text_*", with_start("info { }", {})},
    {"empty_bytes", "php.RInit.request_bytes_0", with_start("request { bytes_0: '' }", {})},
    {"the_second_bytes", "php.RInit.request_bytes_1", with_start("request { bytes_1: 'a' }", {})},
    {"a_time_of_the_end",
     "php.RShutdown.timestamp",
     {{"rpc_php", "timestamp { seconds: 1 } rshutdown { }"}, {"rshutdown", ""}}},
    {"no_body", "php.PostData.text_*", with_start("", {{"raw_post_data", ""}})},
    {"no_body_of_a_response", "php.ResponseBody.text_*", with_end("", {{"response_body", ""}})},
    {"a_number_of_a_response", "php.ResponseBody.number",
     with_end("response { body { number: 1 } }", {{"response_body", ""}})},
    {"a_name_of_a_header_that_is_an_integer", "php.Re*.headers[].key",
     with_start("request { headers { elements { long_key: 5 value { string_value: 'a' } } } }",
                {{"request_headers", "lines: '5: a'"}})},
    {"a_value_of_a_header_that_is_an_integer", "php.Re*.headers[]",
     with_end("response { headers { elements { string_key: 'Age' value { long_value: 5 } } } }",
              {{"response_headers", "lines: 'Age: 5'"}})},
    {"a_key_of_a_superglobal_that_is_an_integer", "php.Superglobals *[].key",
     with_start("superglobals { " + group("_GET", "elements { long_key: 5 value { long_value: 1 } }") + " }",
                {{"monitor_superglobals",
                  "groups { name: '_GET' entries { key: '5' value { type: TYPE_LONG long_value: 1 } } }"}})},
    {"a_later_entry",
     "php.Superglobals init.values[]",
     {rpc_start("superglobals { " + group("_GET", entry_a) + " }"),
      {"rinit", ""},
      {"superglobals", "groups { name: '_GET' entries { key: 'a' value { type: TYPE_LONG long_value: 1 } } entries { "
                       "key: 'b' value { type: TYPE_NULL } initial_value { } } }"},
      rpc_end("superglobals { " + group("_GET", "elements { string_key: 'b' value { null_value: NULL_VALUE } }") +
              " }"),
      {"rshutdown", ""}}},
    {"a_superglobal_without_changes",
     "php.Superglobals change.values",
     {rpc_start("superglobals { " + group("_GET", entry_a) + " }"),
      {"rinit", ""},
      {"superglobals", get_a},
      rpc_end(""),
      {"rshutdown", ""}}},
    {"a_list_without_calls",
     "monitor.Event *.stack_trace",
     {{"rpc_monitor", "function_error { stack_trace { } }"}, {"monitor_event", "type: TYPE_FUNCTION_ERROR"}}},
    {"a_function_of_a_slow_request",
     "monitor.Event 2.function",
     {{"rpc_monitor", "slow_request { }"}, {"monitor_event", "type: TYPE_SLOW_REQUEST function { }"}}},
    {"a_function_of_memory_usage",
     "monitor.Event 3.function",
     {{"rpc_monitor", "high_memory_usage { }"}, {"monitor_event", "type: TYPE_HIGH_MEMORY_USAGE function { }"}}},
    {"a_function_of_a_php_error",
     "monitor.Event 4.function",
     {{"rpc_monitor", "php_error { error { type { } } }"},
      {"monitor_event", "type: TYPE_PHP_ERROR php_error { } function { }"}}},
    {"a_function_of_a_custom_event",
     "monitor.Event 5.function",
     {{"rpc_monitor", "custom { level: 1 }"}, {"monitor_event", "type: TYPE_CUSTOM custom { level: 1 } function { }"}}},
    {"a_function_of_an_unknown_event",
     "monitor.Event 8.function",
     {{"rpc_monitor", ""}, {"monitor_event", "type: 8 function { }"}}},
    {"calls_of_a_slow_request",
     "monitor.Event 2.stack_trace",
     {{"rpc_monitor", "slow_request { }"}, {"monitor_event", "type: TYPE_SLOW_REQUEST frames { }"}}},
    {"calls_of_memory_usage",
     "monitor.Event 3.stack_trace",
     {{"rpc_monitor", "high_memory_usage { }"}, {"monitor_event", "type: TYPE_HIGH_MEMORY_USAGE frames { }"}}},
    {"calls_of_a_php_error",
     "monitor.Event 4.stack_trace",
     {{"rpc_monitor", "php_error { error { type { } } }"},
      {"monitor_event", "type: TYPE_PHP_ERROR php_error { } frames { }"}}},
    {"calls_of_an_unknown_event",
     "monitor.Event 8.stack_trace",
     {{"rpc_monitor", ""}, {"monitor_event", "type: 8 frames { }"}}},
    {"a_php_error_without_a_type",
     "monitor.Event 4.details.PhpError.error_name",
     {{"rpc_monitor", "php_error { error { } }"}, {"monitor_event", "type: TYPE_PHP_ERROR php_error { }"}}},
    {"a_large_extra_number", "glimmet.SqlQueries.*.extra_number",
     with_queries("extra_number: 2147483648", "extra_number: -1")},
    {"an_empty_chunk", "codetrace.*.data", {{"rpc_data", ""}, {"ct_data", ""}}},
    {"a_flag_of_a_chunk", "codetrace.Data.more", {{"rpc_data", "a"}, {"ct_data", "a"}}},
    {"a_flag_of_additional_data", "codetrace.AddData.more", {{"rpc_add_data", "a"}, {"ct_add_data", "a"}}},
};

class DialectLimits : public test::TableTest<Limit> {};

TEST_P(DialectLimits, are_not_differences)
{
    auto const found = compare(GetParam().reports);
    EXPECT_THAT(found.differences, IsEmpty());
    EXPECT_THAT(found.exceptions, Contains(GetParam().path));
}

INSTANTIATE_TEST_SUITE_P(Table, DialectLimits, test::rows(limits), test::by_name);

TEST(DialectExceptions, have_a_case_each)
{
    for (auto const &exception : dialect_exceptions())
        EXPECT_NE(std::ranges::find(limits, exception.path, &Limit::path), std::end(limits)) << exception.path;
}

TEST(DialectExceptions, do_not_cover_other_values)
{
    EXPECT_THAT(compare(with_queries("extra_number: 2147483647", "extra_number: -1")).differences,
                ElementsAre("7 glimmet.SqlQueries: queries[0].extra_number: 2147483647 | null"));
    EXPECT_THAT(compare(with_start("request { headers { elements { string_key: 'Age' value { long_value: 5 } } } }",
                                   {{"request_headers", "lines: 'Age: 6'"}}))
                    .differences,
                ElementsAre(R"(7 php.RequestHeaders: headers["Age"]: {"kind":"long","value":5} | )"
                            R"({"kind":"string","value":"6"})"));
    EXPECT_THAT(compare(with_start("info { version { text: '8' } } request { text_0: 'a' }", {})).differences,
                ElementsAre(R"(7 php.RInit: request_text_0: "a" | "")"));
}

TEST(DialectAbsences, are_not_differences)
{
    auto const found = compare({rpc_start(""), {"rinit", ""}, rpc_end(""), {"rshutdown", ""}});
    EXPECT_THAT(found.differences, IsEmpty());
    std::set<std::string> all;
    for (auto const &absence : dialect_absences())
        all.emplace(absence.record);
    EXPECT_EQ(found.absences, all);
    EXPECT_EQ(found.pairs, 2U);
}

TEST(DialectAbsences, do_not_cover_content)
{
    EXPECT_THAT(compare(with_start("request { post_data { number: 1 } }", {})).differences,
                ElementsAre(R"(7 php.PostData: : {"request_id":7,"text_0":"","number":1,"text_1":""} | )"));
}

TEST(DialectDifferencesTest, records_are_compared_in_the_order_of_their_reports)
{
    auto const rpc = [](char const *message) {
        return rpc_error(std::string("type { number: 5 } message: '") + message + "'");
    };
    auto const protobuf = [](char const *message) {
        return Report{"error", std::string("number: 5 message: '") + message + "'"};
    };
    auto const same = compare({rpc("a"), rpc("b"), protobuf("a"), protobuf("b"), protobuf("c"), rpc("c")});
    EXPECT_THAT(same.differences, IsEmpty());
    EXPECT_EQ(same.pairs, 3U);
    EXPECT_THAT(
        compare({rpc("a"), protobuf("a"), protobuf("b"), rpc("c"), protobuf("d")}).differences,
        ElementsAre(R"(7 php.ErrorData: message: "c" | "b")",
                    R"(7 php.ErrorData: :  | {"request_id":7,"timestamp":{"seconds":0,"nanos":0},"message":"d",)"
                    R"("details":{"Error":{"category":0,"number":5,"name":""}},"location":null,)"
                    R"("stack_trace":null})"));
}

TEST(DialectDifferencesTest, interleaved_requests_are_compared_apart)
{
    auto const status = [](int number) { return "response { status: " + std::to_string(number) + " }"; };
    auto const protobuf = [](int number) { return Report{"rshutdown", "response_status: " + std::to_string(number)}; };
    EXPECT_THAT(compare({{18446744073709551615U, rpc_end(status(1))},
                         {18446744073709551614U, rpc_end(status(2))},
                         {18446744073709551615U, protobuf(2)},
                         {18446744073709551614U, protobuf(2)}})
                    .differences,
                ElementsAre("18446744073709551615 php.RShutdown: response_status: 1 | 2"));
}

TEST(DialectDifferencesTest, requests_with_the_same_id_are_compared_apart)
{
    auto const found = compare({rpc_start("request { text_0: 'a' } info { }"),
                                {"rinit", "text_0: 'a'"},
                                rpc_start("request { text_0: 'b' } info { }"),
                                {"rinit", "text_0: 'b'"}});
    EXPECT_THAT(found.differences, IsEmpty());
    EXPECT_EQ(found.pairs, 2U);
}

// The places of each superglobal can be reported again with an event.
TEST(DialectDifferencesTest, only_the_first_superglobals_of_the_protobuf_dialect_are_those_of_the_start)
{
    EXPECT_THAT(compare(with_start("superglobals { " + group("_GET", entry_a) + " } request { } info { }",
                                   {{"monitor_superglobals", get_a}, {"monitor_superglobals", "groups { name: 'x' }"}}))
                    .differences,
                IsEmpty());
}

TEST(DialectDifferencesTest, a_deeply_nested_value_is_one_difference)
{
    Texts places;
    DialectDifferences differences([](std::uint64_t /*number*/) { return true; }, {},
                                   [&](DialectDifference const &difference) { places.push_back(difference.place); });
    RecordFeed feed(differences);
    EXPECT_EQ(feed.feed(test::rpc_php_frame(test::nested_report(max_report_depth))), std::nullopt);
    EXPECT_EQ(feed.feed(test::frame_of(0, {"rshutdown", ""})), std::nullopt);
    EXPECT_EQ(feed.feed(test::frame_of(0, {"superglobals", "groups { entries { } }"})), std::nullopt);
    differences.close_all();
    EXPECT_THAT(places, Contains("values[0]"));
}

} // namespace
} // namespace tarnwick::program::dialect_differences_test
