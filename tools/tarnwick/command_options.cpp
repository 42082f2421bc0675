#include "command_options.h"

#include "capture/dialect.h"
#include "live/nats_source.h"
#include "requests/request_columns.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace tarnwick::program {
namespace {

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

/// Reads a number from the argument of an option. `what`: what the argument should be.
std::uint64_t read_number(std::string const &option, std::string const &argument, std::string_view what)
{
    std::uint64_t number = 0;
    auto const *const end = argument.data() + argument.size();
    if (auto const [last, fault] = std::from_chars(argument.data(), end, number); fault != std::errc() || last != end)
        throw CLI::ValidationError(option,
                                   fmt::format("'{}' is not {}, a number from 0 to {}", argument, what, UINT64_MAX));
    return number;
}

} // namespace

CLI::App &add_command(CLI::App &parent, std::string const &name, std::string const &help, std::string const &usage)
{
    auto *command = parent.add_subcommand(name, help);
    command->group("Commands");
    command->usage(usage);
    command->set_version_flag("--version", parent.version(), version_help);
    return *command;
}

void add_color(CLI::App &app, Color &color)
{
    add_choice(app, "--color", color, {{"auto", Color::automatic}, {"always", Color::always}, {"never", Color::never}},
               "when to colour text; auto (default): on a terminal, unless NO_COLOR is set");
}

void add_mask(CLI::App &app, MaskOptions &mask, std::string_view default_help)
{
    app.add_option_function<std::string>(
           "--mask", [&mask](std::string const &argument) { set_mask(mask, argument); },
           fmt::format("mask secrets (default), nothing (none), or also keys that contain WORD; if not given, {}",
                       default_help))
        ->type_name("default|none|WORD,...")
        ->take_last();
}

void add_ids(CLI::App &app, JsonStyle &style)
{
    add_choice(app, "--ids", style.string_ids, {{"number", false}, {"string", true}},
               "in JSON, how to print ids, and integers beyond 2^53; number (default), or string for tools whose "
               "numbers are doubles");
}

void add_json_style(CLI::App &app, JsonStyle &style)
{
    add_ids(app, style);
    add_choice(
        app, "--values", style.plain_values, {{"typed", false}, {"plain", true}},
        "in JSON, how to print PHP values; typed (default): with their kinds; plain: arrays as objects or lists");
    add_choice(app, "--nul", style.base64_nul, {{"escape", false}, {"base64", true}},
               "in JSON, how to print strings with NUL; escape (default): as \\u0000; base64: as strings that are not "
               "UTF-8, for tools that cannot store NUL");
}

void add_files(CLI::App &app, std::vector<std::string> &files)
{
    app.add_option("FILE", files,
                   "captures to read, or nats://HOST:PORT/STREAM; standard input if none is given, or for -")
        ->type_name("");
}

void check_files(std::vector<std::string> const &files)
{
    if (std::ranges::count(files, "-") > 1)
        throw CLI::ValidationError("standard input (-) can be read only once");
    for (auto const &file : files) {
        if (NatsAddress::is_one(file))
            read_argument("FILE", [&] { NatsSource::check(file); });
    }
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
               for (auto const &argument : arguments)
                   requests.push_back(read_number("--request", argument, "a request id"));
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

void add_record_choice(CLI::App &app, ReportChoice &reports)
{
    app.add_option_function<std::vector<std::string>>(
           "--record",
           [&reports](std::vector<std::string> const &names) {
               reports.records = read_argument("--record", [&] { return RecordChoice(names, {}); });
           },
           "only requests that have a record of this name (php.ErrorData or ErrorData); can be repeated")
        ->type_name("NAME")
        ->allow_extra_args(false);
}

void add_request_filter(CLI::App &app, RequestFilter &filter)
{
    add_report_choice(app, filter.reports);
    add_record_choice(app, filter.reports);
    add_conditions(app, filter.conditions, request_columns(),
                   "only requests whose column in ls fulfils this, such as 'status>=500'");
    add_sort(app, filter.order, request_columns(),
             "the column of ls that decides which requests are the first for --top; add :desc for the largest first");
    add_top(app, filter.order.top, "only the first N requests");
}

void add_top(CLI::App &app, std::optional<std::uint64_t> &top, std::string const &help)
{
    add_count(app, "--top", top, help);
}

void add_count(CLI::App &app, std::string const &name, std::optional<std::uint64_t> &count, std::string const &help)
{
    app.add_option_function<std::string>(
           name, [&count, name](std::string const &argument) { count = read_number(name, argument, "a count"); }, help)
        ->type_name("N")
        ->take_last();
}

} // namespace tarnwick::program
