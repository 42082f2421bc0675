#include "command_line.h"

#include "exit_status.h"
#include "inspect.h"
#include "messages.h"
#include "output.h"
#include "record_feed.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <csignal>
#include <new>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

/// The words that an option takes, and what each means.
template <class Enum>
using Words = std::vector<std::pair<std::string, Enum>>;

template <class Enum>
void add_choice(CLI::App &app, std::string const &name, Enum &target, Words<Enum> const &words, std::string const &help)
{
    std::vector<std::string> names;
    for (auto const &[word, meaning] : words)
        names.push_back(word);
    auto const shape = fmt::format("{}", fmt::join(names, "|"));
    auto const take = [&target, words, shape](std::string const &given) {
        for (auto const &[word, meaning] : words) {
            if (given == word) {
                target = meaning;
                return;
            }
        }
        throw CLI::ValidationError(fmt::format("'{}' is none of {}", given, shape));
    };
    app.add_option_function<std::string>(name, take, help)->type_name(shape)->take_last();
}

void add_inspect(CLI::App &app, InspectOptions &options)
{
    auto *inspect = app.add_subcommand("inspect", "Print the records that the reports of captures feed");
    inspect->usage("usage: tarnwick inspect [OPTION...] [FILE...]");
    inspect->set_version_flag("--version", app.version());
    inspect->add_option("FILE", options.files, "captures to read; - or none is standard input")->type_name("");
    add_choice(*inspect, "--format", options.format,
               {{"auto", Format::automatic}, {"text", Format::text}, {"jsonl", Format::jsonl}},
               "for people, one JSON object a record, or (auto, the default) text on a terminal and jsonl elsewhere");
    add_choice(*inspect, "--color", options.color,
               {{"auto", Color::automatic}, {"always", Color::always}, {"never", Color::never}},
               "colour in text; auto, the default: on a terminal, unless NO_COLOR is set");
    inspect->add_flag("--all-records", options.all_records,
                      "build every record of a report's family, whatever the report's case");
    inspect->footer(
        fmt::format("A report with more than {} messages in each other is a fault; a PHP array takes 3 of them.\n\n"
                    "Exit status: 0 done, 1 a capture has a fault (said with its place), 2 wrong usage,\n"
                    "3 a file cannot be read or written.",
                    RecordFeed::max_depth));
}

/// What the command line asks for other than a sub-command's work: help, the version, or a better command line.
ExitStatus answer(CLI::App &app, CLI::ParseError const &error)
{
    std::ostringstream text;
    if (app.exit(error, text, text) != 0) {
        tell(text.str());
        return wrong_usage;
    }
    Output output(STDOUT_FILENO);
    output.write(text.str());
    output.flush();
    return done;
}

ExitStatus dispatch(int argc, char const *const *argv)
{
    CLI::App app("Shows what is in captures of reports from PHP applications.", "tarnwick");
    app.set_version_flag("--version", "tarnwick " TARNWICK_VERSION);
    app.require_subcommand(1);
    app.usage("usage: tarnwick COMMAND [OPTION...]");
    app.failure_message([](CLI::App const *place, CLI::Error const &error) {
        auto const chosen = place->get_subcommands();
        auto const rest = place->remaining();
        auto const usage = (chosen.empty() ? place : chosen.front())->get_usage();
        // A wrong command is not a missing one.
        auto const problem = chosen.empty() && !rest.empty() ? fmt::format("there is no command '{}'", rest.front())
                                                             : std::string(error.what());
        return fmt::format("tarnwick: {}\n{}\n--help tells more.\n", problem, usage);
    });
    InspectOptions options;
    add_inspect(app, options);

    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const &error) {
        return answer(app, error);
    }
    return inspect(options);
}

} // namespace

int run(int argc, char const *const *argv)
{
    // A reader that goes away is an output that cannot be written, not a reason to die without a word.
    std::signal(SIGPIPE, SIG_IGN); // NOLINT(cert-err33-c): it cannot fail for this signal
    try {
        return dispatch(argc, argv);
    } catch (WriteError const &error) {
        tell(fmt::format("tarnwick: {}\n", error.what()));
    } catch (std::bad_alloc const &) {
        tell("tarnwick: out of memory\n");
    }
    return file_failure;
}

} // namespace tarnwick::program
