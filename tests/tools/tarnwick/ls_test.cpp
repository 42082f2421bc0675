#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test::ls_test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

Outcome ls(std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), "ls");
    return run({.arguments = arguments}, input);
}

/// Returns the URIs that `ls` lists.
std::vector<std::string> uris(std::vector<std::string> arguments, std::string const &input)
{
    arguments.insert(arguments.end(), {"--columns=uri", "--format=csv"});
    auto const outcome = ls(arguments, input);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    std::istringstream lines(outcome.out);
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);)
        found.push_back(line.substr(0, line.size() - 1));
    EXPECT_THAT(found, testing::Contains("uri"));
    found.erase(found.begin());
    return found;
}

std::string start(std::uint64_t id, std::string const &method, std::string const &uri)
{
    return delimited(rpc_php_frame_of("request_id { id: " + std::to_string(id) +
                                      " } timestamp { seconds: 1700000000 } " + "rinit { request { text_0: '" + method +
                                      "' text_1: '" + uri + "' } }"));
}

std::string end(std::uint64_t id, int status, int milliseconds, std::int64_t memory)
{
    return delimited(rpc_php_frame_of(
        "request_id { id: " + std::to_string(id) + " } rshutdown { response { status: " + std::to_string(status) +
        " } duration { seconds: " + std::to_string(milliseconds / 1000) + " nanos: " +
        std::to_string(milliseconds % 1000 * 1'000'000) + " } memory { value_1: " + std::to_string(memory) + " } }"));
}

std::string const three_requests = start(3, "GET", "/slow") + start(1, "POST", "/fast") + end(1, 500, 20, 2'000'000) +
                                   end(3, 200, 1500, 3'000'000) + start(2, "GET", "/lost");

TEST(Ls, prints_a_table_for_people)
{
    EXPECT_EQ(ls({"--format=text"}, three_requests).out,
              R"( @  start (UTC)              method  uri    status  duration   memory  errors  events  statements
@1  2023-11-14 22:13:20.000  GET     /slow     200    1.50 s  3.00 MB       0       0           0
@2  2023-11-14 22:13:20.000  POST    /fast     500   20.0 ms  2.00 MB       0       0           0
@3  2023-11-14 22:13:20.000  GET     /lost       -         -        -       0       0           0
)");
}

TEST(Ls, leaves_out_columns_on_a_narrow_terminal)
{
    TemporaryFile const file(three_requests);
    auto const at = [&](std::uint16_t width, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"ls", file.name()});
        return run({.arguments = arguments, .out = Sink::terminal, .terminal_columns = width}).out;
    };
    EXPECT_EQ(at(20, {}), " @  uri    duration\n"
                          "@1  /slow    1.50 s\n"
                          "@2  /fast   20.0 ms\n"
                          "@3  /lost         -\n"
                          "columns left out: start (UTC), method, status, memory, errors, events, statements\n");
    EXPECT_EQ(at(80, {"--top=1"}), " @  method  uri    status  duration   memory  errors  events  statements\n"
                                   "@1  GET     /slow     200    1.50 s  3.00 MB       0       0           0\n"
                                   "columns left out: start (UTC)\n");
    EXPECT_EQ(at(200, {"--top=1"}), ls({"--format=text", "--top=1"}, three_requests).out);
    EXPECT_EQ(at(20, {"--top=1", "--columns=start,uri"}), "start (UTC)        …\n2023-11-14 22:13:20…\n")
        << "columns that were chosen are not left out";
}

TEST(Ls, prints_a_table_on_a_terminal_and_json_lines_elsewhere)
{
    TemporaryFile const file(three_requests);
    EXPECT_THAT(run({.arguments = {"ls", file.name()}, .out = Sink::terminal}).out, StartsWith(" @  start (UTC)  "));
    EXPECT_THAT(ls({file.name()}).out,
                StartsWith(R"({"request_id":3,"dialects":["rpc"],"start":{"seconds":1700000000,)"));
}

TEST(Ls, prints_ids_as_strings_on_demand)
{
    EXPECT_EQ(ls({"--ids=string", "--columns=request_id,number"}, three_requests).out,
              "{\"request_id\":\"3\",\"number\":1}\n{\"request_id\":\"1\",\"number\":2}\n"
              "{\"request_id\":\"2\",\"number\":3}\n");
}

