#include "capture/captures.h"
#include "capture/record_feed.h"
#include "database/request_store.h"
#include "print/output.h"
#include "requests/whole_request.h"
#include "support/table.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/database.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"
#include "tools/tarnwick/support/reports.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tarnwick::test::export_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Outcome export_to(DatabaseFile const &file, std::string const &input, std::vector<std::string> const &options = {})
{
    std::vector<std::string> arguments{"export", "-o", file.name()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run({.arguments = arguments}, input);
}

std::vector<std::string> capture_names()
{
    std::vector<std::string> names;
    for (auto const &entry : std::filesystem::directory_iterator(TARNWICK_CAPTURES)) {
        if (entry.path().extension() == ".tnw")
            names.push_back(entry.path().string());
    }
    std::ranges::sort(names);
    return names;
}

std::string reports(std::uint64_t id, std::vector<Report> const &all)
{
    std::string frames;
    for (auto const &report : all)
        frames += delimited(frame_of(id, report));
    return frames;
}

Report start_at(int second, std::string const &more = {})
{
    return {"rpc_php", fmt::format("timestamp {{ seconds: {} }} rinit {{ {} }}", second, more)};
}
Report end_with(int status)
{
    return {"rpc_php", fmt::format("rshutdown {{ response {{ status: {} }} }}", status)};
}
Report error(std::string const &message)
{
    return {"rpc_php", fmt::format(R"(error {{ error {{ message: "{}" }} }})", message)};
}

/// The value of one column after the export of a request.
struct ValueCase {
    char const *name;
    std::uint64_t id;
    Report report;
    char const *sql;
    char const *value;
};

class ExportValue : public TableTest<ValueCase> {};

TEST_P(ExportValue, is_stored)
{
    DatabaseFile const file;
    auto const &[name, id, report, sql, value] = GetParam();
    auto const outcome = export_to(file, reports(id, {report}));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(sql_rows(file.name(), sql), ElementsAre(value));
}

std::string superglobal(std::string const &value)
{
    return R"(superglobals { elements { string_key: "_SESSION" value { array_value { elements { string_key: "a" value { )" +
           value + " } } } } } }";
}

auto const *const of_superglobal = "SELECT kind || ' ' || typeof(value) || ' ' || quote(value) FROM superglobals";

ValueCase const value_cases[] = {
    {"id_in_range", 7, start_at(1), "SELECT quote(request_id) FROM requests", "'7'"},
    {"id_of_64_bits", UINT64_MAX, start_at(1), "SELECT quote(request_id) FROM requests", "'18446744073709551615'"},
    {"id_found_by_a_text", UINT64_MAX, start_at(1),
     "SELECT count(*) FROM requests WHERE request_id = '18446744073709551615'", "1"},
    {"id_found_by_a_number", 7, start_at(1), "SELECT count(*) FROM requests WHERE request_id = 7", "1"},
    {"start_in_nanoseconds",
     1,
     {"rpc_php", "timestamp { seconds: 1795266305 nanos: 394228001 } rinit {}"},
     "SELECT start || ' ' || start_utc FROM requests",
     "1795266305394228001 2026-11-21 13:05:05"},
    {"start_beyond_64_bits_of_nanoseconds",
     1,
     {"rpc_php", "timestamp { seconds: 10000000000 } rinit {}"},
     "SELECT typeof(start) || ' ' || start FROM requests",
     "real 1.0e+19"},
    {"text_with_nul", 1, error(R"(a\000b)"), "SELECT typeof(message) || ' ' || hex(message) FROM errors",
     "blob 610062"},
    {"text_that_is_empty", 1, error(""), "SELECT quote(message) FROM errors", "''"},
    {"bytes_that_are_not_utf8", 1, start_at(1, superglobal(R"(string_value: "\377")")), of_superglobal,
     "string blob X'FF'"},
    {"surrogates_in_utf8", 1, start_at(1, superglobal(R"(string_value: "\355\240\200")")), of_superglobal,
     "string blob X'EDA080'"},
    {"string", 1, start_at(1, superglobal(R"(string_value: "12")")), of_superglobal, "string text '12'"},
    {"long", 1, start_at(1, superglobal("long_value: -9223372036854775808")), of_superglobal,
     "long integer -9223372036854775808"},
    {"double", 1, start_at(1, superglobal("double_value: 0.5")), of_superglobal, "double real 0.5"},
    {"double_nan", 1, start_at(1, superglobal("double_value: nan")), of_superglobal, "double text 'NaN'"},
    {"bool", 1, start_at(1, superglobal("bool_value: true")), of_superglobal, "bool integer 1"},
    {"null", 1, start_at(1, superglobal("null_value: NULL_VALUE")), of_superglobal, "null null NULL"},
    {"json", 1, start_at(1, superglobal(R"(json_value: "{\"a\":1}")")), of_superglobal, R"(json text '{"a":1}')"},
    {"array_of_an_array", 1, start_at(1, superglobal(R"(array_value { elements { long_key: 5 value { array_value { } } }
         elements { string_key: "b" value { long_value: 2 } } elements { value { null_value: NULL_VALUE } } })")),
     of_superglobal, R"(array text '{"5":{},"b":2,"":null}')"},
    {"key_that_is_not_utf8", 1,
     start_at(1, superglobal(R"(array_value { elements { string_key: "\377" value { long_value: 2 } } })")),
     of_superglobal, "array text '{\"\xEF\xBF\xBD\":2}'"},
    {"path_in_json", 1,
     start_at(1, superglobal(R"(array_value { elements { string_key: "b" value { long_value: 2 } } })")),
     "SELECT value ->> '$.b' FROM superglobals", "2"},
    {"key_that_is_a_number", 1, start_at(1, R"(superglobals { elements { string_key: "_GET" value { array_value {
         elements { long_key: 3 value { string_value: "x" } } } } } })"),
     "SELECT name || ' ' || quote(key) FROM superglobals", "_GET 3"},
    {"route", 1, start_at(1, R"(request { text_0: "GET" text_1: "/users/42?token=x" })"),
     "SELECT method || ' ' || uri || ' ' || route FROM requests", "GET /users/42?token=x /users/{id}?token"},
    {"statement",
     1,
     {"rpc_glimmet", R"(sql_queries { queries { text: "SELECT a FROM t WHERE b = 'x'" time { nanos: 5 }
         error { message: "locked" }
         stack_trace { frames { function { name: "f" location { file: "/a.php" line: 7 } } } } } })"},
     "SELECT statement || ' ' || word || ' ' || time || ' ' || error || ' ' || call_site FROM statements",
     "SELECT a FROM t WHERE b = ? SELECT 5 locked /a.php:7"},
    {"frame",
     1,
     {"rpc_glimmet", R"(sql_queries { queries { text: "a" stack_trace { frames { function { name: "f"
         location { file: "/a.php" line: 7 } arguments { elements { long_key: 0 value { long_value: 1 } } } } } } } })"},
     R"(SELECT owner || owner_position || function || file || line || args FROM frames)",
     R"(statement1f/a.php7{"0":1})"},
    {"connection_of_the_rpc_dialect",
     1,
     {"rpc_glimmet", R"(sql_queries { connections { id: 3 name: "main" } queries { connection_id: 3 } })"},
     "SELECT connection || name FROM connections JOIN statements USING (request, connection)",
     "3main"},
    {"storage_without_entries",
     1,
     {"rpc_glimmet", R"(storage { name: "cache" })"},
     "SELECT name || quote(entry) || quote(value) FROM storage",
     "cacheNULLNULL"},
};
INSTANTIATE_TEST_SUITE_P(Of, ExportValue, rows(value_cases), by_name);

