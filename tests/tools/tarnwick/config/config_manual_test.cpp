// The examples in the manual pages of `tarnwick config` match the program.

#include "support/config_files.h"
#include "tools/tarnwick/support/manual.h"
#include "tools/tarnwick/support/program.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test::config_manual_test {
namespace {

// The tests set the variables of the examples to empty values, which references ignore.

TEST(ConfigManual, examples_match_the_program)
{
    Variable const port("APP_PORT", "");
    Variable const backup_port("BACKUP_PORT", "");
    ConfigFolder const folder;
    WorkingFolder const here(folder.path());
    std::size_t runs = 0;
    for (auto const &[command, output] : examples_of("tarnwick-config.1")) {
        std::istringstream stream(command);
        std::vector<std::string> const words{std::istream_iterator<std::string>(stream), {}};
        ASSERT_GE(words.size(), 2U);
        if (words[0] == "cat") {
            folder.write(words[1], output.value());
            continue;
        }
        ASSERT_EQ(words[0], "tarnwick");
        auto const outcome = run({.arguments = {words.begin() + 1, words.end()}});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.out, output) << command;
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
