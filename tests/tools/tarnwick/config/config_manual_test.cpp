// The examples in the manual pages of `tarnwick config` match the program.

#include "support/config_files.h"
#include "tools/tarnwick/support/program.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test::config_manual_test {
namespace {

struct Step {
    std::vector<std::string> words; ///< command line
    std::string output;
};

/// Returns a line of the page as a reader sees it.
std::string rendered(std::string line)
{
    if (line.starts_with("\\&"))
        line.erase(0, 2);
    for (std::size_t at = 0; (at = line.find("\\(aq", at)) != std::string::npos; ++at)
        line.replace(at, 4, "'");
    EXPECT_EQ(line.find('\\'), std::string::npos) << "unknown escape: " << line;
    return line;
}

/// Returns the commands of the examples of a page, which follow `$`, with their output.
std::vector<Step> examples(std::string const &page)
{
    std::vector<Step> steps;
    std::ifstream lines(page);
    bool in_examples = false;
    bool in_display = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(".Sh "))
            in_examples = line == ".Sh EXAMPLES";
        else if (line.starts_with(".Bd") || line.starts_with(".Ed"))
            in_display = line.starts_with(".Bd");
        else if (in_examples && in_display && line.starts_with("$ ")) {
            Step step;
            std::istringstream words(line.substr(2));
            for (std::string word; words >> word;)
                step.words.push_back(word);
            steps.push_back(step);
        } else if (in_examples && in_display) {
            steps.back().output += rendered(line) + "\n";
        }
    }
    return steps;
}

// The tests set the variables of the examples to empty values, which references ignore.

TEST(ConfigManual, examples_match_the_program)
{
    Variable const port("APP_PORT", "");
    Variable const backup_port("BACKUP_PORT", "");
    ConfigFolder const folder;
    WorkingFolder const here(folder.path());
    auto const steps = examples(TARNWICK_MANUAL "/tarnwick-config.1");
    std::size_t runs = 0;
    for (auto const &[words, output] : steps) {
        ASSERT_GE(words.size(), 2U);
        if (words[0] == "cat") {
            folder.write(words[1], output);
            continue;
        }
        ASSERT_EQ(words[0], "tarnwick");
        auto const outcome = run({.arguments = {words.begin() + 1, words.end()}});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.out, output) << testing::PrintToString(words);
        EXPECT_EQ(outcome.err, "");
        ++runs;
    }
    EXPECT_EQ(runs, 4U);
}

TEST(ConfigManual, format_example_loads)
{
    Variable const port("APP_PORT", "");
    ConfigFolder const folder;
    std::ifstream const page(TARNWICK_MANUAL "/tarnwick-config.5");
    std::ostringstream all;
    all << page.rdbuf();
    auto const text = all.str();
    std::string const begin = ".Sh EXAMPLES\n.Bd -literal -offset indent\n";
    auto const start = text.find(begin) + begin.size();
    auto const example = text.substr(start, text.find(".Ed", start) - start);
    EXPECT_EQ(loaded(folder.write("f.conf", example), "app"),
              (Texts{"port=8080", "title=  Front desk  ", "url.port=8080"}));
}

} // namespace
} // namespace tarnwick::test::config_manual_test
