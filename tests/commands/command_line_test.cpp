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
