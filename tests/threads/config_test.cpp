// Configuration files that threads read at the same time while they log.

#include "threads/threads.h"

#include "support/config_files.h"

#include <pcommon/plogger.h>
#include <tarnwick/pconfigfile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test::threads_config_test {
namespace {

constexpr int loads = 10;

std::string write_files(ConfigFolder const &folder)
{
    folder.write("conf.d/a.conf", "app.a = ${app.host}\napp.b = 'quoted'\n");
    folder.write("conf.d/b.conf", "app.a = ${TARNWICK_NOT_SET:-default}\napp.c = ${HOME}\n");
    return folder.write("f.conf", "# every directive\n"
                                  "app.host = \"localhost\"\n"
                                  "include = conf.d/*.conf\n"
                                  "app.again = ${app.host}\n"
                                  "other = 1\n");
}

Texts loaded_quietly(std::string const &file)
{
    Texts table;
    auto const config = ConfigFile::load(q(file), QString(u"app"));
    for (auto const &key : config.keys()) {
        for (auto const &value : config.values(key))
            table.push_back((key + u'=' + value).toStdString());
    }
    return table;
}

TEST(ConfigFiles, are_read_on_all_threads_while_some_change_the_log)
{
    ConfigFolder const folder;
    auto const file = write_files(folder);
    auto const expected = loaded_quietly(file);
    ASSERT_EQ(expected.size(), 6U);

    std::ostringstream one;
    std::ostringstream other;
    auto &logger = PLogger::instance();
    auto const level = logger.level();
    std::atomic<std::size_t> different = 0;
    on_threads([&](std::size_t thread) {
        for (int load = 0; load < loads; ++load) {
            different += loaded_quietly(file) != expected;
            if (thread % 8 == 0) {
                logger.set_level(load % 2 == 0 ? 5 : 3);
                logger.set_output(load % 3 == 0 ? &one : &other);
            }
        }
    });
    logger.set_output(nullptr);
    logger.set_level(level);
    EXPECT_EQ(different, 0U);

    std::istringstream lines(one.str() + other.str());
    std::size_t whole = 0;
    for (std::string line; std::getline(lines, line); ++whole)
        EXPECT_TRUE(line.starts_with("3 libs/tarnwick/pconfigfile:") ||
                    line.starts_with("5 libs/tarnwick/pconfigfile:"))
            << line;
    EXPECT_GT(whole, 0U);
}

// Each thread has a child of one parent. The children read the table of the parent, which nobody changes.
TEST(ConfigFiles, have_one_parent_on_all_threads)
{
    ConfigFolder const folder;
    ConfigFile const parent =
        ConfigFile::load(q(folder.write("parent.conf", "host = localhost\nport = 80\n")), QString());
    auto const file = folder.write("child.conf", "a = ${host}\nb = ${port}\n");
    std::atomic<std::size_t> right = 0;
    on_threads([&](std::size_t) {
        for (int load = 0; load < loads; ++load) {
            auto const child = ConfigFile::load(parent, q(file));
            right +=
                child.value(QString(u"a")) == QString(u"localhost") && child.value(QString(u"b")) == QString(u"80");
        }
    });
    EXPECT_EQ(right, threads * loads);
}

// In a process of its own: the first load initialises what all files share.
TEST(ConfigFilesDeathTest, may_be_read_first_on_all_threads)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ConfigFolder const folder;
    auto const file = write_files(folder);
    EXPECT_EXIT(
        {
            std::vector<Texts> tables(threads);
            on_threads([&](std::size_t thread) { tables[thread] = loaded_quietly(file); });
            bool const same = std::ranges::all_of(tables, [&](auto const &table) { return table == tables.front(); });
            // NOLINTNEXTLINE(concurrency-mt-unsafe): the other threads have ended
            std::exit(same && tables.front().size() == 6 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

// A load takes the lock of the log, which synchronises threads. Here nothing does.
TEST(ConfigFilesDeathTest, may_look_for_references_first_on_all_threads)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ConfigFile const config(QString(u"f.conf"), QString());
            std::atomic<std::size_t> found = 0;
            on_threads([&](std::size_t) {
                QString name;
                std::optional<QString> default_value;
                found += config.is_var(QString(u"${app.host:-none}"), name, default_value) && name == u"app.host" &&
                         default_value == u"none";
            });
            // NOLINTNEXTLINE(concurrency-mt-unsafe): the other threads have ended
            std::exit(found == threads ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace tarnwick::test::threads_config_test
