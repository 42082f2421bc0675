// `tarnwick diff --dialects`: output, messages and exit status.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"
#include "tools/tarnwick/support/reports.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::diff_dialects_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

Outcome diff(std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), {"diff", "--dialects"});
    return run({.arguments = arguments}, input);
}

/// Returns the report of a request's end in both dialects.
std::string ends(std::uint64_t id, int status, int protobuf_status)
{
    return delimited(frame_of(id, {"rpc_php", "rshutdown { response { status: " + std::to_string(status) + " } }"})) +
           delimited(frame_of(id, {"rshutdown", "response_status: " + std::to_string(protobuf_status)}));
}

std::string errors(std::uint64_t id, std::string const &rpc, std::string const &protobuf)
{
    return delimited(frame_of(id, {"rpc_php", "error { error { type { number: 5 } " + rpc + " } }"})) +
           delimited(frame_of(id, {"error", "number: 5 " + protobuf}));
}

TEST(DiffDialects, prints_how_often_each_field_differs_and_its_first_difference)
{
    auto const outcome = diff({"--format=text"}, ends(7, 200, 200) + ends(8, 200, 404) + ends(9, 500, 404) +
                                                     errors(9, "location { file: 'a' line: 1 }", "file: 'a' line: 2") +
                                                     errors(9, "location { file: 'a' line: 3 }", "file: 'a' line: 4") +
                                                     delimited(frame_of(7, {"error", "message: 'm'"})));
    EXPECT_EQ(outcome.out, "php.RShutdown: response_status differs 2 times in 2 requests, first in @2 with id 8:\n"
                           "    rpc       200\n"
                           "    protobuf  404\n"
                           "php.ErrorData: location.line differs 2 times, first in @3 with id 9:\n"
                           "    rpc       1\n"
                           "    protobuf  2\n"
                           "php.ErrorData is only in protobuf in @1 with id 7:\n"
                           "    rpc       no such record\n"
                           R"(    protobuf  {"request_id":7,"timestamp":{"seconds":0,"nanos":0},"message":"m",)"
                           R"("details":{"Exception":{"exception_name":"","exception_text":""}},"location":null,)"
                           R"("stack_trace":null})"
                           "\n"
                           "Compared 5 pairs of records in 3 requests: 5 differences.\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 1);
}

TEST(DiffDialects, prints_each_difference_as_a_json_object)
{
    auto const outcome = diff({}, ends(18446744073709551615U, 200, 404) + ends(9, 500, 404) +
                                      delimited(frame_of(9, {"rpc_monitor", "slow_request { }"})));
    EXPECT_EQ(
        outcome.out,
        R"({"request_id":18446744073709551615,"number":1,"record":"php.RShutdown","field":"response_status",)"
        R"("place":"response_status","rpc":200,"protobuf":404})"
        "\n"
        R"({"request_id":9,"number":2,"record":"php.RShutdown","field":"response_status",)"
        R"("place":"response_status","rpc":500,"protobuf":404})"
        "\n"
        R"({"request_id":9,"number":2,"record":"monitor.Event","kind":2,"field":null,"place":null,)"
        R"("rpc":{"request_id":9,"timestamp":{"seconds":0,"nanos":0},"kind":2,"event_text":"","function":null,)"
        R"("stack_trace":null,"event_flag":false,"details":{"SlowRequest":{"duration":{"seconds":0,"nanos":0}}}},)"
        R"("protobuf":null})"
        "\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 1);
}

TEST(DiffDialects, prints_ids_as_strings_on_demand)
{
    EXPECT_THAT(diff({"--ids=string"},
                     errors(7, "message: 'm'", "message: 'm'") + delimited(frame_of(7, {"error", "message: 'm'"})))
                    .out,
                AllOf(HasSubstr(R"({"request_id":"7","number":1,)"), HasSubstr(R"("protobuf":{"request_id":"7",)")));
}

TEST(DiffDialects, finds_the_same_differences_with_ids_as_strings)
{
    // A number beyond 2^53, which the protobuf dialect sends as a text.
    auto const capture =
        delimited(frame_of(7, {"rpc_php", "rinit { request { headers { elements { string_key: 'X-N' value { "
                                          "long_value: 9007199254740993 } } } } }"})) +
        delimited(frame_of(7, {"request_headers", "lines: 'X-N: 9007199254740993'"}));
    EXPECT_THAT(diff({}, capture).out, Not(HasSubstr("X-N")));
    EXPECT_THAT(diff({"--ids=string"}, capture).out, Not(HasSubstr("X-N")));
}

TEST(DiffDialects, reports_that_the_dialects_agree)
{
    auto const outcome = diff({"--format=text"}, ends(7, 200, 200));
    EXPECT_EQ(outcome.out, "Compared 1 pair of records in 1 request: no differences.\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(diff({}, ends(7, 200, 200)).out, "");
}

TEST(DiffDialects, counts_requests_of_one_dialect)
{
    auto const outcome = diff({}, ends(7, 200, 200) + request_end(8) + request_end(9));
    EXPECT_EQ(outcome.err, "tarnwick: 2 requests have only one dialect and were not compared\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(diff({}, ends(7, 200, 200) + request_end(8)).err,
              "tarnwick: 1 request has only one dialect and was not compared\n");
}

TEST(DiffDialects, fails_if_there_is_nothing_to_compare)
{
    std::string const nothing = "tarnwick: nothing was compared, because no request has reports of both dialects\n";
    auto const outcome = diff({"--format=text"}, request_end(8));
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "tarnwick: 1 request has only one dialect and was not compared\n" + nothing);
    EXPECT_EQ(outcome.status, 1);

    EXPECT_EQ(diff({"--where=number=1"}, request_end(8) + ends(7, 200, 200)).err,
              "tarnwick: 1 request has only one dialect and was not compared\n"
              "tarnwick: nothing was compared, because no request that fulfils the conditions has reports of both "
              "dialects\n");

    auto const missing = diff({"--format=text", "--request=9"}, ends(7, 200, 404));
    EXPECT_EQ(missing.err, "tarnwick: no request has the id 9; the ids of requests are 7\n" + nothing);
    EXPECT_EQ(missing.status, 2);
}

TEST(DiffDialects, reports_a_file_that_cannot_be_read)
{
    auto const outcome = diff({"/no/such/file"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("cannot read /no/such/file: No such file or directory\n"));
}

TEST(DiffDialects, compares_the_chosen_requests)
{
    auto const capture = ends(7, 200, 404) + ends(8, 200, 200) + request_end(9);
    EXPECT_EQ(diff({"--request=8"}, capture).status, 0);
    EXPECT_EQ(diff({"--request=8"}, capture).err, "");
    EXPECT_EQ(diff({"--request=7", "--request=8"}, capture).status, 1);
    EXPECT_EQ(diff({"--where=number=2"}, capture).status, 0);
    EXPECT_EQ(diff({"--where=number=1"}, capture).status, 1);
    auto const error = delimited(error_frame_of(8, ""));
    EXPECT_THAT(diff({"--record=ErrorData", "--format=jsonl"}, capture + error).out,
                Not(HasSubstr(R"("request_id":7)")));
    EXPECT_THAT(diff({"--record=RShutdown", "--format=jsonl"}, capture + error).out, HasSubstr(R"("request_id":7)"));
}

TEST(DiffDialects, prints_as_many_differences_as_asked_for)
{
    auto const capture = ends(7, 200, 404) + errors(7, "message: 'a'", "message: 'b'") + ends(8, 200, 404);
    auto const text = diff({"--format=text", "--top=1"}, capture).out;
    EXPECT_THAT(text, AllOf(HasSubstr("response_status differs 2 times"), Not(HasSubstr("message differs")),
                            HasSubstr("\nThese are the first 1 of 2 fields that differ.\n"
                                      "Compared 3 pairs of records in 2 requests: 3 differences.\n")));
    EXPECT_EQ(lines_of(diff({"--top=2"}, capture).out).size(), 2U);
}

TEST(DiffDialects, reads_several_captures_as_one)
{
    TemporaryFile const first(ends(7, 200, 200));
    TemporaryFile const second(request_end(8));
    TemporaryFile const third(delimited(frame_of(8, {"rpc_php", "rshutdown { response { status: 404 } }"})));
    EXPECT_THAT(diff({"--format=text", first.name(), second.name(), third.name()}).out,
                HasSubstr("response_status differs in @2 with id 8:\n    rpc       404\n    protobuf  200\n"));
}

TEST(DiffDialects, reports_a_damaged_capture_once)
{
    auto const outcome = diff({}, ends(7, 200, 200) + "\x05xy");
    EXPECT_EQ(outcome.err, "-: frame 3 at byte 25: the file ends inside this frame, after 2 of its 5 bytes\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST(DiffDialects, shows_the_part_of_long_texts_that_differs)
{
    std::string const start(500, 'a');
    auto const outcome =
        diff({"--format=text"}, errors(7, "message: '" + start + "é-b'", "message: '" + start + "é-c'"));
    std::string const kept(18, 'a');
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("    rpc       …" + kept.substr(1) + "é-b\"\n"),
                                   HasSubstr("    protobuf  …" + kept.substr(1) + "é-c\"\n")));
    std::string const end(5000, 'b');
    EXPECT_THAT(diff({"--format=text"}, errors(7, "message: '" + end + "'", "")).out,
                HasSubstr("    rpc       \"" + end.substr(0, 999) + "…\n    protobuf  \"\"\n"));
}

TEST(DiffDialects, shows_the_elements_of_lists_that_differ)
{
    EXPECT_EQ(
        diff({"--format=text", "--mask=none"},
             delimited(frame_of(7, {"rpc_glimmet", "storage { entries { name: 'n' values: 'a' values: 'c' } }"})) +
                 delimited(frame_of(7, {"storage", "entries { name: 'n' values: 'a' values: 'b' values: 'c' }"})))
            .out,
        "glimmet.Storage: entries[].values differs at entries[0].values in @1 with id 7:\n"
        "    rpc       2 elements, from [1]: \"c\"\n"
        "    protobuf  3 elements, from [1]: \"b\",\"c\"\n"
        "Compared 1 pair of records in 1 request: 1 difference.\n");
}

TEST(DiffDialects, masks_text_and_not_json_lines)
{
    auto const capture =
        delimited(
            frame_of(7, {"rpc_php", "rinit { info { } request { headers { elements { string_key: 'Cookie' value { "
                                    "string_value: 'sid=the-secret' } } } } }"})) +
        delimited(frame_of(7, {"rinit", ""})) +
        delimited(frame_of(7, {"request_headers", "lines: 'Cookie: sid=another-secret'"})) +
        errors(7, "message: 'a the-secret'", "message: 'b another-secret'");
    EXPECT_THAT(diff({"--format=text"}, capture).out,
                AllOf(HasSubstr("php.RequestHeaders: headers differs at headers[\"Cookie\"] in @1 with id 7:\n"
                                "    rpc       \"[masked]\"\n    protobuf  \"[masked]\"\n"),
                      HasSubstr("    rpc       \"a [masked]\"\n    protobuf  \"b [masked]\"\n")));
    EXPECT_THAT(diff({"--mask=default"}, capture).out, Not(HasSubstr("-secret")));
    EXPECT_THAT(diff({}, capture).out, AllOf(HasSubstr("the-secret"), HasSubstr("another-secret")));
    EXPECT_THAT(diff({"--format=text", "--mask=none"}, capture).out, HasSubstr("the-secret"));
}

TEST(DiffDialects, masks_a_secret_that_follows_the_difference)
{
    auto const capture =
        errors(7, "message: 'the-secret'", "message: ''") +
        delimited(frame_of(7, {"rpc_php", "rinit { info { } request { headers { elements { string_key: "
                                          "'Cookie' value { string_value: 'the-secret' } } } } }"}));
    EXPECT_THAT(diff({"--format=text"}, capture).out, Not(HasSubstr("the-secret")));
}

TEST(DiffDialects, escapes_texts_and_cuts_lines_on_a_terminal)
{
    TemporaryFile const file(errors(7, "message: '\\302\\233\\342\\200\\256'", ""));
    EXPECT_THAT(diff({"--format=text", file.name()}).out, AllOf(Not(HasSubstr("\u202e")), Not(HasSubstr("\u009b"))));
    auto const on_terminal =
        run({.arguments = {"diff", "--dialects", file.name()}, .out = Sink::terminal, .terminal_columns = 20});
    EXPECT_THAT(on_terminal.out, HasSubstr("php.ErrorData: mess…\n"));
}

} // namespace
} // namespace tarnwick::test::diff_dialects_test
