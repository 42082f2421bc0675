#include "command_line.h"

#include "config_check.h"
#include "config_dump.h"
#include "config_explain.h"
#include "config_get.h"
#include "exit_status.h"
#include "inspect.h"
#include "standard_error.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "print/record_feed.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <QtCore/QLoggingCategory>
#include <QtCore/QString>

#include <algorithm>
#include <csignal>
#include <functional>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
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
    auto const take = [&target, name, words, shape](std::string const &given) {
        for (auto const &[word, meaning] : words) {
            if (given == word) {
                target = meaning;
                return;
            }
        }
        throw CLI::ValidationError(name, fmt::format("'{}' is none of {}", given, shape));
    };
    app.add_option_function<std::string>(name, take, help)->type_name(shape)->take_last();
}

void add_color(CLI::App &app, Color &color)
{
    add_choice(app, "--color", color, {{"auto", Color::automatic}, {"always", Color::always}, {"never", Color::never}},
               "colour in text; auto, the default: on a terminal, unless NO_COLOR is set");
}

/// What the command line asks for.
using Command = std::function<ExitStatus()>;

void add_inspect(CLI::App &app, InspectOptions &options, Command &command)
{
    auto *sub = app.add_subcommand("inspect", "Print the records that the reports of captures feed");
    sub->usage("usage: tarnwick inspect [OPTION...] [FILE...]");
    sub->set_version_flag("--version", app.version());
    sub->add_option("FILE", options.files, "captures to read; - or none is standard input")->type_name("");
    add_choice(*sub, "--format", options.format,
               {{"auto", Format::automatic}, {"text", Format::text}, {"jsonl", Format::jsonl}},
               "for people, one JSON object a record, or (auto, the default) text on a terminal and jsonl elsewhere");
    add_color(*sub, options.color);
    sub->add_flag("--all-records", options.all_records,
                  "build every record of a report's family, whatever the report's case");
    sub->footer(
        fmt::format("A report with more than {} messages in each other is a fault; a PHP array takes 3 of them.\n\n"
                    "Exit status: 0 done, 1 a capture has a fault (said with its place), 2 wrong usage,\n"
                    "3 a file cannot be read or written.",
                    RecordFeed::max_depth));
    sub->callback([&] {
        if (std::ranges::count(options.files, "-") > 1)
            throw CLI::ValidationError("standard input (-) can be read only once");
        command = [&options] { return inspect(options); };
    });
}

/// Whether a reference can have the name, which is not empty.
bool can_be_referred_to(std::string_view name)
{
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
    constexpr std::string_view digits = "0123456789.";
    return letters.find(name.front()) != std::string_view::npos && std::ranges::all_of(name, [&](char character) {
               return letters.find(character) != std::string_view::npos ||
                      digits.find(character) != std::string_view::npos;
           });
}

/// NAME=VALUE, as the environment has it.
void add_variable(ConfigOptions &options, std::string const &given)
{
    auto const equals = given.find('=');
    if (equals == std::string::npos || equals == 0)
        throw CLI::ValidationError("--set", fmt::format("'{}' is no NAME=VALUE", given));
    if (auto const written = given.substr(0, equals); !can_be_referred_to(written))
        throw CLI::ValidationError("--set", fmt::format("no reference has the name '{}': a name is a letter or an "
                                                        "underscore, then letters, digits, underscores and points",
                                                        written));
    options.environment.emplace_back(given.substr(0, equals), given.substr(equals + 1));
}

struct ConfigCommand {
    std::string name;
    std::string help;
    ExitStatus (*run)(ConfigOptions const &options);
    bool takes_key = false;
};

CLI::App &add_config_command(CLI::App &config, ConfigOptions &options, Command &command, ConfigCommand const &what)
{
    auto *sub = config.add_subcommand(what.name, what.help);
    sub->usage(fmt::format("usage: tarnwick config {} [OPTION...] FILE{}", what.name, what.takes_key ? " KEY" : ""));
    sub->set_version_flag("--version", config.get_parent()->version());
    auto const take_file = [&options](std::string const &file) {
        // Includes are looked for beside the file: it needs a place.
        if (file == "-")
            throw CLI::ValidationError("a configuration file is not read from standard input");
        options.file = file;
    };
    sub->add_option_function<std::string>("FILE", take_file, "configuration file")->required()->type_name("");
    if (what.takes_key)
        sub->add_option("KEY", options.key, "key, without the prefix")->required()->type_name("");
    sub->add_option("--name", options.name, "read the keys that begin with NAME and a point, and no others")
        ->type_name("NAME")
        ->take_last();
    add_choice(*sub, "--format", options.format,
               {{"text", ConfigOptions::Format::text}, {"json", ConfigOptions::Format::json}},
               "for people, the default, or one JSON object");
    add_color(*sub, options.color);
    auto const take_variable = [&options](std::string const &given) { add_variable(options, given); };
    sub->add_option_function<std::string>("--set", take_variable,
                                          "lay a variable over the environment; can be given more than once")
        ->type_name("NAME=VALUE")
        ->trigger_on_parse();
    sub->footer("Exit status: 0 done, 1 the file cannot be loaded, has no such key or (check --strict) a warning,\n"
                "2 wrong usage, 3 the output cannot be written.");
    sub->callback([&options, &command, run = what.run] { command = [&options, run] { return run(options); }; });
    return *sub;
}

