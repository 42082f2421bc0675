// The queries in docs/questions.md have the results that the page prints.

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "database/request_rows.h"
#include "database/result_printer.h"
#include "database/sqlite.h"
#include "database/tables.h"
#include "database/user_query.h"
#include "print/output.h"
#include "requests/whole_request.h"
#include "tools/tarnwick/support/files.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::questions_test {
namespace {

struct Question {
    std::string title;
    std::string sql;
    std::string result;
};

/// Returns the text of the next block of this kind, and moves `at` after it.
std::string next_block(std::string const &page, std::string_view kind, std::size_t &at)
{
    auto const fence = "```" + std::string(kind) + "\n";
    auto const begin = page.find(fence, at) + fence.size();
    auto const end = page.find("```\n", begin);
    at = end + 4;
    return page.substr(begin, end - begin);
}

std::vector<Question> questions()
{
    std::ifstream const file(TARNWICK_SOURCES "/docs/questions.md");
    std::ostringstream all;
    all << file.rdbuf();
    auto const page = all.str();
    std::vector<Question> found;
    for (std::size_t at = 0; (at = page.find("\n## ", at)) != std::string::npos;) {
        Question question;
        question.title = page.substr(at + 4, page.find('\n', at + 1) - at - 4);
        ++at;
        question.sql = next_block(page, "sql", at);
        question.result = next_block(page, "text", at);
        found.push_back(std::move(question));
    }
    return found;
}

void fill_with_captures(program::Database const &database, program::Output &output)
{
    using namespace program;
    std::vector<std::string> names;
    for (auto const &entry : std::filesystem::directory_iterator(TARNWICK_CAPTURES)) {
        if (entry.path().extension() == ".tnw")
            names.push_back(entry.path().string());
    }
    std::ranges::sort(names);
    RequestRows rows(database, Masks(MaskRules()));
    ReportChoice const all;
    WholeRequestSink sink(all, [&](WholeRequest const &request) { rows.insert(request); }, true);
    RecordFeed feed(sink);
    EXPECT_EQ(read_captures(capture_files(names), output,
                            [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); }),
              success);
    sink.close_all();
}

TEST(Questions, have_the_results_of_the_page)
{
    using namespace program;
    auto const page = questions();
    EXPECT_EQ(page.size(), 20U);
    MemoryFile const nowhere;
    Output no_output(nowhere.descriptor());
    Database const database({});
    database.execute(create_tables);
    database.execute("BEGIN");
    fill_with_captures(database, no_output);
    for (auto const &[title, sql, result] : page) {
        SCOPED_TRACE(title);
        MemoryFile const printed;
        Output output(printed.descriptor());
        UserQuery const query(database, sql);
        ResultPrinter printer(output, TableFormat::text, query.columns());
        query.run({}, [&](auto const &values) {
            printer.print(values);
            return true;
        });
        printer.finish();
        output.flush();
        EXPECT_GT(printer.rows(), 0U);
        EXPECT_EQ(printed.content(), result);
    }
}

} // namespace
} // namespace tarnwick::test::questions_test