/// What a second export does with a request.
struct AgainCase {
    char const *name;
    std::vector<Report> first;
    std::vector<Report> second;
    char const *counts;  ///< that the second export prints
    char const *content; ///< start, status and errors of all requests
};

class ExportAgain : public TableTest<AgainCase> {};

TEST_P(ExportAgain, adds_only_what_is_new)
{
    DatabaseFile const file;
    auto const &[name, first, second, counts, content] = GetParam();
    EXPECT_EQ(export_to(file, reports(1, first)).out, "requests added: 1, replaced: 0, unchanged: 0\n");
    EXPECT_EQ(export_to(file, reports(1, second)).out, std::string("requests ") + counts + "\n");
    EXPECT_THAT(sql_rows(file.name(), "SELECT group_concat((start / 1000000000) || ' ' || coalesce(status, '-') || ' ' "
                                      "|| errors, ', ') FROM requests"),
                ElementsAre(content));
    EXPECT_THAT(sql_rows(file.name(), "SELECT sum(errors) - (SELECT count(*) FROM errors) FROM requests"),
                ElementsAre("0"));
}

AgainCase const again_cases[] = {
    {"nothing_new",
     {start_at(5), end_with(200)},
     {start_at(5), end_with(200)},
     "added: 0, replaced: 0, unchanged: 1",
     "5 200 0"},
    {"another_start",
     {start_at(5), end_with(200)},
     {start_at(6), end_with(404)},
     "added: 1, replaced: 0, unchanged: 0",
     "5 200 0, 6 404 0"},
    {"capture_that_has_grown",
     {start_at(5), error("a")},
     {start_at(5), error("a"), error("b"), end_with(500)},
     "added: 0, replaced: 1, unchanged: 0",
     "5 500 2"},
    {"part_of_a_capture",
     {start_at(5), error("a"), end_with(500)},
     {start_at(5), error("a")},
     "added: 0, replaced: 0, unchanged: 1",
     "5 500 1"},
    {"id_that_is_used_twice",
     {start_at(5), end_with(200)},
     {start_at(5), end_with(200), start_at(6), end_with(500)},
     "added: 1, replaced: 0, unchanged: 1",
     "5 200 0, 6 500 0"},
};
INSTANTIATE_TEST_SUITE_P(Of, ExportAgain, rows(again_cases), by_name);

