#include "support/table.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::query_test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string request(std::uint64_t id, int status)
{
    return delimited(rpc_php_frame_of(
               fmt::format("request_id {{ id: {} }} timestamp {{ seconds: {} }} rinit {{ }}", id, id))) +
           delimited(rpc_php_frame_of(
               fmt::format("request_id {{ id: {} }} rshutdown {{ response {{ status: {} }} }}", id, status)));
}

Outcome query(std::string const &sql, std::vector<std::string> const &options = {})
{
    std::vector<std::string> arguments{"query", sql};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run({.arguments = arguments}, request(1, 200) + request(2, 500));
}

/// A query, the end of its only message, and its status.
struct FaultCase {
    char const *name;
    std::string_view sql;
    char const *message;
    // NOLINTNEXTLINE(readability-redundant-member-init): rows leave it out
    std::vector<std::string> options{};
    int status = 2;
};

class QueryFault : public TableTest<FaultCase> {};

TEST_P(QueryFault, is_reported_in_one_line)
{
    auto const &[name, sql, message, options, status] = GetParam();
    auto const outcome = query(std::string(sql), options);
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.err, std::string("tarnwick: ") + message + "\n");
    EXPECT_EQ(outcome.out, "");
}

auto const *const only_reads = "SQL: a query can only read, with SELECT";
auto const *const endless = "WITH RECURSIVE c (x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT count(*) FROM c";

FaultCase const fault_cases[] = {
    {"attach", "ATTACH 'other.db' AS other", only_reads},
    {"pragma", "PRAGMA user_version", only_reads},
    {"pragma_that_writes", "PRAGMA journal_mode = WAL", only_reads},
    {"pragma_as_a_table", "SELECT * FROM pragma_table_info('requests')", only_reads},
    {"insert", "INSERT INTO requests SELECT * FROM requests", only_reads},
    {"update", "UPDATE requests SET status = 1", only_reads},
    {"delete", "DELETE FROM requests", only_reads},
    {"delete_after_with", "WITH a AS (SELECT 1) DELETE FROM requests", only_reads},
    {"returning", "DELETE FROM requests RETURNING 1", only_reads},
    {"create_table", "CREATE TABLE a (b)", only_reads},
    {"create_temporary_table", "CREATE TEMP TABLE a (b)", only_reads},
    {"create_virtual_table", "CREATE VIRTUAL TABLE a USING fts5(b)", only_reads},
    {"create_view", "CREATE VIEW a AS SELECT 1", only_reads},
    {"drop", "DROP TABLE requests", only_reads},
    {"vacuum", "VACUUM INTO 'copy.db'", only_reads},
    {"begin", "BEGIN", only_reads},
    {"analyze", "ANALYZE", only_reads},
    {"reindex", "REINDEX", only_reads},
    {"load_extension", "SELECT load_extension('x')", only_reads},
    {"several_statements", "SELECT 1; SELECT 2", "SQL: only one statement is possible"},
    {"statement_after_another", "SELECT 1; DROP TABLE requests", only_reads},
    {"empty", "", "SQL: the query is empty"},
    {"comment", "-- nothing", "SQL: the query is empty"},
    {"no_statement", "SELEC 1", R"(SQL, line 1, column 1: near "SELEC": syntax error)"},
    {"unknown_column", "SELECT 1,\n  'ä', uril FROM requests", "SQL, line 2, column 8: no such column: uril"},
    {"unknown_table", "SELECT * FROM request", "SQL: no such table: request"},
    {"unknown_function", "SELECT readfile('/etc/passwd')", "SQL, line 1, column 8: no such function: readfile"},
    {"control_characters", "SELECT \"a\x1b[1m\"\"b\" FROM x", "SQL: no such table: x"},
    {"fault_of_a_value", "SELECT json_extract('{', '$')", "SQL: malformed JSON"},
    {"timeout", endless, "the query takes longer than --timeout", {"--timeout=10ms"}, 4},
    {"timeout_without_unit",
     "SELECT 1",
     "--timeout: '5' is not a length of time, such as 10s\nusage: tarnwick query "
     "[OPTION...] SQL [FILE...]\n       tarnwick query --tables\nUse --help for more information.",
     {"--timeout=5"}},
};
INSTANTIATE_TEST_SUITE_P(Of, QueryFault, rows(fault_cases), by_name);

/// A query that is permitted, and its output.
struct OutputCase {
    char const *name;
    std::string_view sql;
    std::vector<std::string> options;
    std::string_view out;
};

class QueryOutput : public TableTest<OutputCase> {};

