#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tarnwick::test::command_line_test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

TEST(CommandLine, rejects_wrong_usage_with_status_2)
{
    std::string const usage = "usage: tarnwick COMMAND [OPTION...]\nUse --help for more information.\n";
    std::string const inspect_usage =
        "usage: tarnwick inspect [OPTION...] [FILE...]\nUse --help for more information.\n";
    std::string const recover_usage =
        "usage: tarnwick recover [OPTION...] [FILE...]\nUse --help for more information.\n";
    std::string const schema_usage = "usage: tarnwick schema [OPTION...]\nUse --help for more information.\n";
    std::string const config_usage =
        "usage: tarnwick config COMMAND [OPTION...] FILE [KEY]\nUse --help for more information.\n";
    std::string const get_usage = "usage: tarnwick config get [OPTION...] FILE KEY\nUse --help for more information.\n";
    std::string const help_usage = "usage: tarnwick help [COMMAND...]\nUse --help for more information.\n";
    auto const invalid_name = [&](std::string const &name) {
        return "tarnwick: --set: invalid name '" + name +
               "': a name is a letter or an underscore, followed by letters, digits, underscores and dots\n" +
               get_usage;
    };
    struct Case {
        std::vector<std::string> arguments;
        std::string err;
    };
    Case const cases[] = {
        {{}, "tarnwick: a command is required\n" + usage},
        {{"look"}, "tarnwick: unknown command 'look'\n" + usage},
        {{"--colour"}, "tarnwick: unknown option '--colour'\n" + usage},
        {{"inspekt"}, "tarnwick: unknown command 'inspekt'; did you mean 'inspect'?\n" + usage},
        {{"inspect", "--colour=never"},
         "tarnwick: unknown option '--colour'; did you mean '--color'?\n" + inspect_usage},
        {{"inspect", "--format=yaml"}, "tarnwick: --format: 'yaml' is not one of auto, text, jsonl\n" + inspect_usage},
        {{"inspect", "--format", "1"}, "tarnwick: --format: '1' is not one of auto, text, jsonl\n" + inspect_usage},
        {{"inspect", "--format"}, "tarnwick: --format: a value is required\n" + inspect_usage},
        {{"inspect", "--color=red"}, "tarnwick: --color: 'red' is not one of auto, always, never\n" + inspect_usage},
        {{"inspect", "--ids=words"}, "tarnwick: --ids: 'words' is not one of number, string\n" + inspect_usage},
        {{"inspect", "--values=json"}, "tarnwick: --values: 'json' is not one of typed, plain\n" + inspect_usage},
        {{"inspect", "--format=", "f"}, "tarnwick: --format: '' is not one of auto, text, jsonl\n" + inspect_usage},
        {{"inspect", "--format="}, "tarnwick: --format: '' is not one of auto, text, jsonl\n" + inspect_usage},
        {{"schema", "--ids=words"}, "tarnwick: --ids: 'words' is not one of number, string\n" + schema_usage},
        {{"schema", "f"}, "tarnwick: unexpected argument 'f'\n" + schema_usage},
        {{"help", "look"}, "tarnwick: unknown command 'look'\n" + help_usage},
        {{"help", "config", "look"}, "tarnwick: unknown command 'look'\n" + help_usage},
        {{"help", "inspekt"}, "tarnwick: unknown command 'inspekt'; did you mean 'inspect'?\n" + help_usage},
        {{"help", "config", "chekc"}, "tarnwick: unknown command 'chekc'; did you mean 'check'?\n" + help_usage},
        {{"inspect", "-", "-"}, "tarnwick: standard input (-) can be read only once\n" + inspect_usage},
        {{"inspect", "-", "f", "-"}, "tarnwick: standard input (-) can be read only once\n" + inspect_usage},
        {{"inspect", "--follow", "f", "g"}, "tarnwick: --follow reads one FILE\n" + inspect_usage},
        {{"recover", "-", "-"}, "tarnwick: standard input (-) can be read only once\n" + recover_usage},
        {{"recover", "-o"}, "tarnwick: --output: a value is required\n" + recover_usage},
        {{"config"}, "tarnwick: a command is required\n" + config_usage},
        {{"config", "look"}, "tarnwick: unknown command 'look'\n" + config_usage},
        {{"config", "get", "f"}, "tarnwick: KEY is required\n" + get_usage},
        {{"config", "get", "f", "k", "x", "y"}, "tarnwick: unexpected argument 'x'\n" + get_usage},
        {{"config", "get", "-", "k"},
         "tarnwick: cannot read a configuration file from standard input: includes are relative to the path of the "
         "file\n" +
             get_usage},
        {{"config", "get", "f", "k", "--set", "x"}, "tarnwick: --set: 'x' is not of the form NAME=VALUE\n" + get_usage},
        {{"config", "get", "f", "k", "--set", "=x"},
         "tarnwick: --set: '=x' is not of the form NAME=VALUE\n" + get_usage},
        {{"config", "get", "f", "k", "--set", "A B=x"}, invalid_name("A B")},
        {{"config", "get", "f", "k", "--set=1A=x"}, invalid_name("1A")},
        {{"config", "get", "f", "k", "--set=" + std::string(100'000, 'A') + "-=x"},
         invalid_name(std::string(100'000, 'A') + "-")},
        {{"config", "get", "f", "k", "--set=\xC3\xA4=x"}, invalid_name("\xC3\xA4")},
        {{"config", "get", "f", "k", "--set="}, "tarnwick: --set: '' is not of the form NAME=VALUE\n" + get_usage},
        {{"config", "get", "--format=", "f", "k"}, "tarnwick: --format: '' is not one of text, json\n" + get_usage},
        {{"config", "get", "--color=", "f", "k"},
         "tarnwick: --color: '' is not one of auto, always, never\n" + get_usage},
        {{"config", "get", "f", "k", "--format=jsonl"},
         "tarnwick: --format: 'jsonl' is not one of text, json\n" + get_usage},
    };
    for (auto const &[arguments, err] : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        auto const outcome = run({.arguments = arguments}, request_end(1));
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, err);
    }
}

TEST(CommandLine, prints_help_and_version_on_standard_output)
{
    for (auto const &arguments : {std::vector<std::string>{"--version"},
                                  {"inspect", "--version"},
                                  {"config", "--version"},
                                  {"config", "get", "--version"}}) {
        auto const outcome = run({.arguments = arguments});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.out, MatchesRegex("tarnwick [0-9]+\\.[0-9]+\\.[0-9]+\n"));
        EXPECT_EQ(outcome.err, "");
    }
    auto const help = run({.arguments = {"--help"}});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, HasSubstr("usage: tarnwick COMMAND [OPTION...]\n"));
    EXPECT_THAT(help.out, HasSubstr("  inspect "));
    EXPECT_EQ(help.err, "");
}

TEST(CommandLine, help_command_equals_help_option)
{
    for (auto const &command : std::vector<std::vector<std::string>>{{},
                                                                     {"inspect"},
                                                                     {"recover"},
                                                                     {"schema"},
                                                                     {"config"},
                                                                     {"config", "check"},
                                                                     {"config", "explain"},
                                                                     {"help"}}) {
        SCOPED_TRACE(testing::PrintToString(command));
        auto words = command;
        words.insert(words.begin(), "help");
        auto const help = run({.arguments = words});
        words = command;
        words.emplace_back("--help");
        EXPECT_EQ(help.out, run({.arguments = words}).out);
        EXPECT_THAT(help.out, HasSubstr("usage: tarnwick "));
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.err, "");
    }
    EXPECT_EQ(run({.arguments = {"help", "--version"}}).out, run({.arguments = {"--version"}}).out);
}

TEST(CommandLine, accepts_a_file_name_that_ends_with_an_equals_sign)
{
    auto const outcome = run({.arguments = {"inspect", "FILE="}});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "cannot read FILE=: No such file or directory\n");
}

