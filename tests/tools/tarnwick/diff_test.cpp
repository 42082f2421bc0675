// `tarnwick diff` of two requests, limits, and what both forms have in common.

#include "support/config_files.h"
#include "tools/tarnwick/support/compared_requests.h"
#include "tools/tarnwick/support/files.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tarnwick::test::diff_test {
namespace {

using namespace compared_requests;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST(Diff, prints_tables_of_two_requests)
{
    TemporaryFile const a(capture_of(before));
    TemporaryFile const b(capture_of(after));
    auto const outcome = diff({"--format=text", a.name() + ":@1", b.name() + ":7"});
    EXPECT_EQ(outcome.out, "A  GET /page  (@1 of " + a.name() + ", id 7)\nB  GET /page  (@1 of " + b.name() + R"(, id 7)

            A → B               growth
status      200
duration    10.0 ms → 15.0 ms  +50.0 %
memory      2.00 MB
statements  2 → 1              -50.0 %
errors      0
events      0

functions
change  time               growth  count  function
slower  2.00 ms → 9.00 ms  +350 %  1 → 2  slow
new     4.00 ms                    3      young
gone    1.00 ms                    1      old

statements
change  time                growth  count  statement
fewer   2.00 ms → 1.00 ms  -50.0 %  2 → 1  SELECT ?
)");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST(Diff, prints_json_lines_of_two_requests)
{
    TemporaryFile const a(capture_of(before));
    TemporaryFile const b(capture_of(after));
    EXPECT_THAT(
        lines_of(diff({a.name() + ":slowest", b.name() + ":last"}).out),
        ElementsAre(
            AllOf(
                StartsWith(R"({"kind":"request","a":{"file":")" + a.name() + R"(","request_id":7,"dialects":["rpc"],)"),
                HasSubstr(R"("duration":{"seconds":0,"nanos":10000000})"), HasSubstr(R"(},"b":{"file":")"),
                EndsWith(R"("complete":true,"number":1}})")),
            R"({"kind":"function","change":"slower","name":"slow","a":{"count":1,"time":{"seconds":0,"nanos":2000000}},"b":{"count":2,"time":{"seconds":0,"nanos":9000000}}})",
            R"({"kind":"function","change":"new","name":"young","a":null,"b":{"count":3,"time":{"seconds":0,"nanos":4000000}}})",
            R"({"kind":"function","change":"gone","name":"old","a":{"count":1,"time":{"seconds":0,"nanos":1000000}},"b":null})",
            R"({"kind":"statement","change":"fewer","name":"SELECT ?","a":{"count":2,"time":{"seconds":0,"nanos":2000000}},"b":{"count":1,"time":{"seconds":0,"nanos":1000000}}})"));
}

TEST(Diff, prints_ids_as_strings_on_demand)
{
    TemporaryFile const file(capture_of(before));
    EXPECT_THAT(diff({"--ids=string", file.name() + ":@1", file.name() + ":@1"}).out, HasSubstr(R"("request_id":"7")"));
}

TEST(Diff, compares_errors_and_events_without_their_lines)
{
    TemporaryFile const a(
        capture_of({.php_error = "message: 'm' type { name: 'E_WARNING' } location { file: '/a.php' line: 1 }",
                    .event = "text: 'more than 20 ms' slow_request { }"}));
    TemporaryFile const b(
        capture_of({.php_error = "message: 'm' type { name: 'E_WARNING' } location { file: '/a.php' line: 2 }",
                    .event = "text: 'level 0' custom { text_0: 'page saved' }"}));
    TemporaryFile const c(capture_of({.php_error = "message: 'm' type { number: 2 } location { file: '/b.php' }",
                                      .event = "function_error { function { name: 'fopen' } }"}));
    EXPECT_THAT(differences("error", a.name() + ":@1", b.name() + ":@1"), IsEmpty());
    EXPECT_THAT(
        differences("error", a.name() + ":@1", c.name() + ":@1"),
        ElementsAre(R"({"kind":"error","change":"new","name":"2: m in /b.php","a":null,"b":{"count":1}})",
                    R"({"kind":"error","change":"gone","name":"E_WARNING: m in /a.php","a":{"count":1},"b":null})"));
    EXPECT_THAT(
        differences("event", a.name() + ":@1", b.name() + ":@1"),
        ElementsAre(
            R"({"kind":"event","change":"new","name":"custom event: level 0: page saved","a":null,"b":{"count":1}})",
            R"({"kind":"event","change":"gone","name":"slow request: more than 20 ms","a":{"count":1},"b":null})"));
    EXPECT_THAT(differences("event", c.name() + ":@1", b.name() + ":@1").back(),
                HasSubstr(R"("name":"function error: fopen")"));
}

TEST(Diff, compares_keys_of_headers_and_superglobals)
{
    TemporaryFile const a(capture_of(
        {.start = "superglobals { " + element("_GET", array(element("page") + element("a", array(element("x"))))) + "}",
         .request = "headers { " + element("Host") + element("Cookie", "string_value: 'secret'") + "}",
         .response = "headers { " + element("ETag", "string_value: '1'") + "}"}));
    TemporaryFile const b(capture_of(
        {.start = "superglobals { " +
                  element("_GET", array(element("page", "long_value: 2") + element("a", array(element("y"))))) +
                  element("_POST", array(element("b") + element("c"))) + "}",
         .request = "headers { " + element("Host", "string_value: 'y'") + element("host") + "}",
         .response = "headers { " + element("ETag", "string_value: '2'") + "}"}));
    EXPECT_THAT(differences("key", a.name() + ":@1", b.name() + ":@1"),
                ElementsAre(R"({"kind":"key","change":"gone","array":"request headers","key":["Cookie"]})",
                            R"({"kind":"key","change":"new","array":"request headers","key":["host"]})",
                            R"({"kind":"key","change":"gone","array":"superglobals","key":["_GET","a","x"]})",
                            R"({"kind":"key","change":"new","array":"superglobals","key":["_GET","a","y"]})",
                            R"({"kind":"key","change":"new","array":"superglobals","key":["_POST"]})"));
    EXPECT_THAT(diff({"--format=text", a.name() + ":@1", b.name() + ":@1"}).out,
                HasSubstr("\nkeys\nchange  array            key\n"
                          "gone    request headers  Cookie\n"
                          "new     request headers  host\n"
                          "gone    superglobals     _GET[a][x]\n"
                          "new     superglobals     _GET[a][y]\n"
                          "new     superglobals     _POST\n"));
}

TEST(Diff, counts_a_function_once_if_both_dialects_report_it)
{
    auto const capture = capture_of({.functions = function("f", 1, 2)});
    Frame frame;
    frame.set_request_id(7);
    frame.set_functions(wire<rpc::glimmet::v1::Functions>("functions { name: 'only_protobuf' }"));
    TemporaryFile const a(capture);
    TemporaryFile const b(capture + delimited(frame));
    EXPECT_THAT(differences("function", a.name() + ":@1", b.name() + ":@1"), IsEmpty());
    EXPECT_THAT(differences("function", a.name(), b.name()), IsEmpty());
}

TEST(Diff, cuts_long_sections_of_text_but_not_json_lines)
{
    std::string functions;
    for (int i = 1; i <= 12; ++i)
        functions += function("f" + std::to_string(i), 1, i);
    TemporaryFile const a(capture_of({}));
    TemporaryFile const b(capture_of({.functions = functions}));
    auto const text = diff({"--format=text", a.name() + ":@1", b.name() + ":@1"}).out;
    EXPECT_THAT(text, AllOf(HasSubstr("\nfunctions: the first 10 of 12 differences\n"), HasSubstr("  f12\n"),
                            HasSubstr("  f3\n"), Not(HasSubstr("  f2\n"))));
    EXPECT_EQ(differences("function", a.name() + ":@1", b.name() + ":@1").size(), 12U);
}

TEST(Diff, takes_the_first_of_several_requests_with_the_id)
{
    TemporaryFile const a(capture_of({.uri = "/first"}) + capture_of({.uri = "/second"}));
    auto const outcome = diff({"--format=text", a.name() + ":7", a.name() + ":@2"});
    EXPECT_THAT(outcome.out, StartsWith("A  GET /first  (@1 of " + a.name() + ", id 7)\nB  GET /second  (@2 of " +
                                        a.name() + ", id 7)\n"));
    EXPECT_EQ(outcome.err, "tarnwick: " + a.name() + ": several requests have the id 7: this is @1, others are @2\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST(Diff, reports_that_nothing_differs)
{
    TemporaryFile const file(capture_of(before));
    EXPECT_THAT(diff({"--format=text", file.name(), file.name()}).out,
                AllOf(HasSubstr("same    10.0 ms"), EndsWith("\n\nNothing else differs.\n")));
    EXPECT_THAT(diff({"--format=text", file.name() + ":@1", file.name() + ":@1"}).out,
                EndsWith("\nevents      0\n\nNothing else differs.\n"));
    TemporaryFile const other(capture_of({.uri = "/other"}));
    EXPECT_THAT(diff({"--format=text", file.name(), other.name()}).out,
                EndsWith("\nNo route is in both captures, so nothing else is compared.\n"));
}

TEST(Diff, compares_requests_without_a_start_or_an_end)
{
    TemporaryFile const file(request_end(1) + delimited(error_frame_of(2, "message: 'm'")));
    auto const outcome = diff({file.name(), file.name()});
    EXPECT_THAT(outcome.out,
                StartsWith(R"({"kind":"route","change":"same","method":null,"route":null,"a":{"requests":2,)"));
    EXPECT_THAT(
        diff({"--format=text", file.name() + ":1", file.name() + ":2"}).out,
        AllOf(StartsWith("A  - -  (@1 of "), HasSubstr("\nstatus      200 → -\n"), HasSubstr("\nerrors      0 → 1\n")));
    EXPECT_THAT(diff({"--format=text", file.name(), file.name()}).out, HasSubstr("  -      2 "));
}

TEST(Diff, fails_if_a_limit_is_exceeded)
{
    TemporaryFile const a(capture_of(before));
    TemporaryFile const b(capture_of(after));
    auto outcome = diff({"--fail-if=duration>49%", "--fail-if=statements>0", "--fail-if", "duration>5ms",
                         "--fail-if=duration>4ms", a.name() + ":7", b.name() + ":7"});
    EXPECT_EQ(outcome.err, "tarnwick: duration>49% is exceeded: 10.0 ms → 15.0 ms (+50.0 %)\n"
                           "tarnwick: duration>4ms is exceeded: 10.0 ms → 15.0 ms (+50.0 %)\n");
    EXPECT_EQ(outcome.status, 4);
    EXPECT_THAT(outcome.out, HasSubstr(R"("kind":"statement")"));
    outcome = diff({"--fail-if=duration>49%", a.name(), b.name()});
    EXPECT_EQ(outcome.err, "tarnwick: GET /page: duration>49% is exceeded: 10.0 ms → 15.0 ms (+50.0 %)\n");
    EXPECT_EQ(outcome.status, 4);
    outcome = diff({"--fail-if=duration>50%", "--fail-if=memory>0", a.name(), b.name()});
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST(Diff, fails_if_a_limit_cannot_be_checked)
{
    TemporaryFile const a(capture_of(before));
    TemporaryFile const b(capture_of({.uri = "/other"}));
    auto const outcome = diff({"--fail-if=duration>50%", a.name(), b.name()});
    EXPECT_EQ(outcome.err, "tarnwick: duration>50% cannot be checked: A and B have no duration to compare\n");
    EXPECT_EQ(outcome.status, 4);
}

TEST(Diff, masks_secrets_except_in_json_lines)
{
    TemporaryFile const a(capture_of(before));
    TemporaryFile const b(capture_of({.uri = "/page?token=topsecret1",
                                      .php_error = "message: 'no topsecret2 here'",
                                      .queries = query("SELECT 'topsecret2'", 1),
                                      .id = "request_id { id: 8 } "}));
    auto const places = std::vector{a.name() + ":@1", b.name() + ":@1"};
    auto const out = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), places.begin(), places.end());
        return diff(arguments).out;
    };
    EXPECT_THAT(out({"--format=text"}), AllOf(HasSubstr("/page?token=[masked]  ("), HasSubstr("no [masked] here"),
                                              Not(HasSubstr("topsecret"))));
    EXPECT_THAT(out({"--mask=default"}), AllOf(HasSubstr("token=[masked]"), Not(HasSubstr("topsecret"))));
    EXPECT_THAT(out({}), AllOf(HasSubstr("topsecret1"), HasSubstr("topsecret2")));
    EXPECT_THAT(out({"--format=text", "--mask=none"}), AllOf(HasSubstr("topsecret1"), HasSubstr("topsecret2")));
}

TEST(Diff, reads_one_side_from_standard_input)
{
    TemporaryFile const file(capture_of(before));
    auto const from_input = diff({"-", file.name()}, capture_of(after));
    EXPECT_THAT(from_input.out, StartsWith(R"({"kind":"route","change":"faster")"));
    EXPECT_EQ(from_input.status, 0);
    EXPECT_THAT(diff({"--", file.name() + ":@1", "-:last"}, capture_of(after)).out,
                HasSubstr(R"({"kind":"function","change":"slower","name":"slow")"));
}

TEST(Diff, reads_a_file_whose_name_ends_like_a_request)
{
    ConfigFolder const folder;
    auto const name = folder.path("a:7");
    TemporaryFile const other(capture_of(before));
    EXPECT_EQ(diff({name, other.name()}).status, 2);
    folder.write("a:7", capture_of(before));
    EXPECT_EQ(diff({name, other.name()}).status, 0);
    EXPECT_EQ(diff({name + ":7", other.name() + ":7"}).status, 0);
}

TEST(Diff, continues_after_a_fault_and_reports_it)
{
    Frame broken;
    broken.set_rpc_php("\xff");
    TemporaryFile const a(capture_of(before) + delimited(broken));
    TemporaryFile const b(capture_of(after));
    for (std::string const request : {"", ":@1"}) {
        auto const outcome = diff({"--fail-if=errors>0", a.name() + request, b.name() + request});
        EXPECT_THAT(outcome.out, HasSubstr(R"("name":"slow")"));
        EXPECT_THAT(outcome.err, HasSubstr("the report is not a valid tarnwick.rpc.php.v1.NotifyRequest"));
        EXPECT_EQ(outcome.status, 1);
    }
}

TEST(Diff, compares_nothing_if_a_file_or_a_request_is_missing)
{
    TemporaryFile const file(capture_of(before));
    auto outcome = diff({file.name(), "/no/such/file"});
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("/no/such/file: "));
    EXPECT_EQ(outcome.status, 3);
    outcome = diff({file.name() + ":@1", file.name() + ":8"});
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "tarnwick: " + file.name() + ": no request has the id 8; the ids of requests are 7\n");
    EXPECT_EQ(outcome.status, 2);
}

