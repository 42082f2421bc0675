#pragma once

#include "exit_status.h"
#include "print/json_writer.h"
#include "print/masks.h"
#include "print/record_selection.h"
#include "print/terminal.h"
#include "requests/column.h"
#include "requests/condition.h"

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

/// Reads conditions on columns.
template <class Row>
std::vector<Condition> read_conditions(std::vector<std::string> const &texts, std::span<Column<Row> const> columns)
{
    std::vector<Condition> conditions;
    conditions.reserve(texts.size());
    for (auto const &text : texts) {
        conditions.push_back(read_argument("--where", [&] {
            Condition condition(text);
            condition.set_type(column_named(columns, condition.field()).type);
            return condition;
        }));
    }
    return conditions;
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
void add_conditions(CLI::App &app, std::vector<std::string> &conditions, std::string const &help);
void add_count(CLI::App &app, std::string const &name, std::optional<std::uint64_t> &count, std::string const &help);
void add_top(CLI::App &app, std::optional<std::uint64_t> &top, std::string const &help);

/// These throw `CLI::ValidationError`.
void check_files(std::vector<std::string> const &files);
void check_follow(bool follow, std::vector<std::string> const &files);

} // namespace tarnwick::program
