#include "config/origins.h"
#include "config/warnings.h"

#include "support/allocations.h"
#include "support/config_files.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace tarnwick::test::line_tracker_test {
namespace {

using namespace tarnwick::program;

/// Writes a chain of files, each of which includes the next. Returns the root.
std::string write_chain(ConfigFolder const &folder, int includes)
{
    for (int i = 0; i <= includes; ++i) {
        auto const next = i < includes ? fmt::format("include = {}.conf\n", i + 1) : "";
        folder.write(fmt::format("{}.conf", i), next + "app.a = 1\nb = 2\napp.c = ${app.none}\n");
    }
    return folder.path("0.conf");
}

/// Returns the allocations of a load that the observer adds.
template <class Tracker>
std::size_t allocations_in(std::string const &file)
{
    auto const plain = allocations_of([&] { (void)ConfigFile::load(q(file), QString(u"app")); });
    Tracker tracker;
    return allocations_of([&] { (void)ConfigFile::load(q(file), QString(u"app"), &tracker); }) - plain;
}

template <class Tracker>
class LineTrackers : public testing::Test {};
using Trackers = testing::Types<LineTracker, ConfigWarnings>;
TYPED_TEST_SUITE(LineTrackers, Trackers);

TYPED_TEST(LineTrackers, cost_per_file_does_not_depend_on_depth)
{
    ConfigFolder const folder;
    (void)allocations_in<TypeParam>(write_chain(folder, 1)); // makes the allocations that happen once per process
    auto const shallow = allocations_in<TypeParam>(write_chain(folder, 50));
    auto const deep = allocations_in<TypeParam>(write_chain(folder, 400));
    EXPECT_LT(deep, 10 * shallow);
}

TEST(CurrentLine, is_the_include_after_its_file_ends)
{
    ConfigFolder const folder;
    folder.write("0.conf", "include = 1.conf\n");
    folder.write("1.conf", "a = ${none:-1}\n");
    LineTracker tracker;
    (void)ConfigFile::load(q(folder.path("0.conf")), QString(), &tracker);
    EXPECT_EQ(tracker.line().toStdString(), "include = 1.conf");
    EXPECT_FALSE(tracker.reference());
}

TEST(ConfigPlace, lists_includes_from_the_root)
{
    ConfigFolder const folder;
    auto const file = write_chain(folder, 3);
    folder.write("3.conf", "app.a = 1\noops\n");
    LineTracker tracker;
    EXPECT_FALSE(tracker.place());
    EXPECT_NE(failure_of([&] { (void)ConfigFile::load(q(file), QString(u"app"), &tracker); }), "");
    ASSERT_TRUE(tracker.place());
    auto const shown = [](ConfigPlace::Line const &line) {
        return fmt::format("{}:{}", line.file.toStdString(), line.number);
    };
    EXPECT_EQ(shown(tracker.place()->line), folder.path("3.conf") + ":2");
    Texts includes;
    for (auto const &line : tracker.place()->includes())
        includes.push_back(shown(line));
    EXPECT_EQ(includes, (Texts{file + ":1", folder.path("1.conf") + ":1", folder.path("2.conf") + ":1"}));
}

TEST(ConfigPlace, is_valid_after_its_file_is_closed)
{
    ConfigFolder const folder;
    auto const file = write_chain(folder, 2);
    ConfigOrigins origins;
    (void)ConfigFile::load(q(file), QString(u"app"), &origins);
    std::vector<std::size_t> depths;
    for (auto const &origin : origins.values(QString(u"a")))
        depths.push_back(origin.place.includes().size());
    std::ranges::sort(depths);
    EXPECT_EQ(depths, (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_EQ(origins.dropped(QString(u"c")).size(), 3U);
}

} // namespace
} // namespace tarnwick::test::line_tracker_test