TEST(Diff, works_as_in_the_manual)
{
    auto const statements = [](int users) {
        std::string text = query("SELECT * FROM posts LIMIT 3", 4);
        for (int i = 0; i < users; ++i)
            text += query("SELECT name FROM users WHERE id = " + std::to_string(i), 2);
        return text;
    };
    ConfigFolder const folder;
    folder.write("before.tnw", capture_of({.uri = "/posts/17",
                                           .milliseconds = 42,
                                           .functions = function("Posts::list", 1, 9) + function("render", 1, 20),
                                           .queries = statements(1)}) +
                                   capture_of({.uri = "/login", .milliseconds = 84}));
    folder.write("after.tnw", capture_of({.uri = "/posts/18",
                                          .milliseconds = 61,
                                          .functions = function("Posts::list", 1, 28) + function("render", 1, 20),
                                          .queries = statements(10)}) +
                                  capture_of({.uri = "/login", .milliseconds = 80}));
    WorkingFolder const here(folder.path());
    auto const outcome = diff({"--format=text", "--fail-if=duration>20%", "before.tnw", "after.tnw"});
    EXPECT_EQ(outcome.status, 4);
    auto const session = "\n$ tarnwick diff --format=text --fail-if='duration>20%' before.tnw after.tnw\n" +
                         outcome.out + outcome.err + "$ echo $?\n4\n";
    EXPECT_THAT(content_of(TARNWICK_MANUAL "/tarnwick-diff.1"), HasSubstr(session));
}

} // namespace
} // namespace tarnwick::test::diff_test