TEST(Ls, prints_csv_with_the_names_of_json)
{
    EXPECT_EQ(ls({"--format=csv"}, start(7, "GET", "/a,b?\"c\"") + end(7, 200, 1, 5)).out,
              "request_id,dialects,start,method,uri,status,duration,memory,errors,events,statements,complete,number\r\n"
              "7,rpc,2023-11-14T22:13:20.000000000Z,GET,\"/a,b?\"\"c\"\"\",200,0.001000000,5,0,0,0,true,1\r\n");
}

TEST(Ls, prints_an_empty_cell_of_csv_for_an_absent_value)
{
    EXPECT_EQ(ls({"--format=csv", "--columns=uri,status,start"}, end(7, 200, 1, 5)).out,
              "uri,status,start\r\n,200,\r\n");
}

TEST(Ls, prints_the_chosen_columns_in_their_order)
{
    EXPECT_EQ(ls({"--columns=uri,status", "--columns", "number"}, three_requests).out,
              R"({"uri":"/slow","status":200,"number":1}
{"uri":"/fast","status":500,"number":2}
{"uri":"/lost","status":null,"number":3}
)");
}

TEST(Ls, chooses_requests_that_fulfil_every_condition)
{
    EXPECT_THAT(uris({"--where=status>=500"}, three_requests), ElementsAre("/fast"));
    EXPECT_THAT(uris({"--where=duration>200ms"}, three_requests), ElementsAre("/slow"));
    EXPECT_THAT(uris({"--where=memory<=2MB", "--where=method=POST"}, three_requests), ElementsAre("/fast"));
    EXPECT_THAT(uris({"--where=memory<=2MB", "--where=method=GET"}, three_requests), IsEmpty());
    EXPECT_THAT(uris({"--where=!complete"}, three_requests), ElementsAre("/lost"));
    EXPECT_THAT(uris({"--where=!status"}, three_requests), ElementsAre("/lost"));
    EXPECT_THAT(uris({"--where=uri~^/s"}, three_requests), ElementsAre("/slow"));
    EXPECT_THAT(uris({"--where=start>=2023-11-15"}, three_requests), IsEmpty());
    EXPECT_THAT(uris({"--request=1", "--request=2"}, three_requests), ElementsAre("/fast", "/lost"));
    EXPECT_THAT(uris({"--dialect=protobuf"}, three_requests), IsEmpty());
}

TEST(Ls, sorts_by_a_column_and_places_absent_values_last)
{
    EXPECT_THAT(uris({"--sort=duration"}, three_requests), ElementsAre("/fast", "/slow", "/lost"));
    EXPECT_THAT(uris({"--sort=duration:desc"}, three_requests), ElementsAre("/slow", "/fast", "/lost"));
    EXPECT_THAT(uris({"--sort=uri:asc"}, three_requests), ElementsAre("/fast", "/lost", "/slow"));
    EXPECT_THAT(uris({"--sort=method"}, three_requests), ElementsAre("/slow", "/lost", "/fast"));
    EXPECT_THAT(uris({"--sort=complete"}, three_requests), ElementsAre("/lost", "/slow", "/fast"));
}

TEST(Ls, prints_only_the_first_requests)
{
    EXPECT_THAT(uris({"--top=2"}, three_requests), ElementsAre("/slow", "/fast"));
    EXPECT_THAT(uris({"--top=1", "--sort=status:desc"}, three_requests), ElementsAre("/fast"));
    EXPECT_THAT(uris({"--top=0"}, three_requests), IsEmpty());
    EXPECT_THAT(uris({"--top=9"}, three_requests), ElementsAre("/slow", "/fast", "/lost"));
}

TEST(Ls, sorts_many_requests_and_keeps_the_first)
{
    std::string input;
    for (int i = 0; i < 5000; ++i)
        input += start(static_cast<std::uint64_t>(i), "GET", "/" + std::to_string(i)) +
                 end(static_cast<std::uint64_t>(i), 200, (i * 7) % 5000 / 10, i);
    EXPECT_THAT(uris({"--sort=memory:desc", "--top=3"}, input), ElementsAre("/4999", "/4998", "/4997"));
}

