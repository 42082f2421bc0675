// Every record of the list has tests, a benchmark, a row in the manual and a layout assertion. A failure names the record
// and what it lacks.

#include "support/records/symbol.h"

#include <tarnwick/data/records.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

namespace tarnwick::data::records_test {
namespace {

using testing::IsEmpty;
namespace fs = std::filesystem;

std::string text_of(fs::path const &file)
{
    std::ifstream stream(fs::path(TARNWICK_SOURCES) / file);
    EXPECT_TRUE(stream) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

bool contains(std::string const &text, std::string const &expression)
{
    return std::regex_search(text, std::regex(expression));
}

struct Name {
    std::string family; ///< `php`
    std::string record; ///< `RShutdown`
};

/// The records of a list for which a condition is false.
template <class List>
std::vector<std::string> lacking(List list, std::function<bool(Name const &)> const &has)
{
    std::vector<std::string> found;
    for_each_type(list, [&]<class Record> {
        std::smatch parts;
        auto const symbol = test::symbol<Record>();
        EXPECT_TRUE(std::regex_match(symbol, parts, std::regex("tarnwick::data::(\\w+)::(\\w+)"))) << symbol;
        if (!has({parts.str(1), parts.str(2)}))
            found.push_back(parts.str(1) + "::" + parts.str(2));
    });
    return found;
}

TEST(Records, have_a_test_suite)
{
    auto const &tests = *testing::UnitTest::GetInstance();
    std::string suites;
    for (int i = 0; i < tests.total_test_suite_count(); ++i)
        suites += std::string("\n/") + tests.GetTestSuite(i)->name() + "/";
    EXPECT_THAT(lacking(AllRecords(),
                        [&](Name const &name) { return contains(suites, "/" + name.record + "(From\\w*|Of\\w*)?/"); }),
                IsEmpty());
}

TEST(Records, that_reports_feed_have_a_benchmark_workload)
{
    auto const costs = text_of("benchmarks/costs/costs.cpp");
    auto const measured = costs + text_of("benchmarks/speed_benchmark.cpp");
    std::string workloads = costs;
    for (auto const &file : fs::recursive_directory_iterator(fs::path(TARNWICK_SOURCES) / "benchmarks/data")) {
        if (contains(measured, "/" + file.path().filename().string() + "\""))
            workloads += text_of(file.path());
    }
    auto const lacking_workload = lacking(ReportRecords(), [&](Name const &name) {
        return contains(workloads, "\\b" + name.family + "::" + name.record + "\\b");
    });
    // An added chunk is built as a chunk is, and a header has a fixed size and no allocation of its own.
    EXPECT_THAT(lacking_workload, testing::ElementsAre("codetrace::AddData", "codetrace::Header"));
}

TEST(Records, that_reports_feed_have_a_row_in_the_manual)
{
    auto const manual = text_of("docs/man/tarnwick-inspect.1");
    EXPECT_THAT(lacking(ReportRecords(),
                        [&](Name const &name) {
                            return contains(manual, "\n\\.It [^\n]* Ta [^\n]*\\b" + name.family + "\\." + name.record +
                                                        "[ \n]");
                        }),
                IsEmpty());
}

TEST(Records, have_a_layout_assertion)
{
    auto const layouts = text_of("tests/data/layout_test.cpp");
    EXPECT_THAT(lacking(AllRecords(),
                        [&](Name const &name) {
                            return contains(layouts, "\ntemplate struct Layout<\\s*" + name.family + "::(detail::)?" +
                                                         name.record + ",");
                        }),
                IsEmpty());
}

// The test programs instantiate the template themselves; clients cannot.
TEST(Records, print_with_the_library_alone)
{
    auto const print = text_of("libs/tarnwick/data/print.cpp");
    EXPECT_THAT(lacking(AllRecords(),
                        [&](Name const &name) {
                            return contains(print, "\ntemplate struct TARNWICK_EXPORT PartText<(" + name.family +
                                                       "::)?(detail::)?" + name.record + ">;");
                        }),
                IsEmpty());
}

} // namespace
} // namespace tarnwick::data::records_test