void add_config(CLI::App &app, ConfigOptions &options, Command &command)
{
    auto *config = app.add_subcommand("config", "Show what a configuration file says, and why");
    config->usage("usage: tarnwick config COMMAND [OPTION...] FILE [KEY]");
    config->set_version_flag("--version", app.version());
    config->require_subcommand(1);
    add_config_command(*config, options, command,
                       {"check", "Tell what is wrong with a file and what of it is dropped", config_check})
        .add_flag("--strict", options.strict, "end with status 1 where there is a warning");
    add_config_command(*config, options, command, {"dump", "Print all keys with their values", config_dump});
    add_config_command(*config, options, command, {"get", "Print the value of a key", config_get, true})
        .add_flag("--all", options.all, "all values of the key, newest first");
    add_config_command(*config, options, command,
                       {"explain", "Tell where each value of a key comes from", config_explain, true});
}

/// The command of that name; null where there is none.
CLI::App *find_command(CLI::App &app, std::string_view name)
{
    auto const found = app.get_subcommands([name](CLI::App const *command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

void print(std::string_view text)
{
    Output output(STDOUT_FILENO);
    output.write(text);
    output.flush();
}

void add_help(CLI::App &app, std::vector<std::string> &words, Command &command)
{
    auto *sub = app.add_subcommand("help", "Print what a command takes");
    sub->usage("usage: tarnwick help [COMMAND...]");
    sub->set_version_flag("--version", app.version());
    sub->add_option("COMMAND", words, "such as inspect, or config check")->type_name("");
    sub->callback([&app, &words, &command] {
        auto *place = &app;
        for (auto const &word : words) {
            place = find_command(*place, word);
            if (place == nullptr)
                throw CLI::ValidationError(fmt::format("there is no command '{}'", fmt::join(words, " ")));
        }
        command = [place] {
            print(place->get_formatter()->make_help(place, place->get_name(), CLI::AppFormatMode::Normal));
            return done;
        };
    });
}

/// The arguments, last first, as the parser takes them. The parser would take `--name=` for an option without a value,
/// and the next argument for the value: these become two arguments.
std::vector<std::string> arguments_of(CLI::App &app, int argc, char const *const *argv)
{
    std::vector<std::string> arguments;
    auto *place = &app;
    bool has_options = true;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        has_options = has_options && argument != "--";
        auto const name = argument.substr(0, argument.find('='));
        auto const *option = has_options && name.starts_with("--") && argument == name + '='
                                 ? place->get_option_no_throw(name)
                                 : nullptr;
        if (option != nullptr && option->get_items_expected_min() > 0) {
            arguments.push_back(name);
            argument.clear();
        } else if (auto *command = find_command(*place, argument)) {
            place = command;
        }
        arguments.push_back(std::move(argument));
    }
    std::ranges::reverse(arguments);
    return arguments;
}

/// What the command line asks for other than a sub-command's work: help, the version, or a better command line.
ExitStatus answer(CLI::App &app, CLI::ParseError const &error)
{
    std::ostringstream text;
    if (app.exit(error, text, text) != 0) {
        print_error(text.str());
        return wrong_usage;
    }
    print(text.str());
    return done;
}

ExitStatus dispatch(int argc, char const *const *argv)
{
    CLI::App app("Shows what is in captures of reports from PHP applications, and in configuration files.", "tarnwick");
    app.set_version_flag("--version", "tarnwick " TARNWICK_VERSION);
    app.require_subcommand(1);
    app.usage("usage: tarnwick COMMAND [OPTION...]");
    app.failure_message([](CLI::App const *place, CLI::Error const &error) {
        while (!place->get_subcommands().empty())
            place = place->get_subcommands().front();
        // A wrong command is not a missing one.
        bool const has_commands = !place->get_subcommands([](CLI::App const *) { return true; }).empty();
        auto const rest = place->remaining();
        auto const problem = has_commands && !rest.empty() ? fmt::format("there is no command '{}'", rest.front())
                                                           : std::string(error.what());
        return fmt::format("tarnwick: {}\n{}\n--help tells more.\n", shown_text(problem), place->get_usage());
    });
    Command command;
    InspectOptions inspect_options;
    add_inspect(app, inspect_options, command);
    ConfigOptions config_options;
    add_config(app, config_options, command);
    std::vector<std::string> help_words;
    add_help(app, help_words, command);

    try {
        app.parse(arguments_of(app, argc, argv));
    } catch (CLI::ParseError const &error) {
        return answer(app, error);
    }
    return command();
}

} // namespace

int run(int argc, char const *const *argv)
{
    // A closed standard error must not end the program: messages that cannot be written are dropped.
    std::signal(SIGPIPE, SIG_IGN); // NOLINT(cert-err33-c): it cannot fail for this signal
    // A file that may not grow further is reported as an error of writing it.
    std::signal(SIGXFSZ, SIG_IGN); // NOLINT(cert-err33-c)
    // Whatever Qt takes a file's name for, the program has its own words on it. QT_LOGGING_RULES brings Qt's back.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
    try {
        return dispatch(argc, argv);
    } catch (ReaderGone const &) {
        return reader_gone;
    } catch (WriteError const &error) {
        print_error(fmt::format("tarnwick: {}\n", error.what()));
    } catch (std::bad_alloc const &) {
        print_error("tarnwick: out of memory\n");
    }
    return file_failure;
}

} // namespace tarnwick::program
