#include "command_line.h"

#include "capture/report_parser.h"
#include "completion.h"
#include "config_check.h"
#include "config_dump.h"
#include "config_explain.h"
#include "config_get.h"
#include "diff.h"
#include "diff_dialects.h"
#include "exit_status.h"
#include "inspect.h"
#include "ls.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "recover.h"
#include "requests/column.h"
#include "requests/request_columns.h"
#include "requests/statement_columns.h"
#include "requests/table_options.h"
#include "schema.h"
#include "show.h"
#include "standard_error.h"
#include "statements.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <QtCore/QLoggingCategory>
#include <QtCore/QString>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <optional>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

constexpr auto const *version_help = "Print the version and exit";

CLI::App &add_command(CLI::App &parent, std::string const &name, std::string const &help, std::string const &usage)
{
    auto *command = parent.add_subcommand(name, help);
    command->group("Commands");
    command->usage(usage);
    command->set_version_flag("--version", parent.version(), version_help);
    return *command;
}

/// The values of an option, as written and as stored.
template <class Enum>
using Choices = std::vector<std::pair<std::string, Enum>>;

/// Adds an option that takes one of several words.
template <class Enum>
void add_choice(CLI::App &app, std::string const &name, Enum &target, Choices<Enum> const &choices,
                std::string const &help)
{
    std::vector<std::string> words;
    for (auto const &[word, value] : choices)
        words.push_back(word);
    auto const set = [&target, name, choices, words](std::string const &argument) {
        for (auto const &[word, value] : choices) {
            if (argument == word) {
                target = value;
                return;
            }
        }
        throw CLI::ValidationError(name, fmt::format("'{}' is not one of {}", argument, fmt::join(words, ", ")));
    };
    app.add_option_function<std::string>(name, set, help)
        ->type_name(fmt::format("{}", fmt::join(words, "|")))
        ->take_last();
}

void add_color(CLI::App &app, Color &color)
{
    add_choice(app, "--color", color, {{"auto", Color::automatic}, {"always", Color::always}, {"never", Color::never}},
               "when to colour text; auto (default): on a terminal, unless NO_COLOR is set");
}

/// Sets what is masked from the argument of --mask.
void set_mask(MaskOptions &mask, std::string const &argument)
{
    mask = {.mode = argument == "none" ? MaskOptions::Mode::none : MaskOptions::Mode::on, .words = {}};
    if (argument == "none" || argument == "default")
        return;
    for (auto const &word : CLI::detail::split(argument, ',')) {
        if (word.empty() || word == "none")
            throw CLI::ValidationError(
                "--mask", fmt::format("'{}' is not default, none, or a list of words with commas between", argument));
        if (word != "default")
            mask.words.push_back(word);
    }
}

/// `default_help`: what is masked without the option.
void add_mask(CLI::App &app, MaskOptions &mask, std::string_view default_help)
{
    app.add_option_function<std::string>(
           "--mask", [&mask](std::string const &argument) { set_mask(mask, argument); },
           fmt::format("mask secrets (default), nothing (none), or also keys that contain WORD; if not given, {}",
                       default_help))
        ->type_name("default|none|WORD,...")
        ->take_last();
}

void add_json_style(CLI::App &app, JsonStyle &style)
{
    add_choice(app, "--ids", style.string_ids, {{"number", false}, {"string", true}},
               "in JSON, how to print ids, and integers beyond 2^53; number (default), or string for tools whose "
               "numbers are doubles");
    add_choice(
        app, "--values", style.plain_values, {{"typed", false}, {"plain", true}},
        "in JSON, how to print PHP values; typed (default): with their kinds; plain: arrays as objects or lists");
}

/// The command of the parsed command line, ready to run.
using Command = std::function<ExitStatus()>;

/// The options that choose reports, records and requests, as they are written.
struct ChoiceOptions {
    std::vector<std::string> records;
    std::vector<std::string> conditions;
    std::vector<std::string> columns;
    std::string sort;
};

/// Reports a wrong name or condition as wrong usage.
template <class Read>
decltype(auto) checked(std::string const &option, Read const &read)
{
    try {
        return read();
    } catch (std::invalid_argument const &error) {
        throw CLI::ValidationError(option, error.what());
    }
}