TEST_P(QueryOutput, is_printed)
{
    auto const &[name, sql, options, out] = GetParam();
    auto const outcome = query(std::string(sql), options);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, out);
}

auto const *const values = R"sql(SELECT 1 AS a, -0.5 AS b, 'x "y", z' AS c, NULL AS d, x'ff' AS e)sql";

OutputCase const output_cases[] = {
    {"json_lines",
     values,
     {},
     "{\"a\":1,\"b\":-0.5,\"c\":\"x \\\"y\\\", z\",\"d\":null,\"e\":{\"base64\":\"/w==\"}}\n"},
    {"csv", values, {"--format=csv"}, "a,b,c,d,e\r\n1,-0.5,\"x \"\"y\"\", z\",,\xff\r\n"},
    {"table",
     "SELECT request_id, status FROM requests",
     {"--format=text"},
     "request_id  status\n1              200\n"
     "2              500\n"},
    {"escapes_in_a_table", "SELECT char(27) || 'a' AS \"b\x1b\"", {"--format=text"}, "b\\x1b\n\\x1ba\n"},
    {"table_without_rows", "SELECT uri, status FROM requests WHERE 0", {"--format=text"}, "uri  status\n"},
    {"no_rows", "SELECT 1 WHERE 0", {}, ""},
    {"columns_with_the_same_name", "SELECT 1 AS a, 2 AS a, 3 AS a", {}, "{\"a\":1,\"a:1\":2,\"a:2\":3}\n"},
    {"integers_of_64_bits", "SELECT 9223372036854775807 AS a", {}, "{\"a\":9223372036854775807}\n"},
    {"text_with_nul", "SELECT char(97, 0, 98) AS a", {}, "{\"a\":\"a\\u0000b\"}\n"},
    {"semicolon_and_comment", "SELECT 1 AS a; -- done", {}, "{\"a\":1}\n"},
    {"recursion",
     "WITH RECURSIVE c (x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 3) SELECT max(x) AS x FROM c",
     {},
     "{\"x\":3}\n"},
    {"functions_of_json", "SELECT value FROM json_each('[7]')", {}, "{\"value\":7}\n"},
    {"window_functions",
     "SELECT row_number() OVER (ORDER BY status DESC) AS n, status FROM requests LIMIT 1",
     {},
     "{\"n\":1,\"status\":500}\n"},
    {"conditions",
     "SELECT request_id, number FROM requests",
     {"--where=status>=500"},
     "{\"request_id\":\"2\",\"number\":2}\n"},
    {"long_timeout", "SELECT 1 AS a", {"--timeout=1h"}, "{\"a\":1}\n"},
    {"as_many_rows_as_permitted",
     "SELECT status FROM requests",
     {"--max-rows=2"},
     "{\"status\":200}\n{\"status\":500}\n"},
};
INSTANTIATE_TEST_SUITE_P(Of, QueryOutput, rows(output_cases), by_name);

TEST(Query, shortens_long_texts_on_a_narrow_terminal)
{
    auto const outcome = run({.arguments = {"query", "SELECT '/application/pages/list.php' AS file, 12345 AS n",
                                            TARNWICK_CAPTURES "/errors.tnw"},
                              .out = Sink::terminal,
                              .terminal_columns = 24});
    EXPECT_EQ(outcome.out, "file                   n\n/applica…list.php  12345\n");
}

TEST(Query, reports_rows_that_are_left_out)
{
    auto const outcome = query("SELECT status FROM requests", {"--max-rows=1"});
    EXPECT_EQ(outcome.out, "{\"status\":200}\n");
    EXPECT_EQ(outcome.err, "tarnwick: only the first 1 rows are printed (--max-rows)\n");
    EXPECT_EQ(outcome.status, 4);
}

TEST(Query, reports_its_fault_before_it_reads_captures)
{
    auto const outcome = run({.arguments = {"query", "SELECT a", "/no/such/file"}});
    EXPECT_EQ(outcome.err, "tarnwick: SQL, line 1, column 8: no such column: a\n");
}

TEST(Query, reports_faults_of_captures)
{
    auto const outcome = run({.arguments = {"query", "SELECT count(*) AS n FROM requests"}}, request(1, 200) + "\x05");
    EXPECT_EQ(outcome.out, "{\"n\":1}\n");
    EXPECT_THAT(outcome.err, HasSubstr("the file ends inside this frame"));
    EXPECT_EQ(outcome.status, 1);
}

