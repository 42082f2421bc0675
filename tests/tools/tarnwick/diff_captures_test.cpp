// `tarnwick diff` of two captures.

#include "tools/tarnwick/support/compared_requests.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/reports.h"

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::test::diff_captures_test {
namespace {

using namespace compared_requests;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST(DiffCaptures, pairs_requests_of_captures_by_method_and_route)
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

TEST(DiffCaptures, compares_captures_route_by_route)
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

TEST(DiffCaptures, compares_keys_of_captures_route_by_route)
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

TEST(DiffCaptures, takes_numbers_as_keys_of_captures_for_placeholders)
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

TEST(DiffCaptures, takes_texts_as_keys_of_captures_for_placeholders_if_they_are_ids)
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

TEST(DiffCaptures, compares_keys_of_the_rpc_dialect_if_it_has_superglobals)
{
    auto const capture = capture_of({.start = "superglobals { " + element("_GET", array(element("page"))) + "}"});
    TemporaryFile const a(capture);
    TemporaryFile const b(
        delimited(frame_of(7, {"superglobals", "groups { name: '_COOKIE' entries { key: 'sid' value { } } }"})) +
        capture);
    EXPECT_THAT(differences("key", a.name(), b.name()), IsEmpty());
    EXPECT_THAT(differences("key", a.name() + ":@1", b.name() + ":@1"), IsEmpty());
}

TEST(DiffCaptures, compares_the_chosen_requests_of_captures)
{
    TemporaryFile const a(capture_of({.uri = "/a", .functions = function("f", 1, 1)}) + capture_of({.uri = "/b"}));
    TemporaryFile const b(capture_of({.uri = "/a", .functions = function("f", 1, 2)}) + capture_of({.uri = "/b"}));
    auto outcome = diff({"--format=text", "--where=uri=/b", a.name(), b.name()});
    EXPECT_THAT(outcome.out, AllOf(StartsWith("A  " + a.name() + "  (requests: 1)\n"), HasSubstr("GET /b "),
                                   Not(HasSubstr("GET /a")), EndsWith("\nNothing else differs.\n")));
    outcome = diff({"--where=uri=/b", a.name() + ":slowest", b.name() + ":slowest"});
    EXPECT_THAT(outcome.out, AllOf(HasSubstr(R"("uri":"/b")"), Not(HasSubstr(R"("uri":"/a")"))));
    outcome = diff({"--format=text", "--record=Functions", a.name(), b.name()});
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("GET /a "), Not(HasSubstr("GET /b"))));
    EXPECT_THAT(diff({"--record=codetrace.Data", a.name(), b.name()}).err,
                HasSubstr(": no request fulfils the conditions\n"));
    EXPECT_EQ(diff({"--where=uri=/c", a.name(), b.name()}).err,
              "tarnwick: " + a.name() + ": no request fulfils the conditions\n" + "tarnwick: " + b.name() +
                  ": no request fulfils the conditions\n");
    EXPECT_EQ(diff({"--format=text", "--dialect=protobuf", a.name(), b.name()}).out,
              "A  " + a.name() + "  (requests: 0)\nB  " + b.name() +
                  "  (requests: 0)\n\nNo route is in both captures, so nothing else is compared.\n");
}

TEST(DiffCaptures, prints_as_many_differences_of_a_kind_as_asked_for)
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

TEST(DiffCaptures, ignores_ids_if_it_pairs_requests)
{
    TemporaryFile const a(capture_of({.uri = "/a", .id = "request_id { id: 1 } "}) +
                          capture_of({.uri = "/b", .id = "request_id { id: 2 } "}));
    TemporaryFile const b(capture_of({.uri = "/b", .id = "request_id { id: 1 } "}) +
                          capture_of({.uri = "/a", .milliseconds = 40, .id = "request_id { id: 2 } "}));
    EXPECT_THAT(diff({"--format=text", a.name(), b.name()}).out,
                AllOf(HasSubstr("\nslower  10.0 ms → 40.0 ms  +300 %  GET /a "),
                      HasSubstr("\nsame    10.0 ms                    GET /b ")));
}

TEST(DiffCaptures, compares_names_before_they_are_masked)
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

TEST(DiffCaptures, masks_keys_that_are_secrets_of_their_request)
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

TEST(DiffCaptures, fits_tables_into_the_width_of_a_terminal)
{
    TemporaryFile const a(capture_of(before));
    TemporaryFile const b(capture_of(after));
    auto const outcome =
        run({.arguments = {"diff", a.name(), b.name()}, .out = Sink::terminal, .terminal_columns = 20});
    EXPECT_THAT(outcome.out,
                HasSubstr("\nchange  route\nslower  GET /page\n"
                          "columns left out: duration, growth, requests, memory, statements, errors, status\n"));
}

} // namespace
} // namespace tarnwick::test::diff_captures_test