TEST(Export, keeps_one_request_without_a_start_for_each_id)
{
    DatabaseFile const file;
    auto const input = reports(1, {error("a")}) + reports(2, {error("b")});
    EXPECT_EQ(export_to(file, input).out, "requests added: 2, replaced: 0, unchanged: 0\n");
    EXPECT_EQ(export_to(file, input + reports(2, {error("c")})).out, "requests added: 0, replaced: 1, unchanged: 1\n");
    EXPECT_THAT(
        sql_rows(file.name(), "SELECT request_id, message FROM errors JOIN requests USING (request) ORDER BY 1, 2"),
        ElementsAre("1|a", "2|b", "2|c"));
}

TEST(Export, prefers_the_rpc_dialect_of_each_kind_of_record)
{
    auto const protobuf_error = Report{"error", R"(message: "protobuf" number: 1)"};
    for (auto const &all : {std::vector<Report>{start_at(1), error("rpc"), protobuf_error},
                            std::vector<Report>{protobuf_error, start_at(1), error("rpc")}}) {
        DatabaseFile const file;
        export_to(file, reports(1, all));
        EXPECT_THAT(sql_rows(file.name(), "SELECT message FROM errors"), ElementsAre("rpc"));
        EXPECT_THAT(sql_rows(file.name(), "SELECT dialects, errors FROM requests"), ElementsAre("rpc+protobuf|1"));
    }
    DatabaseFile const file;
    export_to(file, reports(1, {start_at(1), protobuf_error}));
    EXPECT_THAT(sql_rows(file.name(), "SELECT message FROM errors"), ElementsAre("protobuf"));
}

TEST(Export, chooses_requests_by_the_conditions_of_ls)
{
    DatabaseFile const file;
    auto const input = reports(1, {start_at(1), end_with(200)}) + reports(2, {start_at(2), end_with(500)});
    export_to(file, input, {"--where=status>=500"});
    EXPECT_THAT(sql_rows(file.name(), "SELECT request_id, number FROM requests"), ElementsAre("2|2"));
}