TEST(Query, is_required)
{
    auto const outcome = run({.arguments = {"query"}});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, StartsWith("tarnwick: a query is required, such as 'SELECT count(*) FROM requests'\n"));
    EXPECT_EQ(run({.arguments = {"query", "--tables", "SELECT 1"}}).status, 2);
}

TEST(Query, leaves_no_file)
{
    std::string folder = testing::TempDir() + "tarnwick-XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    EXPECT_EQ(run({.arguments = {"query", "SELECT 1", TARNWICK_CAPTURES "/errors.tnw"},
                   .environment = {"SQLITE_TMPDIR=" + folder}})
                  .status,
              0);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
    std::filesystem::remove_all(folder);
}

TEST(Query, prints_tables_with_the_meaning_of_each_column)
{
    auto const outcome = run({.arguments = {"query", "--tables"}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, StartsWith("CREATE TABLE requests (\n    request INTEGER PRIMARY KEY, -- key"));
    std::set<std::string> tables;
    for (std::size_t at = 0; (at = outcome.out.find("CREATE TABLE ", at)) != std::string::npos;) {
        at += std::string_view("CREATE TABLE ").size();
        tables.insert(outcome.out.substr(at, outcome.out.find(' ', at) - at));
    }
    EXPECT_THAT(tables,
                testing::ElementsAre("bodies", "connections", "errors", "events", "frames", "functions", "headers",
                                     "requests", "statements", "storage", "superglobals", "transactions"));
}

/// Runs a command with all captures, and returns its lines in order.
std::vector<std::string> lines_for_captures(std::vector<std::string> arguments)
{
    for (std::string const name : {"adminer", "dokuwiki", "errors", "mediawiki", "stations", "wordpress"})
        arguments.push_back(fmt::format("{}/{}.tnw", TARNWICK_CAPTURES, name));
    auto const outcome = run({.arguments = arguments});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    std::vector<std::string> found;
    for (std::size_t at = 0, end = 0; (end = outcome.out.find("\r\n", at)) != std::string::npos; at = end + 2)
        found.push_back(outcome.out.substr(at, end - at));
    std::ranges::sort(found);
    return found;
}

TEST(Query, has_the_numbers_of_ls)
{
    auto const listed = lines_for_captures({"ls", "--format=csv", "--mask=none",
                                            "--columns=number,request_id,dialects,start,method,uri,status,duration,"
                                            "memory,errors,events,statements,complete"});
    EXPECT_EQ(listed.size(), 158U);
    auto const queried = lines_for_captures(
        {"query", "--format=csv", "--mask=none",
         "SELECT number, request_id, dialects, strftime('%Y-%m-%dT%H:%M:%S', start / 1000000000, 'unixepoch') || "
         "format('.%09dZ', start % 1000000000) AS start, method, uri, status, "
         "format('%d.%09d', duration / 1000000000, duration % 1000000000) AS duration, memory, errors, events, "
         "statements, iif(complete, 'true', 'false') AS complete FROM requests WHERE duration IS NOT NULL "
         "UNION ALL SELECT number, request_id, dialects, strftime('%Y-%m-%dT%H:%M:%S', start / 1000000000, "
         "'unixepoch') "
         "|| format('.%09dZ', start % 1000000000), method, uri, status, NULL, memory, errors, events, statements, "
         "'false' FROM requests WHERE duration IS NULL"});
    EXPECT_EQ(queried, listed);
}

TEST(Query, has_the_numbers_of_statements)
{
    auto const listed = lines_for_captures(
        {"statements", "--format=csv", "--mask=none", "--columns=statement,word,count,requests,errors,total"});
    EXPECT_GT(listed.size(), 100U);
    auto const queried = lines_for_captures(
        {"query", "--format=csv", "--mask=none",
         "SELECT statement, word, count(*) AS count, count(DISTINCT request) AS requests, count(error) AS errors, "
         "format('%d.%09d', sum(time) / 1000000000, sum(time) % 1000000000) AS total FROM statements GROUP BY "
         "statement"});
    EXPECT_EQ(queried, listed);
}

TEST(Query, finds_as_many_rows_as_requests_count)
{
    auto const found = lines_for_captures(
        {"query", "--format=csv",
         "SELECT sum(errors) = (SELECT count(*) FROM errors) AS errors, sum(events) = (SELECT count(*) FROM events) AS "
         "events, sum(statements) = (SELECT count(*) FROM statements) AS statements FROM requests"});
    EXPECT_EQ(found, (std::vector<std::string>{"1,1,1", "errors,events,statements"}));
}

} // namespace
} // namespace tarnwick::test::query_test