TEST(CommandLine, escapes_control_characters_of_arguments)
{
    EXPECT_THAT(run({.arguments = {"inspect", "--a\x1b[1m"}}).err, Not(HasSubstr("\x1b")));
}

TEST(CommandLine, prints_the_help_of_inspect)
{
    auto const help = run({.arguments = {"inspect", "--help"}});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (auto const *text :
         {"usage: tarnwick inspect [OPTION...] [FILE...]\n", "--format auto|text|jsonl ", "--color auto|always|never ",
          "--all-records ", "--follow ", "up to 1000 deep", "Exit status: 0 success, 1 a capture has a fault, ",
          "\n3 a file cannot be read or written.\n"})
        EXPECT_THAT(help.out, HasSubstr(text));
    EXPECT_THAT(help.out, Not(HasSubstr("->"))) << "no internal values";
}

TEST(CommandLine, reports_that_help_cannot_be_written)
{
    auto const outcome = run({.arguments = {"--help"}, .out = Sink::full_disk});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "tarnwick: cannot write the output: No space left on device\n");
}

TEST(CommandLine, uses_the_last_of_repeated_options)
{
    TemporaryFile const capture(request_end(1));
    EXPECT_THAT(inspect({"--format=text", "--format=jsonl", capture.name()}).out, testing::StartsWith("{"));
    EXPECT_THAT(inspect({"--format=jsonl", capture.name(), "--format=text"}).out, testing::StartsWith("php."));
}

TEST(CommandLine, accepts_any_file_name)
{
    struct Case {
        std::vector<std::string> arguments;
        std::string name;
    };
    Case const cases[] = {
        {{"a b,c"}, "a b,c"},
        {{"inspect"}, "inspect"},
        {{"--", "--help"}, "--help"},
        {{""}, ""},
    };
    for (auto const &[arguments, name] : cases) {
        auto const outcome = inspect(arguments);
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.err, "cannot read " + name + ": No such file or directory\n");
    }
}

} // namespace
} // namespace tarnwick::test::command_line_test