TEST(Export, adds_the_first_requests_of_an_order)
{
    DatabaseFile const file;
    auto const input = reports(1, {start_at(1), end_with(200)}) + reports(2, {start_at(2), end_with(500)});
    EXPECT_EQ(export_to(file, input, {"--sort=status:desc", "--top=1"}).out,
              "requests added: 1, replaced: 0, unchanged: 0\n");
    EXPECT_THAT(sql_rows(file.name(), "SELECT request_id, number FROM requests"), ElementsAre("2|2"));
}

TEST(Export, adds_the_same_captures_once)
{
    DatabaseFile const file;
    auto const names = capture_names();
    EXPECT_EQ(export_to(file, {}, names).out, "requests added: 157, replaced: 0, unchanged: 0\n");
    auto const rows = all_rows(file.name());
    EXPECT_EQ(rows.front(), "ok");
    EXPECT_GT(rows.size(), 10'000U);
    EXPECT_EQ(export_to(file, {}, names).out, "requests added: 0, replaced: 0, unchanged: 157\n");
    EXPECT_EQ(all_rows(file.name()), rows);
}

TEST(Export, of_half_a_capture_is_completed_by_the_whole)
{
    auto const whole = content_of(TARNWICK_CAPTURES "/errors.tnw");
    DatabaseFile const twice;
    EXPECT_EQ(export_to(twice, whole.substr(0, whole.size() / 2)).status, 1);
    export_to(twice, whole);
    DatabaseFile const once;
    export_to(once, whole);
    EXPECT_EQ(all_rows(twice.name()), all_rows(once.name()));
}

/// A capture with this many requests.
std::string many_requests(std::uint64_t count)
{
    std::string all;
    for (std::uint64_t id = 1; id <= count; ++id)
        all += reports(id, {start_at(5), error("a"), end_with(200)});
    return all;
}

/// The memory that an export of requests with a different statement of 500 kB each took, in kB.
std::int64_t memory_for_statements(std::uint64_t count)
{
    std::string capture;
    for (std::uint64_t id = 1; id <= count; ++id)
        capture += reports(
            1, {start_at(static_cast<int>(id)),
                {"rpc_glimmet", fmt::format("sql_queries {{ queries {{ text: \"SELECT '{:0>500000}'\" }} }}", id)}});
    DatabaseFile const file;
    Program program({.arguments = {"export", "-o", file.name()}});
    program.write(capture);
    auto const memory = program.memory("VmHWM");
    program.close_input();
    EXPECT_EQ(program.finish().out, fmt::format("requests added: {}, replaced: 0, unchanged: 0\n", count));
    return memory;
}

TEST(Export, keeps_no_large_statements_in_memory)
{
    EXPECT_LT(memory_for_statements(100), memory_for_statements(10) + 20'000);
}

TEST(Export, is_completed_after_the_end_of_the_process)
{
    constexpr std::uint64_t last = 1500;
    auto const capture = many_requests(2500);
    TemporaryFile const input(capture);
    DatabaseFile const file;
    auto const child = ::fork();
    if (child == 0) {
        using namespace program;
        RequestStore store(file.name(), {});
        std::uint64_t requests = 0;
        ReportChoice const all;
        WholeRequestSink sink(
            all,
            [&](WholeRequest const &request) {
                store.add(request);
                if (++requests == last)
                    ::_exit(0); // without the destructors, as if it was killed
            },
            false);
        RecordFeed feed(sink);
        Output output(STDOUT_FILENO);
        read_captures(capture_files({input.name()}), output,
                      [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); });
        sink.close_all();
        ::_exit(1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    EXPECT_THAT(sql_rows(file.name(), "PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_THAT(sql_rows(file.name(), "SELECT count(*) FROM requests"), ElementsAre("1000"));
    EXPECT_EQ(export_to(file, capture).out, "requests added: 1500, replaced: 0, unchanged: 1000\n");
    DatabaseFile const once;
    export_to(once, capture);
    EXPECT_EQ(all_rows(file.name()), all_rows(once.name()));
}

TEST(Export, leaves_a_valid_database_on_a_full_disk)
{
    DatabaseFile const file;
    auto const capture = many_requests(5000);
    auto const outcome = run({.arguments = {"export", "-o", file.name()}, .largest_file = 400'000}, capture);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "tarnwick: cannot write " + file.name() + ": File too large\n");
    EXPECT_THAT(sql_rows(file.name(), "PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_EQ(export_to(file, capture).status, 0);
    EXPECT_THAT(sql_rows(file.name(), "SELECT count(*) FROM requests"), ElementsAre("5000"));
    EXPECT_THAT(sql_rows(file.name(), "SELECT count(*) FROM errors"), ElementsAre("5000"));
}

TEST(Export, refuses_other_files)
{
    TemporaryFile const text("no database, but a text that is long enough to be one");
    auto const of_text = run({.arguments = {"export", "-o", text.name()}}, many_requests(1));
    EXPECT_EQ(of_text.status, 3);
    EXPECT_EQ(of_text.err, "tarnwick: cannot write " + text.name() + ": file is not a database\n");

    DatabaseFile const other;
    sqlite3 *database = nullptr;
    ASSERT_EQ(::sqlite3_open(other.name().c_str(), &database), SQLITE_OK);
    ASSERT_EQ(::sqlite3_exec(database, "CREATE TABLE requests (a)", nullptr, nullptr, nullptr), SQLITE_OK);
    ::sqlite3_close(database);
    auto const of_other = export_to(other, many_requests(1));
    EXPECT_EQ(of_other.status, 3);
    EXPECT_EQ(of_other.err, "tarnwick: " + other.name() + " is not a database of tarnwick export\n");
    EXPECT_THAT(sql_rows(other.name(), "SELECT count(*) FROM requests"), ElementsAre("0"));

    auto const of_folder = run({.arguments = {"export", "-o", "/no-such-folder/a.db"}}, many_requests(1));
    EXPECT_EQ(of_folder.status, 3);
    EXPECT_EQ(of_folder.err, "tarnwick: cannot write /no-such-folder/a.db: No such file or directory\n");
}

TEST(Export, refuses_other_masks_than_those_of_the_file)
{
    DatabaseFile const file;
    export_to(file, many_requests(1), {"--mask=default,b,a"});
    EXPECT_EQ(export_to(file, many_requests(2), {"--mask=a,b"}).status, 0);
    auto const outcome = export_to(file, many_requests(3));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err,
              "tarnwick: " + file.name() + " was written with --mask=default,a,b: use this option, or another file\n");
    EXPECT_THAT(sql_rows(file.name(), "SELECT count(*) FROM requests"), ElementsAre("2"));
}

TEST(Export, masks_with_the_secrets_of_later_records)
{
    auto const input = reports(1, {start_at(1, R"(request { text_1: "/reset/the-secret-1" })"),
                                   error("a the-secret-1"),
                                   {"rpc_php", R"(rshutdown { response { headers {
                        elements { string_key: "Set-Cookie" value { string_value: "a=the-secret-1" } } } } })"}});
    DatabaseFile const masked;
    export_to(masked, input, {"--mask=default"});
    EXPECT_THAT(sql_rows(masked.name(), "SELECT uri, route, message, value FROM requests JOIN errors USING (request) "
                                        "JOIN headers USING (request)"),
                ElementsAre("/reset/[masked]|/reset/[masked]|a [masked]|[masked]"));
    DatabaseFile const plain;
    export_to(plain, input);
    EXPECT_THAT(sql_rows(plain.name(), "SELECT uri, message FROM requests JOIN errors USING (request)"),
                ElementsAre("/reset/the-secret-1|a the-secret-1"));
}

TEST(Export, needs_a_file)
{
    EXPECT_THAT(run({.arguments = {"export"}}).err, HasSubstr("--output is required"));
    auto const outcome = run({.arguments = {"export", "-o", "-"}});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("tarnwick: --output: a database is a file\n"));
}

TEST(Export, reports_faults_of_captures)
{
    DatabaseFile const file;
    auto const outcome = export_to(file, many_requests(2) + "\x05");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("the file ends inside this frame"));
    EXPECT_EQ(outcome.out, "requests added: 2, replaced: 0, unchanged: 0\n");
}

} // namespace
} // namespace tarnwick::test::export_test
