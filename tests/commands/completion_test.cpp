#include "tools/tarnwick/support/program.h"

#include "support/table.h"

#include <gmock/gmock.h>

#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test::completion_test {
namespace {

/// Returns the candidates that the program prints, without their descriptions.
std::vector<std::string> candidates(std::vector<std::string> words)
{
    words.insert(words.begin(), "complete");
    auto const outcome = run({.arguments = words});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    std::vector<std::string> found;
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);)
        found.push_back(line.substr(0, line.find('\t')));
    return found;
}

struct Case {
    char const *name;
    std::vector<std::string> words;
    std::vector<std::string> candidates;
};

class Completion : public TableTest<Case> {};

TEST_P(Completion, prints_what_can_follow)
{
    EXPECT_EQ(candidates(GetParam().words), GetParam().candidates);
}

Case const cases[] = {
    {"no_word",
     {},
     {"inspect", "ls", "show", "statements", "diff", "report", "export", "query", "recover", "schema", "record",
      "replay", "keys", "config", "help"}},
    {"commands",
     {""},
     {"inspect", "ls", "show", "statements", "diff", "report", "export", "query", "recover", "schema", "record",
      "replay", "keys", "config", "help"}},
    {"start_of_a_command", {"he"}, {"help"}},
    {"commands_of_a_command", {"config", ""}, {"check", "dump", "get", "explain"}},
    {"unknown_command", {"look", "ins"}, {"inspect"}},
    {"options_of_the_program", {"-"}, {"--help", "--version"}},
    {"options_of_a_command", {"schema", "file", "--"}, {"--help", "--version", "--ids=", "--values=", "--nul="}},
    {"options_of_a_nested_command", {"config", "get", "--a"}, {"--all"}},
    {"values", {"inspect", "--format="}, {"--format=auto", "--format=text", "--format=jsonl"}},
    {"start_of_a_value", {"inspect", "--format=j"}, {"--format=jsonl"}},
    {"value_as_the_next_word", {"inspect", "--format", ""}, {"auto", "text", "jsonl"}},
    {"only_value", {"export", "--to="}, {"--to=sqlite"}},
    {"words_and_any_value", {"ls", "--mask="}, {"--mask=default", "--mask=none"}},
    {"any_values", {"record", "--rotate="}, {}},
    {"option_after_a_value", {"config", "check", "--format", "text", "--st"}, {"--strict"}},
    {"value_that_is_a_command", {"config", "get", "--name", "inspect", "--a"}, {"--all"}},
    {"value_without_words", {"config", "get", "--name="}, {}},
    {"value_of_a_flag", {"config", "get", "--all="}, {}},
    {"unknown_option", {"inspect", "--look="}, {}},
    {"file", {"inspect", "f"}, {}},
    {"after_two_dashes", {"inspect", "--", "--f"}, {}},
    {"help_of_a_command", {"help", "config", "ch"}, {"check"}},
};
INSTANTIATE_TEST_SUITE_P(Of, Completion, rows(cases), by_name);

TEST(CompletionLines, end_with_a_description)
{
    EXPECT_EQ(run({.arguments = {"complete", "he"}}).out, "help\tPrint the help of a command\n");
    EXPECT_EQ(run({.arguments = {"complete", "schema", "--h"}}).out, "--help\tPrint this help and exit\n");
    EXPECT_EQ(run({.arguments = {"complete", "schema", "--ids=s"}}).out, "--ids=string\t\n");
}

TEST(CompletionLines, are_no_command_of_the_help)
{
    EXPECT_THAT(run({.arguments = {"--help"}}).out, testing::Not(testing::HasSubstr("complete")));
}

} // namespace
} // namespace tarnwick::test::completion_test
