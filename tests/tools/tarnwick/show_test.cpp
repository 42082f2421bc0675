#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"
#include "tools/tarnwick/support/reports.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <string>
#include <vector>

namespace tarnwick::test::show_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

Outcome show(std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), "show");
    return run({.arguments = arguments}, input);
}

std::string start(std::uint64_t id, std::string const &uri)
{
    return delimited(rpc_php_frame_of("request_id { id: " + std::to_string(id) +
                                      " } rinit { request { text_0: 'GET' text_1: '" + uri + "' } }"));
}

std::string end(std::uint64_t id, int seconds)
{
    return delimited(rpc_php_frame_of(
        "request_id { id: " + std::to_string(id) +
        " } rshutdown { response { status: 200 } duration { seconds: " + std::to_string(seconds) + " } }"));
}

std::string const three_requests = start(5, "/a") + end(5, 2) + start(6, "/b") + end(6, 3) + start(5, "/c") + end(5, 1);

TEST(Show, finds_a_request_by_id_number_or_name)
{
    auto const uri = [](std::string const &request, std::vector<std::string> const &options = {}) {
        std::vector<std::string> arguments{"--format=text", request};
        arguments.insert(arguments.end(), options.begin(), options.end());
        auto const outcome = show(arguments, three_requests);
        EXPECT_EQ(outcome.status, 0);
        return outcome.out.substr(0, outcome.out.find("  "));
    };
    EXPECT_EQ(uri("6"), "GET /b");
    EXPECT_EQ(uri("@3"), "GET /c");
    EXPECT_EQ(uri("slowest"), "GET /b");
    EXPECT_EQ(uri("last"), "GET /c");
    EXPECT_EQ(uri("slowest", {"--where=uri!=/b"}), "GET /a");
    EXPECT_EQ(uri("last", {"--where=duration>1s"}), "GET /b");
}

TEST(Show, reports_other_requests_with_the_id)
{
    auto const outcome = show({"--format=text", "5"}, three_requests);
    EXPECT_THAT(outcome.out, StartsWith("GET /a"));
    EXPECT_EQ(outcome.err, "tarnwick: several requests have the id 5: this is @1, others are @3\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST(Show, reports_which_requests_there_are)
{
    struct Case {
        std::vector<std::string> arguments;
        std::string capture;
        std::string message;
    };
    Case const cases[] = {
        {{"9"}, three_requests, "no request has the id 9; the ids of requests are 5, 6, 5"},
        {{"@9"}, three_requests, "no request has the number @9; the last is @3"},
        {{"slowest"}, start(5, "/a"), "no request has a duration, because no report is the end of one"},
        {{"6", "--where=status=404"}, three_requests, "the request does not fulfil the conditions"},
        {{"@3", "--where=duration>1s"}, three_requests, "the request does not fulfil the conditions"},
        {{"last", "--where=status=404"}, three_requests, "no request fulfils the conditions"},
        {{"last", "--dialect=protobuf"}, three_requests, "no request is in the captures"},
    };
    for (auto const &[arguments, capture, message] : cases) {
        auto const outcome = show(arguments, capture);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "tarnwick: " + message + "\n");
        EXPECT_EQ(outcome.status, 2);
    }
}

TEST(Show, prints_the_records_that_count_as_json_lines)
{
    auto const capture = delimited(rshutdown_frame_of(5, "response_status: 100")) + three_requests +
                         delimited(error_frame_of(5, "number: 4"));
    auto const outcome = show({"@1"}, capture);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, StartsWith(R"({"record":"php.RInit","frame":2,)"));
    EXPECT_THAT(outcome.out, AllOf(Not(HasSubstr("\"response_status\":100")), Not(HasSubstr("php.ErrorData")),
                                   HasSubstr(R"("record":"php.RShutdown","frame":3,)")));
    EXPECT_THAT(show({"@3"}, capture).out, HasSubstr(R"("record":"php.ErrorData","frame":8,)"));
}

TEST(Show, prints_json_lines_in_the_form_of_inspect)
{
    auto const capture = delimited(rpc_php_frame_of("request_id { id: 5 } rinit { superglobals { elements { "
                                                    "string_key: 'a' value { string_value: '\\000' } } } }"));
    EXPECT_THAT(show({"5", "--ids=string", "--values=plain", "--nul=base64"}, capture).out,
                AllOf(HasSubstr(R"("request_id":"5")"), HasSubstr(R"("values":{"a":{"$base64":"AA=="}})")));
}

TEST(Show, reads_pipes_and_files)
{
    TemporaryFile const file(three_requests);
    EXPECT_THAT(show({"@4", file.name(), "-"}, start(8, "/d")).out, HasSubstr(R"("file":"-","frame":1,)"));
}

TEST(Show, reports_a_fault_once)
{
    auto const outcome = show({"5"}, start(5, "/a") + "\x05xxxxx");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, StartsWith("-: frame 2 at byte "));
    EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1);
}

TEST(Show, reports_an_input_that_cannot_be_read)
{
    Descriptor const folder(::open("/", O_RDONLY | O_CLOEXEC));
    auto outcome = run({.arguments = {"show", "last"}, .in = folder});
    EXPECT_EQ(outcome.err, "tarnwick: cannot read -: Is a directory\n");
    EXPECT_EQ(outcome.status, 3);
    outcome = show({"last", "/no/such/file"});
    EXPECT_EQ(outcome.err, "cannot read /no/such/file: No such file or directory\n");
    EXPECT_EQ(outcome.status, 3);
}

TEST(Show, cuts_lines_at_the_width_of_the_terminal)
{
    TemporaryFile const file(three_requests);
    EXPECT_EQ(
        run({.arguments = {"show", "6", file.name(), "--color=never"}, .out = Sink::terminal, .terminal_columns = 20})
            .out,
        "GET /b  200  3.00 s…\n  @2, id 6, rpc, st…\n");
}

TEST(Show, prints_everything_on_demand)
{
    struct Case {
        std::string name;
        Report report;
    };
    std::string const text(1200, 'x');
    Case const cases[] = {
        {"uri", {"rpc_php", "rinit { request { text_1: 'TEXT' } }"}},
        {"body", {"rpc_php", "rinit { request { post_data { text_0: 'TEXT' } } }"}},
        {"argument",
         {"rpc_php", "error { error { stack_trace { frames { function { arguments { elements { value { "
                     "string_value: 'TEXT' } } } } } } } }"}},
        {"exception", {"error", "exception_text: 'TEXT'"}},
        {"value_of_event", {"rpc_monitor", "custom { value { string_value: 'TEXT' } }"}},
        {"statement", {"sql_queries", "queries { text: 'SELECT TEXT' }"}},
        {"connection", {"sql_connections", "connections { name: 'TEXT' }"}},
        {"storage", {"storage", "entries { values: 'TEXT' }"}},
        {"chunk_of_a_trace", {"ct_data", "TEXT"}},
    };
    for (auto const &[name, report] : cases) {
        auto textproto = report.textproto;
        auto const number = name + std::to_string(text.size());
        textproto.replace(textproto.find("TEXT"), 4, text + number);
        TemporaryFile const file(delimited(frame_of(5, {report.field, textproto})));
        auto const outcome = run({.arguments = {"show", "--all", "--mask=none", "5", file.name()},
                                  .out = Sink::terminal,
                                  .terminal_columns = 80});
        EXPECT_THAT(outcome.out, HasSubstr(text + number)) << name;
        EXPECT_THAT(show({"--format=text", "--mask=none", "5", file.name()}).out, Not(HasSubstr(text + number)))
            << name;
    }
}

} // namespace
} // namespace tarnwick::test::show_test