TEST(Ls, reports_ids_that_no_request_has)
{
    auto const input = start(5, "GET", "/a") + start(7, "GET", "/b");
    auto const outcome = ls({"--request=7", "--request=1", "--columns=uri", "--format=csv"}, input);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "uri\r\n/b\r\n");
    EXPECT_EQ(outcome.err, "tarnwick: no request has the id 1; the ids of requests are 5, 7\n");
    EXPECT_EQ(ls({"--request=7", "--where=uri=/a"}, input).status, 0);
    EXPECT_THAT(ls({"--request=7"}).err, EndsWith("\ntarnwick: no request is in the captures\n"));
    EXPECT_EQ(ls({"--request=7", "--request=1", "--top=1"}, input).status, 0);
}

TEST(Ls, widens_columns_after_a_thousand_rows)
{
    std::string input;
    for (std::uint64_t i = 0; i < 1001; ++i)
        input += start(i, "GET", "/" + std::to_string(i == 1000 ? 1'000'000'000 : i));
    auto const out = ls({"--format=text", "--columns=uri,method"}, input).out;
    EXPECT_THAT(out, StartsWith("uri   method\n/0    GET\n"));
    EXPECT_THAT(out, EndsWith("/999  GET\n/1000000000  GET\n"));
    EXPECT_EQ(std::ranges::count(out, '\n'), 1002);
}

TEST(Ls, masks_secrets_in_a_query_except_in_json_lines)
{
    auto const input = start(1, "GET", "/a?token=topsecret1&page=2");
    std::string const masked = "/a?token=[masked]&page=2";
    EXPECT_THAT(ls({"--format=text"}, input).out, HasSubstr(masked));
    EXPECT_THAT(ls({"--format=csv"}, input).out, HasSubstr(masked));
    EXPECT_THAT(ls({"--format=jsonl", "--mask=default"}, input).out, HasSubstr(masked));
    EXPECT_THAT(ls({"--format=jsonl"}, input).out, HasSubstr("token=topsecret1"));
    EXPECT_THAT(ls({"--format=text", "--mask=none"}, input).out, HasSubstr("token=topsecret1"));
    EXPECT_THAT(ls({"--format=csv", "--mask=page"}, input).out, HasSubstr("/a?token=[masked]&page=[masked]"));
    EXPECT_THAT(ls({"--format=csv", "--where=uri~topsecret"}, input).out, HasSubstr(masked));
}

TEST(Ls, escapes_text_in_the_table)
{
    EXPECT_THAT(ls({"--format=text"}, start(1, "G\\033[31m", "/\\n\\342\\200\\256")).out,
                HasSubstr(R"(G\x1b[31m  /\n\u202e)"));
}

TEST(Ls, escapes_csv_on_a_terminal_only)
{
    TemporaryFile const file(start(1, "GET", "/a\\033[2J"));
    std::vector<std::string> const arguments{"ls", "--format=csv", "--columns=uri", file.name()};
    EXPECT_THAT(run({.arguments = arguments, .out = Sink::terminal}).out, HasSubstr("/a\\x1b[2J"));
    EXPECT_THAT(run({.arguments = arguments}).out, HasSubstr("/a\x1b[2J"));
}

TEST(Ls, reads_several_captures_as_one)
{
    TemporaryFile const first(start(7, "GET", "/a"));
    TemporaryFile const second(end(7, 200, 1, 1) + start(7, "GET", "/b"));
    EXPECT_THAT(uris({first.name(), second.name(), "--where=status"}, ""), ElementsAre("/a"));
    EXPECT_THAT(uris({first.name(), second.name()}, ""), ElementsAre("/a", "/b"));
}

TEST(Ls, continues_after_a_fault_and_reports_it)
{
    Frame broken;
    broken.set_rpc_php("\xff");
    auto const outcome = ls({"--columns=uri"}, start(1, "GET", "/a") + delimited(broken) + start(2, "GET", "/b"));
    EXPECT_EQ(outcome.out, "{\"uri\":\"/a\"}\n{\"uri\":\"/b\"}\n");
    EXPECT_THAT(outcome.err, HasSubstr("the report is not a valid tarnwick.rpc.php.v1.NotifyRequest"));
    EXPECT_EQ(outcome.status, 1);
}

} // namespace
} // namespace tarnwick::test::ls_test
