#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::statements_test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

Outcome statements(std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), "statements");
    return run({.arguments = arguments}, input);
}

/// Returns the lines of these columns, as CSV without the names.
std::vector<std::string> rows(std::string const &columns, std::string const &input,
                              std::vector<std::string> arguments = {})
{
    arguments.insert(arguments.end(), {"--format=csv", "--columns=" + columns});
    auto const outcome = statements(arguments, input);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    std::istringstream lines(outcome.out);
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);)
        found.push_back(line.substr(0, line.size() - 1));
    EXPECT_THAT(found, testing::Contains(columns));
    found.erase(found.begin());
    return found;
}

/// A query as textproto of either dialect.
std::string query(std::string const &text, int milliseconds = 0, std::string const &more = {})
{
    return fmt::format("queries {{ text: \"{}\" time {{ nanos: {} }} {} }} ", text, milliseconds * 1'000'000, more);
}

/// A stack trace of the rpc dialect.
std::string called_at(std::vector<std::string> const &files)
{
    std::string frames;
    for (auto const &file : files)
        frames += fmt::format("frames {{ function {{ name: 'f' location {{ file: '{}' line: 7 }} }} }} ", file);
    return "stack_trace { " + frames + "}";
}

std::string repeated(std::string const &text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

std::string rpc(std::uint64_t id, std::string const &queries)
{
    Frame frame;
    frame.set_rpc_glimmet(wire<rpc::glimmet::v1::NotifyRequest>(
        fmt::format("request_id {{ id: {} }} sql_queries {{ {} }}", id, queries)));
    return delimited(frame);
}

std::string protobuf(std::uint64_t id, std::string const &queries)
{
    Frame frame;
    frame.set_request_id(id);
    frame.set_sql_queries(wire<pelorin::protobuf::Glimmet::SqlQueries>(queries));
    return delimited(frame);
}

std::string start(std::uint64_t id)
{
    return delimited(rpc_php_frame_of(fmt::format("request_id {{ id: {} }} rinit {{ }}", id)));
}

std::string const two_requests =
    rpc(7, query("SELECT a FROM t WHERE b = 1", 2, called_at({"/app/vendor/orm.php", "/app/list.php"})) +
               query("SELECT a FROM t WHERE b = 'x'", 5, called_at({"/app/show.php"})) +
               query("UPDATE t SET a = 1", 1, "error { message: 'locked' }")) +
    rpc(8, query("SELECT a /* list */ FROM t WHERE b = -2", 3));

TEST(Statements, prints_a_table_for_people)
{
    EXPECT_EQ(statements({"--format=text"}, two_requests + rpc(9, repeated(query("DELETE FROM t", 1), 12))).out,
              R"(  total  count  slowest  N+1  call site   statement
12.0 ms     12  1.00 ms  12x  -           DELETE FROM t
10.0 ms      3  5.00 ms    -  list.php:7  SELECT a FROM t WHERE b = ?
1.00 ms      1  1.00 ms    -  -           UPDATE t SET a = ?
)");
}

TEST(Statements, fits_the_table_into_the_width_of_the_terminal)
{
    TemporaryFile const file(two_requests);
    EXPECT_EQ(run({.arguments = {"statements", file.name()}, .out = Sink::terminal, .terminal_columns = 20}).out,
              "  total  statement\n10.0 ms  SELEC…b = ?\n1.00 ms  UPDAT…a = ?\n"
              "columns left out: count, slowest, N+1, call site\n");
}

TEST(Statements, prints_json_lines)
{
    EXPECT_EQ(statements({}, two_requests).out,
              R"({"statement":"SELECT a FROM t WHERE b = ?","word":"SELECT","count":3,"requests":2,"per_request":1,)"
              R"("n_plus_one":false,"errors":0,"total":{"seconds":0,"nanos":10000000},)"
              R"("average":{"seconds":0,"nanos":3333333},"slowest":{"seconds":0,"nanos":5000000},"slowest_request":7,)"
              R"("call_site":"/app/list.php:7"})"
              "\n"
              R"({"statement":"UPDATE t SET a = ?","word":"UPDATE","count":1,"requests":1,"per_request":1,)"
              R"("n_plus_one":false,"errors":1,"total":{"seconds":0,"nanos":1000000},)"
              R"("average":{"seconds":0,"nanos":1000000},"slowest":{"seconds":0,"nanos":1000000},"slowest_request":7,)"
              R"("call_site":null})"
              "\n");
}

TEST(Statements, prints_csv_with_the_names_of_json)
{
    EXPECT_EQ(statements({"--format=csv"}, rpc(1, query("INSERT INTO t (a, b) VALUES (1, 2)", 3))).out,
              "statement,word,count,requests,per_request,n_plus_one,errors,total,average,slowest,slowest_request,"
              "call_site\r\n"
              "\"INSERT INTO t(a, b) VALUES (?...)\",INSERT,1,1,1,false,0,0.003000000,0.003000000,0.003000000,1,\r\n");
}

TEST(Statements, counts_requests_and_the_most_in_one_request_from_one_call_site)
{
    auto const at_a = query("SELECT 1", 0, called_at({"/a.php"}));
    auto const at_b = query("SELECT 2", 0, called_at({"/b.php"}));
    auto const input = rpc(1, repeated(at_a, 4) + repeated(at_b, 5)) + rpc(2, repeated(at_a, 3)) + rpc(1, at_a);
    EXPECT_THAT(rows("count,requests,per_request", input), ElementsAre("13,2,5"));
}

TEST(Statements, suspects_an_n_plus_one_problem_after_ten_repeats)
{
    struct Case {
        char const *name;
        std::string input;
        char const *n_plus_one;
    };
    auto const at_a = query("SELECT a FROM t WHERE b = 1", 0, called_at({"/a.php"}));
    auto const at_b = query("SELECT a FROM t WHERE b = 2", 0, called_at({"/b.php"}));
    Case const cases[] = {
        {"nine", rpc(1, repeated(at_a, 9)), "false"},
        {"ten", rpc(1, repeated(at_a, 10)), "true"},
        {"ten in several reports", rpc(1, repeated(at_a, 5)) + rpc(1, repeated(at_a, 5)), "true"},
        {"ten without call sites", rpc(1, repeated(query("select 1"), 10)), "true"},
        {"from two call sites", rpc(1, repeated(at_a, 9) + repeated(at_b, 9)), "false"},
        {"in two requests", rpc(1, repeated(at_a, 9)) + rpc(2, repeated(at_a, 9)), "false"},
        {"of one id used twice", start(1) + rpc(1, repeated(at_a, 9)) + start(1) + rpc(1, repeated(at_a, 9)), "false"},
        {"transactions", rpc(1, repeated(query("COMMIT"), 50)), "false"},
        {"settings", rpc(1, repeated(query("PRAGMA a = 1"), 50)), "false"},
        {"rows that are written", rpc(1, repeated(query("(INSERT INTO t VALUES (1))"), 10)), "true"},
    };
    for (auto const &[name, input, n_plus_one] : cases)
        EXPECT_THAT(rows("n_plus_one", input), ElementsAre(n_plus_one)) << name;
}

TEST(Statements, count_in_rpc_if_a_request_has_a_report_of_it)
{
    struct Case {
        char const *name;
        std::string input;
        std::vector<std::string> rows;
    };
    auto const of_rpc = rpc(1, query("rpc"));
    auto const of_protobuf = protobuf(1, query("protobuf") + query("protobuf"));
    Case const cases[] = {
        {"rpc first", of_rpc + of_protobuf, {"rpc,1,1"}},
        {"protobuf first", of_protobuf + of_rpc + of_rpc, {"rpc,2,1"}},
        {"only protobuf", of_protobuf, {"protobuf,2,1"}},
        {"an empty report", of_protobuf + rpc(1, ""), {}},
        {"another request", of_rpc + protobuf(2, query("protobuf")), {"rpc,1,1", "protobuf,1,1"}},
    };
    for (auto const &[name, input, expected] : cases)
        EXPECT_EQ(rows("statement,count,requests", input), expected) << name;
    EXPECT_THAT(rows("statement,count", of_rpc + of_protobuf, {"--dialect=protobuf"}), ElementsAre("protobuf,2"));
}

TEST(Statements, have_the_call_site_of_their_first_query_that_has_one)
{
    struct Case {
        char const *name;
        std::string input;
        std::string call_site;
    };
    auto const at = [](std::string const &trace) { return query("a", 0, trace); };
    Case const cases[] = {
        {"no trace", rpc(1, at("")), ""},
        {"empty trace", rpc(1, at("stack_trace { }")), ""},
        {"a function without a file", rpc(1, at("stack_trace { frames { function { name: 'f' } } }")), "f"},
        {"the second query", rpc(1, at("") + at(called_at({"/b.php"})) + at(called_at({"/a.php"}))), "/b.php:7"},
        {"the first report",
         rpc(1, at(called_at({"/b.php"}))) + rpc(2, at(called_at({"/a.php"}))) + rpc(1, at(called_at({"/c.php"}))),
         "/b.php:7"},
        {"a request that closes later",
         rpc(1, at(called_at({"/b.php"}))) + start(2) + rpc(2, at(called_at({"/a.php"}))) + start(2), "/b.php:7"},
        {"an application", rpc(1, at(called_at({"/a/vendor/b.php", "/a/c.php"}))), "/a/c.php:7"},
    };
    for (auto const &[name, input, call_site] : cases)
        EXPECT_THAT(rows("call_site", input), ElementsAre(call_site)) << name;
}

TEST(Statements, have_the_request_of_their_slowest_query)
{
    EXPECT_THAT(rows("slowest,slowest_request", rpc(1, query("a", 5)) + rpc(2, query("a", 9)) + rpc(3, query("a", 9))),
                ElementsAre("0.009000000,2"));
    EXPECT_EQ(
        run({.arguments = {"statements", "--ids=string", "--columns=slowest_request"}}, rpc(2, query("a", 9))).out,
        "{\"slowest_request\":\"2\"}\n");
}

TEST(Statements, add_times_that_are_not_normal)
{
    auto const timed = [](std::string const &time) { return "queries { text: 'a' time { " + time + " } } "; };
    auto const largest = timed("seconds: 9223372036854775807");
    EXPECT_THAT(rows("total,slowest", rpc(1, largest + largest)),
                ElementsAre("9223372036854775807.000000000,9223372036854775807.000000000"));
    EXPECT_THAT(rows("total,average", rpc(1, timed("nanos: 1500000000") + timed("nanos: -500000000"))),
                ElementsAre("1.000000000,0.500000000"));
    EXPECT_THAT(rows("total,slowest", rpc(1, timed("seconds: -2") + timed("seconds: -1"))),
                ElementsAre("-3.000000000,-1.000000000"));
}

TEST(Statements, are_chosen_sorted_and_cut)
{
    auto const chosen = [](std::vector<std::string> const &arguments) {
        return rows("statement", two_requests + rpc(9, query("COMMIT", 4)), arguments);
    };
    std::string const select = "SELECT a FROM t WHERE b = ?";
    std::string const update = "UPDATE t SET a = ?";
    EXPECT_THAT(chosen({}), ElementsAre(select, "COMMIT", update));
    EXPECT_THAT(chosen({"--request=8"}), ElementsAre(select));
    EXPECT_THAT(chosen({"--request=8", "--request=9"}), ElementsAre("COMMIT", select));
    EXPECT_THAT(chosen({"--where=errors>0"}), ElementsAre(update));
    EXPECT_THAT(chosen({"--where=word=SELECT"}), ElementsAre(select));
    EXPECT_THAT(chosen({"--where=statement~^U|^C"}), ElementsAre("COMMIT", update));
    EXPECT_THAT(chosen({"--where=call_site"}), ElementsAre(select));
    EXPECT_THAT(chosen({"--where=total>=4ms", "--where=requests=1"}), ElementsAre("COMMIT"));
    EXPECT_THAT(chosen({"--where=n_plus_one"}), IsEmpty());
    EXPECT_THAT(chosen({"--sort=total"}), ElementsAre(update, "COMMIT", select));
    EXPECT_THAT(chosen({"--sort=count:desc"}), ElementsAre(select, update, "COMMIT"));
    EXPECT_THAT(chosen({"--top=1"}), ElementsAre(select));
    EXPECT_THAT(chosen({"--top=1", "--sort=slowest"}), ElementsAre(update));
    EXPECT_THAT(chosen({"--top=0"}), IsEmpty());
}

TEST(Statements, accept_any_text)
{
    struct Case {
        char const *name;
        char const *text;
        char const *json; ///< the first two columns
    };
    Case const cases[] = {
        {"empty", "", R"({"statement":null,"word":null})"},
        {"only a comment", "-- a", R"({"statement":null,"word":null})"},
        {"a quote without end", "SELECT 'a", R"({"statement":"SELECT ?","word":"SELECT"})"},
        {"parentheses", "))((", R"({"statement":")) ((","word":null})"},
        {"another language", "select größe → 'ü'", R"({"statement":"select größe → ?","word":"SELECT"})"},
        {"not UTF-8", "a \\377 b", R"({"statement":"a � b","word":"A"})"},
        {"a change of direction", "a\\342\\200\\256b",
         "{\"statement\":\"a\342\200\256b\",\"word\":\"A\342\200\256B\"}"},
    };
    for (auto const &[name, text, json] : cases)
        EXPECT_EQ(statements({"--columns=statement,word"}, rpc(1, query(text))).out, std::string(json) + '\n') << name;
    EXPECT_THAT(statements({"--format=text"}, rpc(1, query(""))).out, EndsWith("  -          -\n"));
    EXPECT_THAT(statements({"--format=text"}, rpc(1, query("a\\342\\200\\256b"))).out, EndsWith("a\\u202eb\n"));
}

TEST(Statements, are_cut_but_remain_different)
{
    std::string columns;
    while (columns.size() < 4096)
        columns += "a_column, ";
    auto const input = rpc(1, query("SELECT " + columns + "a", 3) + query("SELECT " + columns + "b", 2) +
                                  query("SELECT " + columns + "a", 1));
    auto const found = rows("count,statement", input);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_THAT(found[0], StartsWith("2,\"SELECT a_column, "));
    EXPECT_THAT(found[1], StartsWith("1,\"SELECT a_column, "));
    for (auto const &line : found) {
        EXPECT_THAT(line, EndsWith("…\""));
        EXPECT_EQ(line.size(), 4096 + std::string("2,\"…\"").size());
    }
}

TEST(Statements, ignore_the_rest_of_a_text_of_more_than_1_mib)
{
    auto const long_insert = [](std::string const &row) {
        std::string text = "INSERT INTO t VALUES (1, 'x')";
        while (text.size() <= std::size_t{1} << 20)
            text += ", " + row;
        return text;
    };
    EXPECT_THAT(rows("statement,count",
                     rpc(1, query(long_insert("(2, 'y')") + " more") + query(long_insert("(100, 'yy')") + " other"))),
                ElementsAre("INSERT INTO t VALUES (?...),2"));
}

TEST(Statements, mask_secrets_in_names_of_files)
{
    auto const input = rpc(
        1, query("SELECT a FROM t WHERE password = 'hunter2xyz'", 1, called_at({"/app/index.php?token=topsecret1"})));
    auto const text = statements({"--format=text"}, input).out;
    EXPECT_THAT(text, HasSubstr("SELECT a FROM t WHERE password = ?\n"));
    EXPECT_THAT(text, HasSubstr("token=[masked]"));
    EXPECT_THAT(text, Not(HasSubstr("topsecret1")));
    EXPECT_THAT(statements({"--format=text", "--mask=none"}, input).out, HasSubstr("token=topsecret1"));
    EXPECT_THAT(statements({"--format=csv"}, input).out, Not(HasSubstr("topsecret1")));
    EXPECT_THAT(statements({"--format=jsonl"}, input).out, HasSubstr("token=topsecret1"));
    EXPECT_THAT(statements({"--format=jsonl", "--mask=default"}, input).out, Not(HasSubstr("topsecret1")));
}

TEST(Statements, of_a_capture_without_statements_are_none)
{
    EXPECT_EQ(statements({"--format=jsonl"}, start(1)).out, "");
    EXPECT_EQ(statements({"--format=text"}, start(1)).out, "total  count  slowest  N+1  call site  statement\n");
    EXPECT_EQ(statements({"--format=text"}, start(1)).status, 0);
}

TEST(Statements, continue_after_a_fault_and_report_it)
{
    Frame broken;
    broken.set_rpc_glimmet("\xff");
    auto const outcome =
        statements({"--columns=statement,count"}, rpc(1, query("a")) + delimited(broken) + rpc(2, query("a")));
    EXPECT_EQ(outcome.out, "{\"statement\":\"a\",\"count\":2}\n");
    EXPECT_THAT(outcome.err, HasSubstr("the report is not a valid tarnwick.rpc.glimmet.v1.NotifyRequest"));
    EXPECT_EQ(outcome.status, 1);
}

TEST(Statements, of_several_captures_are_counted_together)
{
    TemporaryFile const first(rpc(1, query("a = 1")));
    TemporaryFile const second(rpc(2, query("a = 2")));
    EXPECT_THAT(rows("statement,count,requests", "", {first.name(), second.name()}), ElementsAre("a = ?,2,2"));
}

TEST(Statements, of_real_captures_are_counted_as_ls_counts_them)
{
    for (std::string const name : {"adminer", "errors", "mediawiki", "stations"}) {
        auto const file = fmt::format("{}/{}.tnw", TARNWICK_CAPTURES, name);
        auto const sum = [](std::string const &csv) {
            std::istringstream lines(csv);
            std::uint64_t total = 0;
            std::string line;
            for (std::getline(lines, line); std::getline(lines, line);)
                total += std::stoull(line);
            return total;
        };
        auto const expected = sum(run({.arguments = {"ls", "--format=csv", "--columns=statements", file}}).out);
        EXPECT_EQ(sum(statements({"--format=csv", "--columns=count", file}).out), expected) << name;
        EXPECT_EQ(expected > 0, name != "errors");
    }
}

} // namespace
} // namespace tarnwick::test::statements_test