void add_files(CLI::App &app, std::vector<std::string> &files)
{
    app.add_option("FILE", files, "captures to read; standard input if none is given, or for -")->type_name("");
}

void check_files(std::vector<std::string> const &files)
{
    if (std::ranges::count(files, "-") > 1)
        throw CLI::ValidationError("standard input (-) can be read only once");
}

void add_follow(CLI::App &app, bool &follow)
{
    app.add_flag("--follow", follow, "continue to read FILE as it grows, until Ctrl-C");
}

void check_follow(bool follow, std::vector<std::string> const &files)
{
    if (follow && files.size() > 1)
        throw CLI::ValidationError("--follow reads one FILE");
}

void add_dialect(CLI::App &app, ReportChoice &reports)
{
    app.add_option_function<std::vector<std::string>>(
           "--dialect",
           [&reports](std::vector<std::string> const &arguments) {
               for (auto const &argument : arguments) {
                   if (argument != name_of(Dialect::rpc) && argument != name_of(Dialect::protobuf))
                       throw CLI::ValidationError("--dialect",
                                                  fmt::format("'{}' is not one of rpc, protobuf", argument));
                   reports.dialects.push_back(argument == name_of(Dialect::rpc) ? Dialect::rpc : Dialect::protobuf);
               }
           },
           "only reports of this dialect; can be repeated")
        ->type_name("rpc|protobuf")
        ->allow_extra_args(false);
}

void add_request_choice(CLI::App &app, std::vector<std::uint64_t> &requests)
{
    app.add_option_function<std::vector<std::string>>(
           "--request",
           [&requests](std::vector<std::string> const &arguments) {
               for (auto const &argument : arguments) {
                   std::uint64_t id = 0;
                   auto const *const end = argument.data() + argument.size();
                   if (auto const [last, fault] = std::from_chars(argument.data(), end, id);
                       fault != std::errc() || last != end)
                       throw CLI::ValidationError(
                           "--request",
                           fmt::format("'{}' is not a request id, a number from 0 to {}", argument, UINT64_MAX));
                   requests.push_back(id);
               }
           },
           "only the request with this id; can be repeated")
        ->type_name("ID")
        ->allow_extra_args(false);
}

void add_report_choice(CLI::App &app, ReportChoice &reports)
{
    add_request_choice(app, reports.requests);
    add_dialect(app, reports);
}
void add_conditions(CLI::App &app, std::vector<std::string> &conditions, std::string const &help)
{
    app.add_option("--where", conditions, help)->type_name("CONDITION")->allow_extra_args(false);
}

void add_top(CLI::App &app, std::optional<std::uint64_t> &top, std::string const &help)
{
    app.add_option("--top", top, help)->type_name("N")->take_last();
}

constexpr auto const *exit_statuses = "Exit status: 0 success, 1 a capture has a fault, 2 wrong usage,\n"
                                      "3 a file cannot be read or written.";

