#include "print/request_page.h"

#include "print/output.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"

#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarnwick::program::request_page_test {
namespace {

using test::delimited;
using test::Frame;
using test::rpc_php_frame_of;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

Frame php(std::string const &report, std::int64_t second = 1'700'000'000)
{
    return rpc_php_frame_of("request_id { id: 7 } timestamp { seconds: " + std::to_string(second) + " } " + report);
}

Frame event(std::string const &report)
{
    Frame frame;
    frame.set_rpc_monitor(test::wire<rpc::monitor::v1::NotifyRequest>(
        "request_id { id: 7 } timestamp { seconds: 1700000001 nanos: 500000000 } " + report));
    return frame;
}

Frame profile(std::string const &report)
{
    Frame frame;
    frame.set_rpc_glimmet(test::wire<rpc::glimmet::v1::NotifyRequest>("request_id { id: 7 } " + report));
    return frame;
}

Frame start(std::string const &more = {})
{
    return php("rinit { request { text_0: 'GET' text_1: '/page' } " + more + " }");
}

Frame end(std::string const &more = {})
{
    return php("rshutdown { response { status: 200 } duration { nanos: 20000000 } memory { value_1: 2000000 } " + more +
               " }");
}

/// Returns the page of the last request of these frames.
std::string page_of(std::vector<Frame> const &frames, RequestPageStyle const &style = {.masks = Masks(MaskRules())})
{
    std::string capture;
    for (auto const &frame : frames)
        capture += delimited(frame);
    test::TemporaryFile const file(capture);
    test::MemoryFile const nowhere;
    Output output(nowhere.descriptor());
    RereadableCaptures const captures({file.name()});
    auto const search = find_request(captures, {RequestName::Kind::last, 0}, {}, output);
    EXPECT_TRUE(search.request.has_value());
    return request_page(search.request.value(), style);
}

/// The same from its third line on.
std::string sections(std::vector<Frame> const &frames, RequestPageStyle const &style = {.masks = Masks(MaskRules())})
{
    auto const page = page_of(frames, style);
    return page.substr(page.find('\n', page.find('\n') + 1) + 1);
}

std::string const location = "location { file: '/app/a.php' line: 3 }";

std::string call(std::string const &name, std::string const &file, int line)
{
    return "frames { function { name: '" + name + "' location { file: '" + file + "' line: " + std::to_string(line) +
           " } } } ";
}

TEST(RequestPage, fits_the_width_of_a_terminal)
{
    auto const page = [](std::size_t width) {
        return sections({start(),
                         php("error { error { message: 'm' type { number: 2 } stack_trace { " +
                             call("render", "/var/www/application/pages/list.php", 123) + "} } }"),
                         profile("functions { functions { name: 'Application\\\\Pages\\\\ListOfPages::render' stats { "
                                 "count: 2 time_first { nanos: 1000000 } } "
                                 "location { file: '/var/www/application/pages/list.php' line: 12 } } }"),
                         end()},
                        {.width = width, .masks = Masks(MaskRules())});
    };
    EXPECT_THAT(page(200), AllOf(HasSubstr("            render called at /var/www/application/pages/list.php:123\n"),
                                 HasSubstr("  time_first                        time_second  count  function\n")));
    EXPECT_THAT(page(78), HasSubstr("\n  time_first  time_second  count  function\n")) << "the bars are left out first";
    EXPECT_THAT(page(78),
                HasSubstr("\n     1.00 ms         0 ns      2  Applicatio…es::render  /var/www/a…ist.php:12\n"));
    EXPECT_THAT(page(40), AllOf(HasSubstr("\n      render called at…ages/list.php:123\n"),
                                HasSubstr("\n  columns left out: time_second, count\n")));
    EXPECT_THAT(page(20),
                AllOf(HasSubstr("\n   render c….php:123\n"), HasSubstr("\n  columns left out:\n  time_first,")));
}

TEST(RequestPage, begins_with_the_request_line_and_the_origin)
{
    EXPECT_EQ(page_of({start("info { version { major: 8 minor: 4 patch: 1 } }"), end()}),
              "GET /page  200  20.0 ms  2.00 MB\n"
              "  @1, id 7, rpc, started 2023-11-14 22:13:20.000 UTC, PHP 8.4.1\n");
    EXPECT_EQ(page_of({start()}), "GET /page\n"
                                  "  @1, id 7, rpc, started 2023-11-14 22:13:20.000 UTC, PHP 0.0.0\n"
                                  "  incomplete: no report of the end\n");
    EXPECT_EQ(page_of({end()}), "a request without a start  200  20.0 ms  2.00 MB\n"
                                "  @1, id 7, rpc\n"
                                "  incomplete: no report of the start\n");
    EXPECT_EQ(
        page_of({php("rinit { request { text_0: 'GET' text_1: '/p?token=abcdefgh&n=1' } }"), end()}).substr(0, 24),
        "GET /p?token=[masked]&n=");
}

TEST(RequestPage, prints_errors_and_events_in_their_order)
{
    EXPECT_EQ(sections({start(), event("text: 'tick' slow_request { duration { seconds: 2 } }"),
                        php("error { error { message: 'm' type { name: 'E_WARNING' number: 2 } " + location + " } }",
                            1'700'000'002),
                        event("text: 'E_WARNING' php_error { error { message: 'm' type { name: 'E_WARNING' } " +
                              location + " } }"),
                        php("error { exception { exception_name: 'Oops' message: 'n' } }", 1'600'000'000),
                        event("high_memory_usage { usage: 5 }"), event("custom { text_0: 'a' text_1: 'b' }"),
                        event("slow_function_exec { function { name: 'f' } duration { nanos: 1000000 } }"),
                        event("function_error { function { name: 'f' } }"), event(""), end()}),
              R"(
Errors and events (9)
    1.50 s  event: slow request  2.00 s  "tick"
    2.00 s  error  E_WARNING  "m"
            at /app/a.php:3
    1.50 s  event: PHP error  the same
         -  exception  Oops  "n"
    1.50 s  event: high memory usage  5
    1.50 s  event: custom event  "a"  "b"
    1.50 s  event: slow function  f  1.00 ms
    1.50 s  event: function error  f
    1.50 s  event: unknown  
)");
}

TEST(RequestPage, prints_the_first_call_that_is_not_of_a_library)
{
    auto const error = [](std::string const &trace) {
        return php("error { error { message: 'm' type { number: 2 } " + location + " stack_trace { " + trace + "} } }");
    };
    auto const calls =
        call("Lib::run", "/app/vendor/lib.php", 9) + call("load", "/app/b.php", 4) + call("main", "/app/index.php", 1);
    EXPECT_THAT(sections({start(), error(calls)}),
                HasSubstr("            at /app/a.php:3\n            load called at /app/b.php:4\n"));
    EXPECT_THAT(sections({start(), error(calls)}, {.all = true}),
                HasSubstr("            at /app/a.php:3\n"
                          "            Lib::run called at /app/vendor/lib.php:9\n"
                          "            load called at /app/b.php:4\n"
                          "            main called at /app/index.php:1\n"));
    EXPECT_THAT(sections({start(), error(call("f", "/app/a.php", 3))}),
                HasSubstr("\"m\"\n            f called at /app/a.php:3\n"));
}

TEST(RequestPage, prints_the_slowest_functions_with_bars)
{
    std::string functions;
    for (int i = 1; i <= 12; ++i)
        functions += "functions { name: 'f" + std::to_string(i) +
                     "' stats { time_first { nanos: " + std::to_string(i * 1'000'000) + " } count: 1 } } ";
    auto const text = sections({start(), profile("functions { " + functions + "}")});
    EXPECT_THAT(text, HasSubstr(R"(
Functions (12)
  time_first                        time_second  count  function
     12.0 ms  ████████████████████         0 ns      1  f12
     11.0 ms  ██████████████████▍          0 ns      1  f11
)"));
    EXPECT_THAT(text, HasSubstr("f3\n  and 2 more\n"));
    EXPECT_THAT(sections({start(), profile("functions { " + functions + "}")}, {.all = true}), HasSubstr("f1\n"));
}

TEST(RequestPage, groups_statements_and_marks_those_in_a_loop)
{
    auto const query = [](std::string const &text, int milliseconds) {
        return "queries { text: '" + text + "' time { nanos: " + std::to_string(milliseconds) +
               "000000 } stack_trace { " + call("find", "/app/models.php", 7) + "} } ";
    };
    std::string queries = query("UPDATE t SET a = 5", 4) + query("COMMIT", 9) +
                          "queries { text: 'DELETE FROM u' error { message: 'no such table: u' } } ";
    for (int i = 0; i < 12; ++i)
        queries += query("SELECT * FROM t WHERE id = " + std::to_string(i), i == 3 ? 7 : 1);
    EXPECT_EQ(sections({start(), end(), profile("sql_queries { " + queries + "}")}), R"(
Statements (15, 4 different)
  slowest    total  count  N+1  call site     statement
  9.00 ms  9.00 ms      1    -  models.php:7  COMMIT
  7.00 ms  18.0 ms     12  12x  models.php:7  SELECT * FROM t WHERE id = ?
  4.00 ms  4.00 ms      1    -  models.php:7  UPDATE t SET a = ?
     0 ns     0 ns      1    -  -             DELETE FROM u
  DELETE failed: "no such table: u"
)");
}

TEST(RequestPage, escapes_and_masks_the_first_word_of_a_failed_statement)
{
    auto const text = sections({php("rinit { request { headers { elements { string_key: 'Cookie' value { "
                                    "string_value: 'sid=secret12345678' } } } } }"),
                                end(),
                                profile("sql_queries { queries { text: '\302\23331m\342\200\256' error { } } "
                                        "queries { text: 'secret12345678 a' error { } } }")});
    EXPECT_THAT(text, HasSubstr("  \\x9b31M\\u202e failed: \"\"\n  a statement failed: \"\"\n"));
    EXPECT_THAT(text, Not(HasSubstr("12345678")));
}

TEST(RequestPage, prints_an_error_after_another_one_with_the_same_start)
{
    auto const error = [](char last) {
        return php("error { error { message: '" + std::string(300, 'x') + last + "' type { number: 2 } } }");
    };
    auto const text = sections({start(), error('a'), error('b')});
    EXPECT_THAT(text, Not(HasSubstr("the same")));
}

std::string array(std::string const &name, std::string const &elements)
{
    return "superglobals { elements { string_key: '" + name + "' value { array_value { " + elements + " } } } }";
}

std::string element(std::string const &key, std::string const &value)
{
    return "elements { string_key: '" + key + "' value { " + value + " } } ";
}

TEST(RequestPage, prints_what_changed_in_superglobals)
{
    std::vector const frames{
        start(array("_SESSION", element("n", "long_value: 1") + element("same", "long_value: 2") +
                                    element("gone", "long_value: 3") + element("password", "string_value: 'old'"))),
        end(array("_SESSION", element("n", "long_value: 2") + element("same", "long_value: 2") +
                                  element("more", "array_value { elements { long_key: 0 value { string_value: 'x' } } "
                                                  "elements { long_key: 1 value { double_value: 1.5 } } }") +
                                  element("gone", "") + element("password", "string_value: 'new'")))};
    std::string const changed = R"(
Changed superglobals (4)
  _SESSION["n"] = 2, was 1
  _SESSION["more"] = [0 => "x", 1 => 1.5], new
  _SESSION["gone"] = undefined, was 3
  _SESSION["password"] = "[masked]", was "[masked]"
)";
    EXPECT_EQ(sections(frames), changed);
    EXPECT_EQ(sections(frames, {.all = true, .masks = Masks(MaskRules())}), changed + R"(
Superglobals at the start (4)
  _SESSION["n"] = 1
  _SESSION["same"] = 2
  _SESSION["gone"] = 3
  _SESSION["password"] = "[masked]"
)");
}

TEST(RequestPage, prints_headers_as_they_are_sent)
{
    auto const text =
        sections({php("rinit { request { headers { " + element("Accept", "string_value: '*/*'") +
                      element("Cookie", "string_value: 'sid=12345678'") + element("odd", "") + "} } }"),
                  php("rshutdown { response { headers { " + element("Set-Cookie", "string_value: 'sid=12345678'") +
                      element("X", "string_value: '12345678'") + "} } }")});
    EXPECT_THAT(text, HasSubstr("\nRequest headers (3)\n  Accept: */*\n  Cookie: [masked]\n  odd\n"));
    EXPECT_THAT(text, HasSubstr("\nResponse headers (2)\n  Set-Cookie: [masked]\n  X: [masked]\n"));
}

TEST(RequestPage, cuts_bodies_after_1000_bytes)
{
    auto const body = [](std::string const &text, RequestPageStyle const &style) {
        return sections({php("rinit { request { post_data { text_0: '" + text + "' text_1: 'a/b' } } }"), end()},
                        style);
    };
    EXPECT_EQ(body("x=1&password=secret", {.masks = Masks(MaskRules())}),
              "\nRequest body\n  text_0: x=1&password=[masked]\n  text_1: a/b\n");
    EXPECT_EQ(body("one\\ntwo\\033", {}),
              "\nRequest body\n  text_0 (8 bytes):\n    one\n    two\\x1b\n  text_1: a/b\n");
    // The last character of the part that is printed has two bytes.
    auto const text = std::string(999, 'x') + "éy";
    EXPECT_EQ(body(text, {}), "\nRequest body\n  text_0 (1002 bytes):\n    " + std::string(999, 'x') +
                                  "\n    and 3 more bytes\n  text_1: a/b\n");
    EXPECT_THAT(body(text, {.all = true}), HasSubstr("éy\n"));
}

TEST(RequestPage, prints_values_of_storage_only_on_demand)
{
    auto const frame = profile("storage { name: 'cache' entries { name: 'k' values: 'one' values: 'two' } }");
    EXPECT_EQ(sections({start(), end(), frame}), "\nStorage (1)\n  cache: 1 entry\n");
    EXPECT_EQ(sections({start(), end(), frame}, {.all = true}),
              "\nStorage (1)\n  cache: 1 entry\n    k: [\"one\", \"two\"]\n");
    EXPECT_EQ(sections({start(), end(), frame}, {.all = true, .masks = Masks(MaskRules())}),
              "\nStorage (1)\n  cache: 1 entry\n    k: [\"[masked]\", \"[masked]\"]\n");
}

} // namespace
} // namespace tarnwick::program::request_page_test
