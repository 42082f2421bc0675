// The examples in the manual pages, and the first look of the README, match the program.

#include "support/config_files.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/manual.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>

namespace tarnwick::test::manual_examples_test {
namespace {

/// Runs command lines in a folder with links to the captures, in which they can create files.
class Shell {
public:
    Shell()
    {
        for (auto const &entry : std::filesystem::directory_iterator(TARNWICK_CAPTURES)) {
            if (entry.path().extension() == ".tnw")
                folder_.link(entry.path().string(), entry.path().filename().string());
        }
    }

    /// Standard error follows standard output.
    [[nodiscard]] Outcome run(std::string const &command) const
    {
        WorkingFolder const here(folder_.path());
        auto const programs = std::filesystem::path(TARNWICK_PROGRAM).parent_path().string();
        return test::run({.arguments = {"-c", "PATH='" + programs + "':$PATH; " + command},
                          .err = Sink::output,
                          .program = "/bin/sh"});
    }

private:
    ConfigFolder folder_;
};

std::string replaced(std::string text, std::string_view part, std::string_view replacement)
{
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + replacement.size()))
        text.replace(at, part.size(), replacement);
    return text;
}

/// The start of a line with a command in the README, and the command that it runs.
struct Start {
    std::string_view line;
    std::string_view command;
};

class ManualExamples : public testing::TestWithParam<std::string_view> {};

TEST_P(ManualExamples, match_the_program)
{
    auto const examples = examples_of(std::string(GetParam()));
    EXPECT_FALSE(examples.empty());
    Shell const shell;
    for (auto const &[command, output] : examples) {
        SCOPED_TRACE(command);
        if (command.find("--follow") != std::string::npos)
            continue;
        if (output) {
            EXPECT_EQ(shell.run(command).out, *output);
        } else {
            // The programs that read the output need not be installed.
            auto const outcome = shell.run(command.substr(0, command.find(" | ")));
            EXPECT_EQ(outcome.status, 0) << outcome.out;
        }
    }
}

TEST(Demo, prints_at_most_60_lines)
{
    auto const script = content_of(TARNWICK_SOURCES "/dev");
    std::string_view const head =
        "\ndemo() {\n    local program=build/release/tools/tarnwick/tarnwick captures=examples/captures\n";
    auto const begin = script.find(head) + head.size();
    auto const body = script.substr(begin, script.find("\n}\n", begin) - begin);
    auto const outcome = Shell().run("program=tarnwick captures=.; build_preset() { :; }; in_toolchain() { \"$@\"; }\n"
                                     "demo() {\n" +
                                     body + "\n}\ndemo");
    EXPECT_THAT(outcome.out, testing::HasSubstr("\nGET /forecast  200  "));
    EXPECT_THAT(outcome.out, testing::HasSubstr("What to try next:\n"));
    EXPECT_LE(std::ranges::count(outcome.out, '\n'), 60);
    EXPECT_EQ(outcome.status, 0);
}

TEST(ReadmeExamples, match_the_program)
{
    auto const text = content_of(TARNWICK_SOURCES "/README.md");
    std::size_t runs = 0;
    Shell const shell;
    for (auto const &[start, command] :
         {Start{"\n    ./dev demo ", "tarnwick ls --format=text "},
          Start{"\n    ./dev shell -- build/release/tools/tarnwick/tarnwick show ", "tarnwick show --format=text "}}) {
        for (auto at = text.find(start); at != std::string::npos; at = text.find(start, at + 1), ++runs) {
            auto const arguments = at + start.size();
            auto const end = text.find('\n', arguments);
            auto const output = text.find("```\n", end) + 4;
            SCOPED_TRACE(text.substr(at, end - at));
            std::string line(command);
            line += text.substr(arguments, end - arguments);
            // `./dev demo` reads all captures.
            line += line.find(".tnw") == std::string::npos ? " *.tnw" : "";
            EXPECT_EQ(shell.run(replaced(line, "examples/captures/", {})).out,
                      text.substr(output, text.find("```", output) - output));
        }
    }
    EXPECT_EQ(runs, 2U);
}

/// Names a case after the command.
constexpr auto command_of = [](auto const &page) {
    auto const name = std::string(page.param).substr(std::string_view("tarnwick-").size());
    return name.substr(0, name.find('.'));
};

INSTANTIATE_TEST_SUITE_P(Pages, ManualExamples,
                         testing::Values("tarnwick-inspect.1", "tarnwick-ls.1", "tarnwick-report.1",
                                         "tarnwick-schema.1", "tarnwick-show.1", "tarnwick-statements.1"),
                         command_of);
#ifdef TARNWICK_SQLITE
INSTANTIATE_TEST_SUITE_P(PagesOfDatabases, ManualExamples, testing::Values("tarnwick-export.1", "tarnwick-query.1"),
                         command_of);
#endif

} // namespace
} // namespace tarnwick::test::manual_examples_test