void add_inspect(CLI::App &app, InspectOptions &options, ChoiceOptions &choice, Command &command)
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
    sub.add_option("--record", choice.records, "only records of this name (php.RInit or RInit); can be repeated")
        ->type_name("NAME")
        ->allow_extra_args(false);
    add_report_choice(sub, options.reports);
    add_conditions(sub, choice.conditions,
                   "only records whose field fulfils this, such as 'duration>200ms'; can be repeated");
    add_top(sub, options.top, "only the first N records");
    add_follow(sub, options.follow);
    sub.footer(fmt::format("Reports can nest messages up to {} deep. A PHP array takes 3 levels.\n\n{}",
                           max_report_depth, exit_statuses));
    sub.callback([&] {
        check_files(options.files);
        check_follow(options.follow, options.files);
        options.records = checked(choice.conditions.empty() ? "--record" : "--where",
                                  [&] { return RecordChoice(choice.records, choice.conditions); });
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
    for (auto const &name : names)
        chosen.push_back(&checked("--columns", [&]() -> Column<Row> const & { return column_named(columns, name); }));
    return chosen;
}

/// Reads conditions on columns.
template <class Row>
std::vector<Condition> read_conditions(std::vector<std::string> const &texts, std::span<Column<Row> const> columns)
{
    std::vector<Condition> conditions;
    for (auto const &text : texts) {
        conditions.push_back(checked("--where", [&] {
            Condition condition(text);
            condition.set_type(column_named(columns, condition.field()).type);
            return condition;
        }));
    }
    return conditions;
}

template <class Row>
void read_sort(std::string const &argument, TableOptions<Row> &options, std::span<Column<Row> const> columns)
{
    auto const colon = argument.find(':');
    auto const direction = colon == std::string::npos ? "asc" : argument.substr(colon + 1);
    if (direction != "asc" && direction != "desc")
        throw CLI::ValidationError("--sort", fmt::format("'{}' is not one of asc, desc", direction));
    options.sort =
        &checked("--sort", [&]() -> Column<Row> const & { return column_named(columns, argument.substr(0, colon)); });
    options.is_descending = direction == "desc";
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
void add_table_command(CLI::App &app, TableOptions<Row> &options, ChoiceOptions &choice, Command &command,
                       TableCommand<Row> const &definition)
{
    auto &sub = add_command(app, definition.name, definition.help,
                            fmt::format("usage: tarnwick {} [OPTION...] [FILE...]", definition.name));
    add_files(sub, options.files);
    add_choice(sub, "--format", options.format,
               {{"auto", TableFormat::automatic},
                {"text", TableFormat::text},
                {"jsonl", TableFormat::jsonl},
                {"csv", TableFormat::csv}},
               "a table, one JSON object per line, or CSV; auto (default): text on a terminal, jsonl otherwise");
    add_mask(sub, options.mask, "only text and CSV are masked");
    std::vector<std::string_view> names;
    for (auto const &column : definition.columns)
        names.push_back(column.name);
    sub.add_option("--columns", choice.columns, "the columns and their order, separated by commas")
        ->type_name("COLUMNS")
        ->delimiter(',')
        ->allow_extra_args(false);
    add_report_choice(sub, options.reports);
    add_conditions(sub, choice.conditions,
                   fmt::format("only {} whose column fulfils this, such as {}; can be repeated", definition.rows,
                               definition.conditions));
    sub.add_option("--sort", choice.sort, "order by a column; add :desc for the largest first")
        ->type_name("COLUMN[:desc]")
        ->take_last();
    add_top(sub, options.top, fmt::format("only the first N {}", definition.rows));
    if (definition.can_follow)
        add_follow(sub, options.follow);
    sub.footer(fmt::format("Columns: {}\n\n{}", fmt::join(names, " "), exit_statuses));
    sub.callback([&options, &choice, &command, columns = definition.columns, run = definition.run] {
        check_files(options.files);
        check_follow(options.follow, options.files);
        if (options.follow && !choice.sort.empty())
            throw CLI::ValidationError("--sort needs all requests, and --follow prints each when it closes");
        options.columns = read_columns(choice.columns, columns);
        if (!choice.sort.empty())
            read_sort(choice.sort, options, columns);
        options.conditions = read_conditions(choice.conditions, columns);
        command = [&options, run] { return run(options); };
    });
}

void add_show(CLI::App &app, ShowOptions &options, ChoiceOptions &choice, Command &command)
{
    using Format = ShowOptions::Format;
    auto &sub = add_command(app, "show", "Print one request from start to end",
                            "usage: tarnwick show [OPTION...] REQUEST [FILE...]");
    sub.add_option_function<std::string>(
           "REQUEST",
           [&options](std::string const &text) {
               options.request = checked("REQUEST", [&] { return RequestName::read(text); });
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
    sub.add_flag("--all", options.all, "in text, leave nothing out: whole lists, texts and traces, all superglobals");
    add_dialect(sub, options.filter.reports);
    add_conditions(sub, choice.conditions,
                   "choose among requests whose column in ls fulfils this, such as 'uri~^/api'; can be repeated");
    sub.footer(exit_statuses);
    sub.callback([&] {
        check_files(options.files);
        options.filter.conditions = read_conditions(choice.conditions, request_columns());
        command = [&options] { return show(options); };
    });
}

struct DiffArguments {
    std::vector<std::string> places;
    std::vector<std::string> limits;
    DiffDialectsOptions dialects;
};

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
    sub.add_option("--fail-if", arguments.limits,
                   "exit with status 4 if a mean grows from A to B by more than this, such as 'duration>20%' or "
                   "'memory>10MB'; can be repeated")
        ->type_name("NAME>LIMIT")
        ->allow_extra_args(false);
    add_request_choice(sub, arguments.dialects.requests);
    sub.footer(
        fmt::format("Names of limits: {}\n\n{}", fmt::join(measures, " "),
                    "Exit status: 0 success, 1 a capture has a fault, or the dialects disagree or cannot be compared,\n"
                    "2 wrong usage, 3 a file cannot be read or written, 4 a limit is exceeded or cannot be checked."));
    sub.callback([&, dialects] {
        if (dialects->count() > 0) {
            if (!arguments.limits.empty())
                throw CLI::ValidationError("--fail-if", "not with --dialects, which compares no durations");
            if (!arguments.places.empty())
                arguments.dialects.files = arguments.places;
            check_files(arguments.dialects.files);
            arguments.dialects.format = options.format;
            arguments.dialects.mask = options.mask;
            command = [&arguments] { return diff_dialects(arguments.dialects); };
            return;
        }
        if (!arguments.dialects.requests.empty())
            throw CLI::ValidationError("--request", "only with --dialects; name two requests as FILE:ID");
        read_places(arguments.places, options);
        for (auto const &limit : arguments.limits)
            options.limits.push_back(checked("--fail-if", [&] { return GrowthLimit(limit); }));
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

void add_recover(CLI::App &app, RecoverOptions &options, Command &command)
{
    auto &sub = add_command(app, "recover", "Write the whole frames of damaged captures",
                            "usage: tarnwick recover [OPTION...] [FILE...]");
    add_files(sub, options.files);
    sub.add_option("-o,--output", options.output,
                   "file to create, with the frames of all captures; standard output if it is not given, or for -")
        ->type_name("FILE")
        ->take_last();
    sub.footer(exit_statuses);
    sub.callback([&] {
        check_files(options.files);
        if (options.output == "-" && ::isatty(STDOUT_FILENO) != 0)
            throw CLI::ValidationError("cannot write a capture to a terminal: use --output=FILE");
        command = [&options] { return recover(options); };
    });
}

/// Returns whether a reference can name the variable. REQUIRES: name is not empty.
bool is_variable_name(std::string_view name)
{
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
    constexpr std::string_view digits = "0123456789.";
    return letters.find(name.front()) != std::string_view::npos && std::ranges::all_of(name, [&](char character) {
               return letters.find(character) != std::string_view::npos ||
                      digits.find(character) != std::string_view::npos;
           });
}

/// Adds a variable from an argument of the form NAME=VALUE.
void add_variable(ConfigOptions &options, std::string const &argument)
{
    auto const equals = argument.find('=');
    if (equals == std::string::npos || equals == 0)
        throw CLI::ValidationError("--set", fmt::format("'{}' is not of the form NAME=VALUE", argument));
    auto const name = argument.substr(0, equals);
    if (!is_variable_name(name))
        throw CLI::ValidationError("--set", fmt::format("invalid name '{}': a name is a letter or an underscore, "
                                                        "followed by letters, digits, underscores and dots",
                                                        name));
    options.environment.emplace_back(name, argument.substr(equals + 1));
}

struct ConfigCommand {
    std::string name;
    std::string help;
    ExitStatus (*run)(ConfigOptions const &options);
    bool takes_key = false;
};

CLI::App &add_config_command(CLI::App &config, ConfigOptions &options, Command &command,
                             ConfigCommand const &definition)
{
    auto &sub = add_command(config, definition.name, definition.help,
                            fmt::format("usage: tarnwick config {} [OPTION...] FILE{}", definition.name,
                                        definition.takes_key ? " KEY" : ""));
    auto const set_file = [&options](std::string const &file) {
        if (file == "-")
            throw CLI::ValidationError("cannot read a configuration file from standard input: includes are relative to "
                                       "the path of the file");
        options.file = file;
    };
    sub.add_option_function<std::string>("FILE", set_file, "configuration file")->required()->type_name("");
    if (definition.takes_key)
        sub.add_option("KEY", options.key, "key without the prefix")->required()->type_name("");
    sub.add_option("--name", options.name, "read only the keys that start with NAME and a dot")
        ->type_name("NAME")
        ->take_last();
    add_choice(sub, "--format", options.format,
               {{"text", ConfigOptions::Format::text}, {"json", ConfigOptions::Format::json}},
               "text (default), or one JSON object");
    add_color(sub, options.color);
    auto const set_variable = [&options](std::string const &argument) { add_variable(options, argument); };
    sub.add_option_function<std::string>("--set", set_variable,
                                         "set an environment variable for references; can be repeated")
        ->type_name("NAME=VALUE")
        ->trigger_on_parse();
    sub.footer(
        "Exit status: 0 success, 1 the file cannot be loaded, the key does not exist, or check --strict printed\n"
        "a warning, 2 wrong usage, 3 the output cannot be written.");
    sub.callback([&options, &command, run = definition.run] { command = [&options, run] { return run(options); }; });
    return sub;
}

void add_config(CLI::App &app, ConfigOptions &options, Command &command)
{
    auto &config = add_command(app, "config", "Check and explain configuration files",
                               "usage: tarnwick config COMMAND [OPTION...] FILE [KEY]");
    config.require_subcommand(1);
    add_config_command(config, options, command,
                       {"check", "Print the errors of a file, and warnings for lines without effect", config_check})
        .add_flag("--strict", options.strict, "exit with status 1 if there is a warning");
    auto &dump = add_config_command(config, options, command, {"dump", "Print all keys and their values", config_dump});
    add_mask(dump, options.mask, "only text on a terminal is masked");
    add_config_command(config, options, command, {"get", "Print the value of a key", config_get, true})
        .add_flag("--all", options.all, "print all values of the key, newest first");
    add_config_command(config, options, command,
                       {"explain", "Print where each value of a key comes from", config_explain, true});
}

void print(std::string_view text)
{
    Output output(STDOUT_FILENO);
    output.write(text);
    output.flush();
}

void add_help(CLI::App &app, std::vector<std::string> &words, Command &command)
{
    auto &sub = add_command(app, "help", "Print the help of a command", "usage: tarnwick help [COMMAND...]");
    sub.add_option("COMMAND", words, "for example inspect, or config check")->type_name("");
    sub.callback([&app, &words, &command] {
        auto *target = &app;
        for (auto const &word : words) {
            target = find_command(*target, word);
            if (target == nullptr)
                throw CLI::ValidationError(fmt::format("unknown command '{}'", fmt::join(words, " ")));
        }
        command = [target] {
            print(target->get_formatter()->make_help(target, target->get_name(), CLI::AppFormatMode::Normal));
            return success;
        };
    });
}

/// Returns the arguments in reverse order, as the parser expects them. Splits `--name=` into the option and an empty
/// value: the parser would use the next argument as the value.
std::vector<std::string> arguments_of(CLI::App &app, int argc, char const *const *argv)
{
    std::vector<std::string> arguments;
    auto *current = &app;
    bool has_options = true;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        has_options = has_options && argument != "--";
        auto const name = argument.substr(0, argument.find('='));
        auto const *option = has_options && name.starts_with("--") && argument == name + '='
                                 ? current->get_option_no_throw(name)
                                 : nullptr;
        if (option != nullptr && option->get_items_expected_min() > 0) {
            arguments.push_back(name);
            argument.clear();
        } else if (auto *command = find_command(*current, argument)) {
            current = command;
        }
        arguments.push_back(std::move(argument));
    }
    std::ranges::reverse(arguments);
    return arguments;
}

/// Prints the help or the version, or the error of a command line that does not parse.
ExitStatus print_parse_result(CLI::App &app, CLI::ParseError const &error)
{
    std::ostringstream text;
    if (app.exit(error, text, text) != 0) {
        print_error(text.str());
        return wrong_usage;
    }
    print(text.str());
    return success;
}

/// Returns why the arguments of a command do not parse.
std::string usage_fault(CLI::App const &command, CLI::Error const &error)
{
    bool const has_commands = !command.get_subcommands([](CLI::App const *) { return true; }).empty();
    // The parser reports a wrong command as a missing one, and unexpected arguments in reverse order.
    if (auto const unexpected = command.remaining(); !unexpected.empty()) {
        auto const &argument = unexpected.front();
        auto const *const kind = argument.starts_with('-') ? "unknown option"
                                 : has_commands            ? "unknown command"
                                                           : "unexpected argument";
        return fmt::format("{} '{}'", kind, argument);
    }
    if (has_commands && error.get_name() == "RequiredError")
        return "a command is required";
    std::string text = error.what();
    if (error.get_name() == "ArgumentMismatch")
        return fmt::format("{}: a value is required", text.substr(0, text.find(':')));
    return text;
}

ExitStatus dispatch(int argc, char const *const *argv)
{
    CLI::App app("Reads captures of reports from PHP applications, and configuration files.", "tarnwick");
    // Commands inherit the help flag and the labels.
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.get_formatter()->label("Positionals", "Arguments");
    app.get_formatter()->label("REQUIRED", "");
    app.set_version_flag("--version", "tarnwick " TARNWICK_VERSION, version_help);
    app.require_subcommand(1);
    app.usage("usage: tarnwick COMMAND [OPTION...]");
    app.failure_message([](CLI::App const *place, CLI::Error const &error) {
        while (!place->get_subcommands().empty())
            place = place->get_subcommands().front();
        return fmt::format("tarnwick: {}\n{}\nUse --help for more information.\n",
                           escaped_text(usage_fault(*place, error)), place->get_usage());
    });
    Command command;
    InspectOptions inspect_options;
    ChoiceOptions inspect_choice;
    add_inspect(app, inspect_options, inspect_choice, command);
    LsOptions ls_options;
    ChoiceOptions ls_choice;
    add_table_command(app, ls_options, ls_choice, command,
                      {.name = "ls",
                       .help = "List the requests of captures",
                       .rows = "requests",
                       .conditions = "'status>=500' or 'uri~^/api'",
                       .columns = request_columns(),
                       .run = ls,
                       .can_follow = true});
    ShowOptions show_options;
    ChoiceOptions show_choice;
    add_show(app, show_options, show_choice, command);
    StatementsOptions statements_options;
    ChoiceOptions statements_choice;
    add_table_command(app, statements_options, statements_choice, command,
                      {.name = "statements",
                       .help = "List the SQL statements of captures",
                       .rows = "statements",
                       .conditions = "'word=SELECT' or 'total>100ms'",
                       .columns = statement_columns(),
                       .run = statements,
                       .can_follow = false});
    DiffOptions diff_options;
    DiffArguments diff_arguments;
    add_diff(app, diff_options, diff_arguments, command);
    RecoverOptions recover_options;
    add_recover(app, recover_options, command);
    JsonStyle schema_style;
    add_schema(app, schema_style, command);
    ConfigOptions config_options;
    add_config(app, config_options, command);
    std::vector<std::string> help_words;
    add_help(app, help_words, command);

    // Not a command of its own: its arguments are parts of any command line.
    std::span const arguments(argv, static_cast<std::size_t>(argc));
    if (argc > 1 && arguments[1] == std::string_view("complete")) {
        print(completions(app, arguments.subspan(2)));
        return success;
    }

    try {
        app.parse(arguments_of(app, argc, argv));
    } catch (CLI::ParseError const &error) {
        return print_parse_result(app, error);
    }
    return command();
}

} // namespace

int run(int argc, char const *const *argv)
{
    // A closed standard error must not end the program: print_error ignores messages that cannot be written.
    std::signal(SIGPIPE, SIG_IGN); // NOLINT(cert-err33-c): it cannot fail for this signal
    // At the limit of a file's size, write() returns an error.
    std::signal(SIGXFSZ, SIG_IGN); // NOLINT(cert-err33-c)
    // The program reports faults of file names itself. QT_LOGGING_RULES turns Qt's messages on again.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
    try {
        return dispatch(argc, argv);
    } catch (BrokenPipe const &) {
        return broken_pipe;
    } catch (WriteError const &error) {
        print_error(fmt::format("tarnwick: {}\n", error.what()));
    } catch (std::bad_alloc const &) {
        print_error("tarnwick: out of memory\n");
    }
    return file_failure;
}

} // namespace tarnwick::program
