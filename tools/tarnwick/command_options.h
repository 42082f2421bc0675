#pragma once

#include "exit_status.h"
#include "print/json_writer.h"
#include "print/masks.h"
#include "print/terminal.h"
#include "requests/column.h"
#include "requests/condition.h"
#include "requests/report_choice.h"
#include "requests/request_filter.h"
#include "requests/sorted_rows.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwick::program {

// What the commands and their options share.

/// The command of the parsed command line, ready to run.
using Command = std::function<ExitStatus()>;

inline constexpr auto const *version_help = "Print the version and exit";
inline constexpr auto const *exit_statuses = "Exit status: 0 success, 1 a capture has a fault, 2 wrong usage,\n"
                                             "3 a file cannot be read or written.";

CLI::App &add_command(CLI::App &parent, std::string const &name, std::string const &help, std::string const &usage);

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

/// Reports a wrong name or condition as wrong usage.
template <class Read>
decltype(auto) read_argument(std::string const &option, Read const &read)
{
    try {
        return read();
    } catch (std::invalid_argument const &error) {
        throw CLI::ValidationError(option, error.what());
    }
}

void add_color(CLI::App &app, Color &color);
/// `default_help`: what is masked without the option.
void add_mask(CLI::App &app, MaskOptions &mask, std::string_view default_help);
void add_ids(CLI::App &app, JsonStyle &style);
/// Adds `--ids` too.
void add_json_style(CLI::App &app, JsonStyle &style);
void add_files(CLI::App &app, std::vector<std::string> &files);
void add_follow(CLI::App &app, bool &follow);
void add_dialect(CLI::App &app, ReportChoice &reports);
void add_request_choice(CLI::App &app, std::vector<std::uint64_t> &requests);
void add_report_choice(CLI::App &app, ReportChoice &reports);
/// Adds `--record`, which chooses requests by their records.
void add_record_choice(CLI::App &app, ReportChoice &reports);
/// Adds `--where` with conditions on columns. `help`: what the option does, with an example.
template <class Row>
void add_conditions(CLI::App &app, std::vector<Condition> &conditions, std::span<Column<Row> const> columns,
                    std::string const &help)
{
    app.add_option_function<std::vector<std::string>>(
           "--where",
           [&conditions, columns](std::vector<std::string> const &texts) {
               for (auto const &text : texts) {
                   read_argument("--where", [&] {
                       auto &condition = conditions.emplace_back(text);
                       condition.set_type(column_named(columns, condition.field()).type);
                   });
               }
           },
           help + "; can be repeated")
        ->type_name("CONDITION")
        ->allow_extra_args(false);
}

/// Adds `--sort`.
template <class Row>
void add_sort(CLI::App &app, RowOrder<Row> &order, std::span<Column<Row> const> columns, std::string const &help)
{
    app.add_option_function<std::string>(
           "--sort",
           [&order, columns](std::string const &argument) {
               auto const colon = argument.find(':');
               auto const direction = colon == std::string::npos ? "asc" : argument.substr(colon + 1);
               if (direction != "asc" && direction != "desc")
                   throw CLI::ValidationError("--sort", fmt::format("'{}' is not one of asc, desc", direction));
               order.column = &read_argument(
                   "--sort", [&]() -> Column<Row> const & { return column_named(columns, argument.substr(0, colon)); });
               order.is_descending = direction == "desc";
           },
           help)
        ->type_name("COLUMN[:desc]")
        ->take_last();
}

/// Adds the options that choose requests of captures, and the first of them.
void add_request_filter(CLI::App &app, RequestFilter &filter);
void add_count(CLI::App &app, std::string const &name, std::optional<std::uint64_t> &count, std::string const &help);
void add_top(CLI::App &app, std::optional<std::uint64_t> &top, std::string const &help);

/// These throw `CLI::ValidationError`.
void check_files(std::vector<std::string> const &files);
void check_follow(bool follow, std::vector<std::string> const &files);

} // namespace tarnwick::program
