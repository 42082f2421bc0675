#include "capture_commands.h"

#include "capture/report_parser.h"
#include "requests/column.h"
#include "requests/quantity.h"
#include "requests/request_columns.h"
#include "requests/statement_columns.h"
#include "requests/table_options.h"
#include "schema.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>
#include <unistd.h>

namespace tarnwick::program {
namespace {

void add_inspect(CLI::App &app, InspectOptions &options, InspectArguments &arguments, Command &command)
{
    auto &sub =
        add_command(app, "inspect", "Print the records of captures", "usage: tarnwick inspect [OPTION...] [FILE...]");
    add_files(sub, options.files);
    add_choice(sub, "--format", options.format,
               {{"auto", InspectOptions::Format::automatic},
                {"text", InspectOptions::Format::text},
                {"jsonl", InspectOptions::Format::jsonl}},
               "text, or one JSON object per line; auto (default): text on a terminal, jsonl otherwise");
    add_color(sub, options.color);
    add_mask(sub, options.mask, "only text is masked");
    add_json_style(sub, options.json_style);
    sub.add_flag("--all-records", options.all_records,
                 "print all records of the report's family, not only those that the report fills");
    sub.add_option("--record", arguments.records, "only records of this name (php.RInit or RInit); can be repeated")
        ->type_name("NAME")
        ->allow_extra_args(false);
    add_report_choice(sub, options.reports);
    sub.add_option("--where", arguments.conditions,
                   "only records whose field fulfils this, such as 'duration>200ms'; can be repeated")
        ->type_name("CONDITION")
        ->allow_extra_args(false);
    add_top(sub, options.top, "only the first N records");
    add_follow(sub, options.follow);
    sub.footer(fmt::format("Reports can nest messages up to {} deep. A PHP array takes 3 levels.\n\n{}",
                           max_report_depth, exit_statuses));
    sub.callback([&] {
        check_files(options.files);
        check_follow(options.follow, options.files);
        options.records = read_argument(arguments.conditions.empty() ? "--record" : "--where",
                                        [&] { return RecordChoice(arguments.records, arguments.conditions); });
        command = [&options] { return inspect(options); };
    });
}

/// Reads the columns that are separated by commas.
template <class Row>
std::vector<Column<Row> const *> read_columns(std::vector<std::string> const &names,
                                              std::span<Column<Row> const> columns)
{
    std::vector<Column<Row> const *> chosen;
    chosen.reserve(names.size());
    for (auto const &name : names) {
        auto const *const column =
            &read_argument("--columns", [&]() -> Column<Row> const & { return column_named(columns, name); });
        if (std::ranges::find(chosen, column) != chosen.end())
            throw CLI::ValidationError("--columns", fmt::format("'{}' is listed twice", name));
        chosen.push_back(column);
    }
    return chosen;
}

/// A command that prints a table.
template <class Row>
struct TableCommand {
    std::string name;
    std::string help;
    std::string rows;       ///< what the lines show
    std::string conditions; ///< examples
    std::span<Column<Row> const> columns;
    ExitStatus (*run)(TableOptions<Row> const &options);
    bool can_follow = false;
};

template <class Row>
void add_table_command(CLI::App &app, TableOptions<Row> &options, Command &command, TableCommand<Row> const &definition)
{
    CLI::App &sub = add_command(app, definition.name, definition.help,
                                fmt::format("usage: tarnwick {} [OPTION...] [FILE...]", definition.name));
    add_files(sub, options.files);
    add_choice(sub, "--format", options.format,
               {{"auto", TableFormat::automatic},
                {"text", TableFormat::text},
                {"jsonl", TableFormat::jsonl},
                {"csv", TableFormat::csv}},
               "a table, one JSON object per line, or CSV; auto (default): text on a terminal, jsonl otherwise");
    add_mask(sub, options.mask, "only text and CSV are masked");
    add_ids(sub, options.json_style);
    std::vector<std::string_view> names;
    for (auto const &column : definition.columns)
        names.push_back(column.name);
    sub.add_option_function<std::vector<std::string>>(
           "--columns",
           [&options, columns = definition.columns](std::vector<std::string> const &words) {
               options.columns = read_columns(words, columns);
           },
           "the columns and their order, separated by commas")
        ->type_name("COLUMNS")
        ->delimiter(',')
        ->allow_extra_args(false);
    add_report_choice(sub, options.reports);
    add_record_choice(sub, options.reports);
    add_conditions(
        sub, options.conditions, definition.columns,
        fmt::format("only {} whose column fulfils this, such as {}", definition.rows, definition.conditions));
    add_sort(sub, options.order, definition.columns, "order by a column; add :desc for the largest first");
    add_top(sub, options.order.top, fmt::format("only the first N {}", definition.rows));
    if (definition.can_follow)
        add_follow(sub, options.follow);
    sub.footer(fmt::format("Columns: {}\n\n{}", fmt::join(names, " "), exit_statuses));
    sub.callback([&options, &command, run = definition.run] {
        check_files(options.files);
        check_follow(options.follow, options.files);
        if (options.follow && options.order.column != nullptr)
            throw CLI::ValidationError("--sort needs all requests, and --follow prints each when it closes");
        command = [&options, run] { return run(options); };
    });
}

void add_show(CLI::App &app, ShowOptions &options, Command &command)
{
    using Format = ShowOptions::Format;
    auto &sub = add_command(app, "show", "Print one request from start to end",
                            "usage: tarnwick show [OPTION...] REQUEST [FILE...]");
    sub.add_option_function<std::string>(
           "REQUEST",
           [&options](std::string const &text) {
               options.request = read_argument("REQUEST", [&] { return RequestName::read(text); });
           },
           "id of the request, its number from ls as @1, slowest or last")
        ->type_name("")
        ->required();
    add_files(sub, options.files);
    add_choice(sub, "--format", options.format,
               {{"auto", Format::automatic}, {"text", Format::text}, {"jsonl", Format::jsonl}},
               "text, or the records as JSON lines; auto (default): text on a terminal, jsonl otherwise");
    add_color(sub, options.color);
    add_mask(sub, options.mask, "only text is masked");
    add_json_style(sub, options.json_style);
    sub.add_flag("--all", options.all,
                 "print everything: whole lists and texts, chunks of code traces, and in text all records");
    add_dialect(sub, options.filter.reports);
    add_record_choice(sub, options.filter.reports);
    add_conditions(sub, options.filter.conditions, request_columns(),
                   "choose among requests whose column in ls fulfils this, such as 'uri~^/api'");
    sub.footer(exit_statuses);
    sub.callback([&] {
        check_files(options.files);
        command = [&options] { return show(options); };
    });
}

void read_places(std::vector<std::string> const &places, DiffOptions &options)
{
    if (places.size() != 2)
        throw CLI::ValidationError("two captures, or two requests as FILE:REQUEST, are required");
    options.a = RequestPlace::read(places.front());
    options.b = RequestPlace::read(places.back());
    if (options.a.request.has_value() != options.b.request.has_value()) {
        bool const is_a = options.a.request.has_value();
        throw CLI::ValidationError(
            fmt::format("'{}' is a request and '{}' a capture: give two requests as FILE:REQUEST, or two captures",
                        places[is_a ? 0 : 1], places[is_a ? 1 : 0]));
    }
    check_files({options.a.file, options.b.file});
}

void add_diff(CLI::App &app, DiffOptions &options, DiffArguments &arguments, Command &command)
{
    using Format = DiffOptions::Format;
    auto &sub =
        add_command(app, "diff", "Compare two requests, two captures, or the dialects of requests",
                    "usage: tarnwick diff [OPTION...] A B\n       tarnwick diff --dialects [OPTION...] [FILE...]");
    sub.add_option(
           "FILE", arguments.places,
           "two captures, whose requests are compared by method and route, or two requests as FILE:ID, FILE:@N, "
           "FILE:slowest or FILE:last; with --dialects, captures; - is standard input")
        ->type_name("");
    auto const *dialects =
        sub.add_flag("--dialects", "compare the two dialects of each request, to find mistakes of the sender");
    add_choice(sub, "--format", options.format,
               {{"auto", Format::automatic}, {"text", Format::text}, {"jsonl", Format::jsonl}},
               "tables, or one JSON object for each difference; auto (default): text on a terminal, jsonl otherwise");
    add_mask(sub, options.mask, "only text is masked");
    add_ids(sub, options.json_style);
    sub.add_option("--fail-if", arguments.limits,
                   "exit with status 4 if a mean grows from A to B by more than this, such as 'duration>20%' or "
                   "'memory>10MB'; can be repeated")
        ->type_name("NAME>LIMIT")
        ->allow_extra_args(false);
    add_request_choice(sub, arguments.dialects.filter.reports.requests);
    add_dialect(sub, options.filter.reports);
    add_record_choice(sub, options.filter.reports);
    add_conditions(sub, options.filter.conditions, request_columns(),
                   "compare only requests whose column in ls fulfils this, such as 'uri~^/api'");
    add_top(sub, options.top, "only the first N differences of a kind");
    sub.footer(
        fmt::format("Names of limits: {}\n\n{}", fmt::join(measures, " "),
                    "Exit status: 0 success, 1 a capture has a fault, or the dialects disagree or cannot be compared,\n"
                    "2 wrong usage, 3 a file cannot be read or written, 4 a limit is exceeded or cannot be checked."));
    sub.callback([&, dialects] {
        if (dialects->count() > 0) {
            if (!options.filter.reports.dialects.empty())
                throw CLI::ValidationError("--dialect", "not with --dialects, which compares both");
            if (!arguments.limits.empty())
                throw CLI::ValidationError("--fail-if", "not with --dialects, which compares no durations");
            if (!arguments.places.empty())
                arguments.dialects.files = arguments.places;
            check_files(arguments.dialects.files);
            arguments.dialects.format = options.format;
            arguments.dialects.mask = options.mask;
            arguments.dialects.json_style = options.json_style;
            arguments.dialects.filter.conditions = options.filter.conditions;
            arguments.dialects.filter.reports.records = options.filter.reports.records;
            arguments.dialects.top = options.top;
            command = [&arguments] { return diff_dialects(arguments.dialects); };
            return;
        }
        if (!arguments.dialects.filter.reports.requests.empty())
            throw CLI::ValidationError("--request", "only with --dialects; name two requests as FILE:ID");
        read_places(arguments.places, options);
        for (auto const &limit : arguments.limits)
            options.limits.push_back(read_argument("--fail-if", [&] { return GrowthLimit(limit); }));
        command = [&options] { return diff(options); };
    });
}

void add_schema(CLI::App &app, JsonStyle &style, Command &command)
{
    auto &sub = add_command(app, "schema", "Print the JSON Schema of the JSON lines of inspect",
                            "usage: tarnwick schema [OPTION...]");
    add_json_style(sub, style);
    sub.footer("Exit status: 0 success, 2 wrong usage, 3 the output cannot be written.");
    sub.callback([&] { command = [&style] { return schema(style); }; });
}

/// `what`: the file.
void add_output(CLI::App &sub, std::string &output, std::string_view what)
{
    sub.add_option("-o,--output", output,
                   fmt::format("file to create, {}; standard output if it is not given, or for -", what))
        ->type_name("FILE")
        ->take_last();
}

void add_report(CLI::App &app, ReportOptions &options, Command &command)
{
    auto &sub = add_command(app, "report", "Write a page in HTML to look at captures in a browser",
                            "usage: tarnwick report [OPTION...] [FILE...]");
    add_files(sub, options.files);
    add_output(sub, options.output, "such as report.html");
    add_mask(sub, options.mask, "the page is masked");
    add_request_filter(sub, options.filter);
    sub.footer(exit_statuses);
    sub.callback([&] {
        check_files(options.files);
        if (options.output == "-" && ::isatty(STDOUT_FILENO) != 0)
            throw CLI::ValidationError("cannot write a page to a terminal: use --output=FILE");
        command = [&options] { return report(options); };
    });
}

void add_recover(CLI::App &app, RecoverOptions &options, Command &command)
{
    auto &sub = add_command(app, "recover", "Copy the undamaged frames of damaged captures",
                            "usage: tarnwick recover [OPTION...] [FILE...]");
    add_files(sub, options.files);
    add_output(sub, options.output, "with the frames of all captures");
    sub.footer(exit_statuses);
    sub.callback([&] {
        check_files(options.files);
        if (options.output == "-" && ::isatty(STDOUT_FILENO) != 0)
            throw CLI::ValidationError("cannot write a capture to a terminal: use --output=FILE");
        command = [&options] { return recover(options); };
    });
}

void add_export(CLI::App &app, ExportOptions &options, Command &command)
{
    auto &sub = add_command(app, "export", "Add the requests of captures to a database",
                            "usage: tarnwick export [OPTION...] --output=DATABASE [FILE...]");
    add_files(sub, options.files);
    add_choice(sub, "--to", options.target, {{"sqlite", ExportOptions::Target::sqlite}},
               "what to write; sqlite (default): an SQLite database");
    sub.add_option("-o,--output", options.output, "the database, which is created if it does not exist")
        ->type_name("DATABASE")
        ->required()
        ->take_last();
    add_mask(sub, options.mask, "nothing is masked");
    add_request_filter(sub, options.filter);
    sub.footer(exit_statuses);
    sub.callback([&] {
        check_files(options.files);
        if (options.output.empty() || options.output == "-")
            throw CLI::ValidationError("--output", "a database is a file");
        command = [&options] { return export_requests(options); };
    });
}

std::chrono::nanoseconds read_timeout(std::string const &text)
{
    auto const span = read_span(text);
    constexpr long double longest = 366 * 24 * 3600e9L;
    if (!span || *span <= 0 || *span > longest)
        throw CLI::ValidationError("--timeout", fmt::format("'{}' is not a length of time, such as 10s", text));
    return std::chrono::nanoseconds(static_cast<std::int64_t>(*span));
}

void add_query(CLI::App &app, QueryOptions &options, std::vector<std::string> &words, Command &command)
{
    auto &sub = add_command(app, "query", "Run an SQL query on the requests of captures",
                            "usage: tarnwick query [OPTION...] SQL [FILE...]\n       tarnwick query --tables");
    sub.add_option("SQL", words,
                   "a SELECT statement of SQLite; then captures to read, or nats://HOST:PORT/STREAM; standard input if "
                   "none is given, or for -")
        ->type_name("[FILE...]");
    sub.add_flag("--tables", options.tables, "print the tables and the meaning of their columns, and exit");
    add_choice(sub, "--format", options.format,
               {{"auto", TableFormat::automatic},
                {"text", TableFormat::text},
                {"jsonl", TableFormat::jsonl},
                {"csv", TableFormat::csv}},
               "a table, one JSON object per line, or CSV; auto (default): text on a terminal, jsonl otherwise");
    add_mask(sub, options.mask, "only text and CSV are masked");
    add_request_filter(sub, options.filter);
    sub.add_option_function<std::string>(
           "--timeout", [&options](std::string const &text) { options.timeout = read_timeout(text); },
           "stop the query after this time, such as 10s, without the time for reading captures")
        ->type_name("TIME")
        ->take_last();
    add_count(sub, "--max-rows", options.max_rows, "print at most N rows");
    sub.footer("Exit status: 0 success, 1 a capture has a fault, 2 wrong usage or a fault of the query,\n"
               "3 a file cannot be read or written, 4 --timeout or --max-rows was reached.");
    sub.callback([&] {
        if (options.tables && !words.empty())
            throw CLI::ValidationError("--tables", "neither a query nor a file is possible");
        if (!options.tables && words.empty())
            throw CLI::ValidationError("a query is required, such as 'SELECT count(*) FROM requests'");
        if (!words.empty())
            options.sql = words.front();
        if (words.size() > 1)
            options.files.assign(words.begin() + 1, words.end());
        check_files(options.files);
        command = [&options] { return query(options); };
    });
}

} // namespace

void add_capture_commands(CLI::App &app, CaptureCommands &options, Command &command)
{
    add_inspect(app, options.inspect, options.inspect_arguments, command);
    add_table_command(app, options.ls, command,
                      {.name = "ls",
                       .help = "List the requests of captures",
                       .rows = "requests",
                       .conditions = "'status>=500' or 'uri~^/api'",
                       .columns = request_columns(),
                       .run = ls,
                       .can_follow = true});
    add_show(app, options.show, command);
    add_table_command(app, options.statements, command,
                      {.name = "statements",
                       .help = "List the SQL statements of captures",
                       .rows = "statements",
                       .conditions = "'word=SELECT' or 'total>100ms'",
                       .columns = statement_columns(),
                       .run = statements,
                       .can_follow = false});
    add_diff(app, options.diff, options.diff_arguments, command);
    add_report(app, options.report, command);
    add_export(app, options.export_options, command);
    add_query(app, options.query, options.query_words, command);
    add_recover(app, options.recover, command);
    add_schema(app, options.schema, command);
}

} // namespace tarnwick::program
