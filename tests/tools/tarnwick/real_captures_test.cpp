// The captures in this repository, with reports of real applications.

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "print/request_page.h"
#include "requests/dialect_differences.h"
#include "requests/whole_request.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLatin1StringView>
#include <QtCore/QString>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test::real_captures_test {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::Not;

std::vector<std::string> captures()
{
    std::vector<std::string> files;
    for (auto const &entry : std::filesystem::directory_iterator(TARNWICK_CAPTURES)) {
        if (entry.path().extension() == ".tnw")
            files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<QJsonObject> objects(std::string const &jsonl)
{
    std::vector<QJsonObject> found;
    std::istringstream lines(jsonl);
    for (std::string line; std::getline(lines, line);) {
        auto const document = QJsonDocument::fromJson(QByteArray::fromStdString(line));
        EXPECT_TRUE(document.isObject()) << line;
        found.push_back(document.object());
    }
    return found;
}

std::string text(QJsonValue const &value)
{
    return value.toVariant().toString().toStdString();
}

TEST(RealCaptures, are_read_without_a_fault)
{
    auto const files = captures();
    ASSERT_THAT(files, Not(IsEmpty())) << "no capture in " TARNWICK_CAPTURES;
    for (auto const &file : files) {
        SCOPED_TRACE(file);
        auto const outcome = inspect({file});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        std::vector<std::string> names;
        for (auto const &record : objects(outcome.out))
            names.push_back(text(record[QLatin1StringView("record")]));
        EXPECT_THAT(names, Contains("php.RShutdown"));
    }
}

TEST(RealCaptures, dialects_agree_except_for_what_a_dialect_cannot_carry)
{
    for (auto const &file : captures()) {
        auto const outcome = run({.arguments = {"diff", "--dialects", "--format=text", file}});
        EXPECT_EQ(outcome.status, 0) << file;
        EXPECT_EQ(outcome.err, "") << file;
        EXPECT_THAT(outcome.out,
                    MatchesRegex("Compared [1-9][0-9]+ pairs of records in [1-9][0-9]* requests: no differences.\n"))
            << file;
    }
}

TEST(RealCaptures, have_requests_that_fit_two_screens)
{
    std::size_t count = 0;
    program::ReportChoice const all;
    program::WholeRequestSink requests(
        all,
        [&count](program::WholeRequest const &request) {
            ++count;
            auto const page =
                program::request_page({request.summary, request}, {.masks = program::Masks(program::MaskRules())});
            EXPECT_LE(std::ranges::count(page, '\n'), 100) << page;
        },
        true);
    program::RecordFeed feed(requests);
    program::reread_captures(program::capture_files(captures()),
                             [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); });
    requests.close_all();
    EXPECT_GT(count, 100);
}

// The differences that the recorder makes. It is the model of a sender.
TEST(RealCaptures, have_the_differences_that_are_excepted)
{
    std::set<std::string> found;
    program::DialectDifferences differences([](std::uint64_t /*number*/) { return true; }, {},
                                            [](program::DialectDifference const & /*difference*/) {});
    program::RecordFeed feed(differences);
    program::reread_captures(program::capture_files(captures()),
                             [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); });
    differences.close_all();
    for (auto const *exception : differences.exceptions())
        found.emplace(exception->path);
    for (auto const *absence : differences.absences())
        found.emplace(absence->record);
    EXPECT_THAT(found, IsSupersetOf({"*", "*.call_value", "php.RInit.version_text", "php.RInit.version_number",
                                     "php.RInit.request_bytes_1", "php.RShutdown.timestamp", "php.ResponseBody.number",
                                     "php.Superglobals init.values[]", "monitor.Event 4.function",
                                     "monitor.Event 4.stack_trace", "codetrace.Data.more", "php.PostData"}));
}

} // namespace
} // namespace tarnwick::test::real_captures_test
