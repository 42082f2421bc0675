#include "config_commands.h"

#include "config_check.h"
#include "config_dump.h"
#include "config_explain.h"
#include "config_get.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace tarnwick::program {
namespace {

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

} // namespace

void add_config_commands(CLI::App &app, ConfigOptions &options, Command &command)
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

} // namespace tarnwick::program
