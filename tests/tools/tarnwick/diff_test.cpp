#include "support/config_files.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"
#include "tools/tarnwick/support/reports.h"

#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::diff_test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

Outcome diff(std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), "diff");
    return run({.arguments = arguments}, input);
}

/// Returns the JSON lines of a kind.
std::vector<std::string> differences(std::string const &kind, std::string const &a, std::string const &b)
{
    auto const outcome = diff({a, b});
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    auto lines = lines_of(outcome.out);
    std::erase_if(lines, [&](std::string const &line) { return !line.starts_with(R"({"kind":")" + kind + '"'); });
    return lines;
}

/// A request of the rpc dialect, as textproto.
struct Request {
    std::string uri = "/page";
    // NOLINTBEGIN(readability-redundant-member-init): designators leave them out
    std::string start = {};     ///< further fields of `rinit`
    std::string request = {};   ///< further fields of `rinit.request`
    int milliseconds = 10;      ///< below 1000
    std::string response = {};  ///< further fields of `rshutdown.response`
    std::string php_error = {}; ///< the error of an error report
    std::string event = {};     ///< the content of an event
    std::string functions = {}; ///< of a report of functions
    std::string queries = {};   ///< of a report of statements
    // NOLINTEND(readability-redundant-member-init)
    std::string id = "request_id { id: 7 } ";
};

std::string profiler_frame(std::string const &textproto)
{
    Frame frame;
    frame.set_rpc_glimmet(wire<rpc::glimmet::v1::NotifyRequest>(textproto));
    return delimited(frame);
}

std::string capture_of(Request const &request)
{
    auto capture =
        delimited(rpc_php_frame_of(request.id + "rinit { " + request.start + " request { text_0: 'GET' text_1: '" +
                                   request.uri + "' " + request.request + " } }"));
    if (!request.php_error.empty())
        capture += delimited(rpc_php_frame_of(request.id + "error { error { " + request.php_error + " } }"));
    if (!request.event.empty()) {
        Frame frame;
        frame.set_rpc_monitor(wire<rpc::monitor::v1::NotifyRequest>(request.id + request.event));
        capture += delimited(frame);
    }
    if (!request.functions.empty())
        capture += profiler_frame(request.id + "functions { " + request.functions + " }");
    if (!request.queries.empty())
        capture += profiler_frame(request.id + "sql_queries { " + request.queries + " }");
    return capture + delimited(rpc_php_frame_of(request.id + "rshutdown { response { status: 200 " + request.response +
                                                " } duration { nanos: " + std::to_string(request.milliseconds) +
                                                "000000 } memory { value_1: 2000000 } }"));
}

std::string function(std::string const &name, int count, int milliseconds)
{
    return "functions { name: '" + name + "' stats { count: " + std::to_string(count) +
           " time_first { nanos: " + std::to_string(milliseconds) + "000000 } } } ";
}

std::string query(std::string const &text, int milliseconds)
{
    return "queries { text: \"" + text + "\" time { nanos: " + std::to_string(milliseconds) + "000000 } } ";
}

std::string element(std::string const &key, std::string const &value = "string_value: 'x'")
{
    return "elements { string_key: '" + key + "' value { " + value + " } } ";
}

std::string array(std::string const &elements)
{
    return "array_value { " + elements + "} ";
}

Request const before{.functions = function("slow", 1, 2) + function("old", 1, 1),
                     .queries = query("SELECT 1", 1) + query("SELECT 2", 1)};
Request const after{
    .milliseconds = 15, .functions = function("slow", 2, 9) + function("young", 3, 4), .queries = query("SELECT 3", 1)};

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

TEST(Diff, pairs_requests_of_captures_by_method_and_route)
{
    auto const a_requests = capture_of({.uri = "/users/1", .milliseconds = 10}) +
                            capture_of({.uri = "/users/2", .milliseconds = 30, .queries = query("SELECT 1", 1)}) +
                            capture_of({.uri = "/old"});
    auto const b_requests = capture_of({.uri = "/users/3?page=1", .milliseconds = 7}) +
                            capture_of({.uri = "/users/99",
                                        .milliseconds = 50,
                                        .php_error = "message: 'low' type { name: 'E_WARNING' }",
                                        .queries = query("SELECT 2", 3)});
    TemporaryFile const a(a_requests);
    TemporaryFile const b(b_requests);
    EXPECT_EQ(diff({"--format=text", a.name(), b.name()}).out, "A  " + a.name() + "  (requests: 3)\nB  " + b.name() +
                                                                   R"(  (requests: 2)

change  duration           growth  route                 requests  memory   statements  errors  status
slower  20.0 ms → 50.0 ms  +150 %  GET /users/{id}       2 → 1     2.00 MB  0.5 → 1     0 → 1   200
new     7.00 ms                    GET /users/{id}?page  1         2.00 MB  0           0       200
gone    10.0 ms                    GET /old              1         2.00 MB  0           0       200

statements per request
change  time              growth  count    statement  route
more    500 µs → 3.00 ms  +500 %  0.5 → 1  SELECT ?   GET /users/{id}

errors per request
change  count  error           route
new     1      E_WARNING: low  GET /users/{id}
)");
    EXPECT_THAT(
        diff({a.name(), b.name()}).out,
        AllOf(
            StartsWith(
                R"({"kind":"route","change":"slower","method":"GET","route":"/users/{id}","a":{"requests":2,"duration":{"seconds":0,"nanos":20000000},"memory":2000000,"statements":0.5,"errors":0,"events":0,"statuses":{"200":2}},"b":{"requests":1,)"),
            HasSubstr(
                R"({"kind":"statement","change":"more","method":"GET","route":"/users/{id}","name":"SELECT ?","a":{"count":0.5,"time":{"seconds":0,"nanos":500000}},"b":{"count":1,"time":{"seconds":0,"nanos":3000000}}})")));
}

TEST(Diff, compares_captures_route_by_route)
{
    // The changes of both routes cancel each other in the sum of all requests.
    auto const capture = [](int milliseconds_of_a, int milliseconds_of_b) {
        return capture_of({.uri = "/a",
                           .functions = function("f", 1, milliseconds_of_a),
                           .queries = query("SELECT 1", milliseconds_of_b)}) +
               capture_of({.uri = "/b",
                           .functions = function("f", 1, milliseconds_of_b),
                           .queries = query("SELECT 1", milliseconds_of_a)});
    };
    TemporaryFile const a(capture(1, 5));
    TemporaryFile const b(capture(5, 1));
    EXPECT_THAT(
        differences("function", a.name(), b.name()),
        ElementsAre(StartsWith(R"({"kind":"function","change":"slower","method":"GET","route":"/a","name":"f")"),
                    StartsWith(R"({"kind":"function","change":"faster","method":"GET","route":"/b",)")));
    EXPECT_THAT(differences("statement", a.name(), b.name()),
                ElementsAre(StartsWith(R"({"kind":"statement","change":"faster","method":"GET","route":"/a",)"),
                            StartsWith(R"({"kind":"statement","change":"slower","method":"GET","route":"/b",)")));
}

TEST(Diff, compares_keys_of_captures_route_by_route)
{
    auto const page = [](std::string const &parameters, std::string const &header = {}) {
        return capture_of({.start = "superglobals { " + element("_GET", array(parameters)) + "}",
                           .request = header.empty() ? "" : "headers { " + element(header) + "}"});
    };
    // A scalar under a key hides no array under the same key in another request.
    TemporaryFile const a(page(element("old") + element("list")) + page(element("list", array(element("x"))), "Host") +
                          capture_of({.uri = "/other", .response = "headers { " + element("ETag") + "}"}));
    TemporaryFile const b(page(element("list", array(element("y"))), "Host") +
                          page(element("old") + element("young"), "Accept") +
                          capture_of({.uri = "/other", .response = "headers { " + element("Age") + "}"}) +
                          capture_of({.uri = "/young", .request = "headers { " + element("Host") + "}"}));
    EXPECT_THAT(
        differences("key", a.name(), b.name()),
        ElementsAre(
            R"({"kind":"key","change":"gone","method":"GET","route":"/other","array":"response headers","key":["ETag"]})",
            R"({"kind":"key","change":"new","method":"GET","route":"/other","array":"response headers","key":["Age"]})",
            R"({"kind":"key","change":"new","method":"GET","route":"/page","array":"request headers","key":["Accept"]})",
            R"({"kind":"key","change":"gone","method":"GET","route":"/page","array":"superglobals","key":["_GET","list","x"]})",
            R"({"kind":"key","change":"new","method":"GET","route":"/page","array":"superglobals","key":["_GET","list","y"]})",
            R"({"kind":"key","change":"new","method":"GET","route":"/page","array":"superglobals","key":["_GET","young"]})"));
    EXPECT_THAT(diff({"--format=text", a.name(), b.name()}).out,
                HasSubstr("\nkeys\n"
                          "change  array             key            route\n"
                          "gone    response headers  ETag           GET /other\n"));
}

TEST(Diff, takes_numbers_as_keys_of_captures_for_placeholders)
{
    auto const item = [](int number, std::string const &field) {
        return capture_of({.start = "superglobals { " +
                                    element("_POST", array("elements { long_key: " + std::to_string(number) +
                                                           " value { " + array(element(field)) + "} } ")) +
                                    "}"});
    };
    TemporaryFile const a(item(17, "price"));
    TemporaryFile const b(item(18, "price"));
    TemporaryFile const c(item(19, "weight"));
    EXPECT_THAT(differences("key", a.name(), b.name()), IsEmpty());
    EXPECT_THAT(differences("key", a.name() + ":@1", b.name() + ":@1"),
                ElementsAre(HasSubstr(R"("gone","array":"superglobals","key":["_POST","17"])"),
                            HasSubstr(R"("new","array":"superglobals","key":["_POST","18"])")));
    EXPECT_THAT(differences("key", a.name(), c.name()), ElementsAre(HasSubstr(R"("key":["_POST","{id}","price"])"),
                                                                    HasSubstr(R"("key":["_POST","{id}","weight"])")));
}

TEST(Diff, takes_texts_as_keys_of_captures_for_placeholders_if_they_are_ids)
{
    auto const form = [](std::string const &key) {
        return delimited(frame_of(7, {"superglobals", "groups { name: '_POST' entries { key: '" + key +
                                                          "' initial_value { } value { } } }"}));
    };
    TemporaryFile const a(form("17"));
    TemporaryFile const b(form("f81d4fae-7dec-11d0-a765-00a0c91e6bf6"));
    TemporaryFile const c(form("item17"));
    EXPECT_THAT(differences("key", a.name(), b.name()), IsEmpty());
    EXPECT_THAT(
        differences("key", a.name(), c.name()),
        AllOf(Contains(HasSubstr(R"("gone","method":null,"route":null,"array":"superglobals","key":["_POST","{id}"])")),
              Contains(
                  HasSubstr(R"("new","method":null,"route":null,"array":"superglobals","key":["_POST","item17"])"))));
}

TEST(Diff, compares_keys_of_the_rpc_dialect_if_it_has_superglobals)
{
    auto const capture = capture_of({.start = "superglobals { " + element("_GET", array(element("page"))) + "}"});
    TemporaryFile const a(capture);
    TemporaryFile const b(
        delimited(frame_of(7, {"superglobals", "groups { name: '_COOKIE' entries { key: 'sid' value { } } }"})) +
        capture);
    EXPECT_THAT(differences("key", a.name(), b.name()), IsEmpty());
    EXPECT_THAT(differences("key", a.name() + ":@1", b.name() + ":@1"), IsEmpty());
}

TEST(Diff, compares_the_chosen_requests_of_captures)
{
    TemporaryFile const a(capture_of({.uri = "/a", .functions = function("f", 1, 1)}) + capture_of({.uri = "/b"}));
    TemporaryFile const b(capture_of({.uri = "/a", .functions = function("f", 1, 2)}) + capture_of({.uri = "/b"}));
    auto outcome = diff({"--format=text", "--where=uri=/b", a.name(), b.name()});
    EXPECT_THAT(outcome.out, AllOf(StartsWith("A  " + a.name() + "  (requests: 1)\n"), HasSubstr("GET /b "),
                                   Not(HasSubstr("GET /a")), EndsWith("\nNothing else differs.\n")));
    outcome = diff({"--where=uri=/b", a.name() + ":slowest", b.name() + ":slowest"});
    EXPECT_THAT(outcome.out, AllOf(HasSubstr(R"("uri":"/b")"), Not(HasSubstr(R"("uri":"/a")"))));
    EXPECT_EQ(diff({"--where=uri=/c", a.name(), b.name()}).err,
              "tarnwick: " + a.name() + ": no request fulfils the conditions\n" + "tarnwick: " + b.name() +
                  ": no request fulfils the conditions\n");
    EXPECT_EQ(diff({"--format=text", "--dialect=protobuf", a.name(), b.name()}).out,
              "A  " + a.name() + "  (requests: 0)\nB  " + b.name() +
                  "  (requests: 0)\n\nNo route is in both captures, so nothing else is compared.\n");
}

TEST(Diff, prints_as_many_differences_of_a_kind_as_asked_for)
{
    std::string functions;
    for (int i = 1; i <= 12; ++i)
        functions += function("f" + std::to_string(i), 1, i);
    TemporaryFile const a(capture_of({.uri = "/a"}) + capture_of({.uri = "/b"}));
    TemporaryFile const b(capture_of({.uri = "/a", .functions = functions}) + capture_of({.uri = "/b"}));
    EXPECT_THAT(diff({"--format=text", "--top=1", a.name(), b.name()}).out,
                AllOf(HasSubstr("\nthe first 1 of 2 routes\n"), HasSubstr("GET /a"), Not(HasSubstr("GET /b")),
                      HasSubstr("\nfunctions per request: the first 1 of 12 differences\n"), HasSubstr("  f12 "),
                      Not(HasSubstr("  f11 "))));
    EXPECT_EQ(lines_of(diff({"--top=1", a.name(), b.name()}).out).size(), 2U);
    EXPECT_THAT(diff({"--format=text", "--top=11", a.name(), b.name()}).out, HasSubstr("  f2 "));
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

TEST(Diff, ignores_ids_if_it_pairs_requests)
{
    TemporaryFile const a(capture_of({.uri = "/a", .id = "request_id { id: 1 } "}) +
                          capture_of({.uri = "/b", .id = "request_id { id: 2 } "}));
    TemporaryFile const b(capture_of({.uri = "/b", .id = "request_id { id: 1 } "}) +
                          capture_of({.uri = "/a", .milliseconds = 40, .id = "request_id { id: 2 } "}));
    EXPECT_THAT(diff({"--format=text", a.name(), b.name()}).out,
                AllOf(HasSubstr("\nslower  10.0 ms → 40.0 ms  +300 %  GET /a "),
                      HasSubstr("\nsame    10.0 ms                    GET /b ")));
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

TEST(Diff, compares_names_before_they_are_masked)
{
    // In the first request of either capture, the name of the table is a cookie, which makes it a secret.
    auto const statement = query("SELECT a FROM my_table", 1);
    auto const capture = capture_of({.uri = "/my_table/1",
                                     .request = "headers { " + element("Cookie", "string_value: 'sid=my_table'") + "}",
                                     .queries = statement}) +
                         capture_of({.uri = "/my_table/2", .queries = statement, .id = "request_id { id: 8 } "});
    TemporaryFile const a(capture);
    TemporaryFile const b(capture + capture_of({.uri = "/my_table/3", .id = "request_id { id: 9 } "}));
    auto const text = diff({"--format=text", a.name(), b.name()}).out;
    EXPECT_THAT(text,
                AllOf(HasSubstr("GET /[masked]/{id}  2 → 3"), HasSubstr("SELECT a FROM [masked]  GET /[masked]/{id}\n"),
                      HasSubstr("1 → 0.67"), Not(HasSubstr("my_table"))));
}

TEST(Diff, masks_keys_that_are_secrets_of_their_request)
{
    // The report with the secret follows the one with the key.
    auto const page = [](std::string const &keys, std::string const &password) {
        return capture_of({.start = "superglobals { " + element("_GET", array(keys)) + "}",
                           .php_error = "message: 'password=" + password + "'"});
    };
    TemporaryFile const a(page(element("page"), "x"));
    TemporaryFile const b(page(element("page") + element("for-my-secret"), "my-secret"));
    for (std::string const request : {"", ":@1"}) {
        EXPECT_THAT(diff({"--format=text", a.name() + request, b.name() + request}).out,
                    HasSubstr("_GET[for-[masked]]"));
        EXPECT_THAT(diff({"--format=text", "--mask=none", a.name() + request, b.name() + request}).out,
                    HasSubstr("_GET[for-my-secret]"));
    }
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

TEST(Diff, fits_tables_into_the_width_of_a_terminal)
{
    TemporaryFile const a(capture_of(before));
    TemporaryFile const b(capture_of(after));
    auto const outcome =
        run({.arguments = {"diff", a.name(), b.name()}, .out = Sink::terminal, .terminal_columns = 20});
    EXPECT_THAT(outcome.out,
                HasSubstr("\nchange  route\nslower  GET /page\n"
                          "columns left out: duration, growth, requests, memory, statements, errors, status\n"));
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
