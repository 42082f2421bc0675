#include "command_line.h"

#include "capture_commands.h"
#include "command_options.h"
#include "completion.h"
#include "config_commands.h"
#include "exit_status.h"
#include "live_commands.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "standard_error.h"
#include "unknown_name.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <QtCore/QLoggingCategory>
#include <QtCore/QString>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <new>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace tarnwick::program {
namespace {

void print(std::string_view text)
{
    Output output(STDOUT_FILENO);
    output.write(text);
    output.flush();
}

std::vector<std::string> command_names(CLI::App const &app)
{
    std::vector<std::string> names;
    for (auto const *command : app.get_subcommands([](CLI::App const *) { return true; }))
        names.push_back(command->get_name());
    return names;
}

void add_help(CLI::App &app, std::vector<std::string> &words, Command &command)
{
    auto &sub = add_command(app, "help", "Print the help of a command", "usage: tarnwick help [COMMAND...]");
    sub.add_option("COMMAND", words, "for example inspect, or config check")->type_name("");
    sub.callback([&app, &words, &command] {
        auto *target = &app;
        for (auto const &word : words) {
            auto *const found = find_command(*target, word);
            if (found == nullptr)
                throw CLI::ValidationError(unknown_name("unknown command", word, command_names(*target)).what());
            target = found;
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
        auto const name = argument.substr(0, argument.find('='));
        if (!argument.starts_with('-')) {
            return has_commands ? unknown_name("unknown command", argument, command_names(command)).what()
                                : fmt::format("unexpected argument '{}'", argument);
        }
        std::vector<std::string> known;
        for (auto const *option : command.get_options())
            known.push_back(option->get_name());
        return unknown_name("unknown option", name, known).what();
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
    CaptureCommands capture_options;
    add_capture_commands(app, capture_options, command);
    LiveCommands live_options;
    add_live_commands(app, live_options, command);
    ConfigOptions config_options;
    add_config_commands(app, config_options, command);
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
    } catch (std::runtime_error const &error) { // of files and sockets
        print_error(fmt::format("tarnwick: {}\n", error.what()));
    } catch (std::bad_alloc const &) {
        print_error("tarnwick: out of memory\n");
    }
    return file_failure;
}

} // namespace tarnwick::program
