#include "support/allocations.h"
#include "support/config_files.h"
#include "support/log_lines.h"
#include "support/table.h"

#include <tarnwick/tarnwick_utils.h>

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QString>

#include <cstdint>
#include <string>

namespace tarnwick::test::tarnwick_utils_db_path_test {
namespace {

using PelorinPHPX::check_obsolete_db_path;

std::string logged(std::string const &current, std::string const &expected)
{
    static auto const place =
        place_in_source("libs/tarnwick/tarnwick_utils", "Current path: '{}', expected path: '{}'");
    return "3 " + place + " Current path: '" + current + "', expected path: '" + expected + "'";
}

struct DbPathCase {
    char const *name;
    std::string current;
    std::string expected;
    bool result;
    // The resolved paths.
    std::string current_resolved;
    std::string expected_resolved;
};

class DbPath : public TableTest<DbPathCase> {};

TEST_P(DbPath, is_compared)
{
    ConfigFolder const folder;
    folder.write("db", "");
    folder.write("other", "");
    folder.write("sub/db", "");
    folder.link("db", "link");
    folder.link("link", "link-to-link");
    folder.link("nowhere", "dangling");
    folder.link("sub", "sub-link");
    WorkingFolder const here(folder.path());

    auto const &row = GetParam();
    LogLines const out(3);
    EXPECT_EQ(check_obsolete_db_path(q(in(folder, row.current)), q(in(folder, row.expected))), row.result);
    EXPECT_EQ(out.lines(), Texts{logged(in(folder, row.current_resolved), in(folder, row.expected_resolved))});
}

INSTANTIATE_TEST_SUITE_P(
    Paths, DbPath,
    testing::Values(
        DbPathCase{"same_file", "FOLDER/db", "FOLDER/db", true, "FOLDER/db", "FOLDER/db"},
        DbPathCase{"other_file", "FOLDER/db", "FOLDER/other", false, "FOLDER/db", "FOLDER/other"},
        DbPathCase{"empty_expected", "FOLDER/db", "", false, "FOLDER/db", ""},
        DbPathCase{"neither_exists", "/var/lib/x/db", "/var/lib/./x//db", true, "/var/lib/x/db", "/var/lib/x/db"},
        DbPathCase{"neither_exists_and_they_differ", "/var/lib/x/../db", "/var/lib/x/db", false, "/var/lib/db",
                   "/var/lib/x/db"},
        DbPathCase{"link_as_current", "FOLDER/link", "FOLDER/db", true, "FOLDER/db", "FOLDER/db"},
        DbPathCase{"link_as_expected", "FOLDER/db", "FOLDER/link", true, "FOLDER/db", "FOLDER/db"},
        DbPathCase{"link_to_a_link", "FOLDER/link-to-link", "FOLDER/link", true, "FOLDER/db", "FOLDER/db"},
        DbPathCase{"link_in_a_folder", "FOLDER/sub-link/db", "FOLDER/sub/db", true, "FOLDER/sub/db", "FOLDER/sub/db"},
        DbPathCase{"dangling_link_stays_its_text", "FOLDER/./dangling", "FOLDER/nowhere", false, "FOLDER/dangling",
                   "FOLDER/nowhere"},
        DbPathCase{"letters_of_other_case", "FOLDER/DB", "FOLDER/db", false, "FOLDER/DB", "FOLDER/db"},
        DbPathCase{"relative_that_exists", "db", "FOLDER/db", true, "FOLDER/db", "FOLDER/db"},
        DbPathCase{"relative_that_does_not", "missing", "FOLDER/missing", false, "missing", "FOLDER/missing"},
        DbPathCase{"relative_is_cleaned", "./a/../missing", "missing", true, "missing", "missing"}),
    by_name);

TEST(DbPathOfNone, returns_true_and_logs_nothing)
{
    LogLines const out(127);
    EXPECT_TRUE(check_obsolete_db_path(QString(), QString(u"/db")));
    EXPECT_TRUE(check_obsolete_db_path(QString(u""), QString(u"/db")));
    EXPECT_TRUE(check_obsolete_db_path(QString(), QString()));
    EXPECT_EQ(out.lines(), Texts());
}

TEST(DbPathLog, formats_nothing_below_its_level)
{
    // The check needs the two resolved paths.
    auto const resolved = [](QString const &path) {
        auto canonical = QFileInfo(path).canonicalFilePath();
        return canonical.isEmpty() ? QDir::cleanPath(path) : canonical;
    };
    QString const current(u"/missing/path/of/the//database");
    QString const expected(u"/missing/path/of/the/database");
    ASSERT_EQ(resolved(current), resolved(expected));
    auto const needed = allocations_of([&] {
        (void)resolved(current);
        (void)resolved(expected);
    });
    auto const taken = [&](std::int8_t level) {
        LogLines const out(level);
        return allocations_of([&] { (void)check_obsolete_db_path(current, expected); });
    };

    EXPECT_EQ(taken(-1), needed);
    EXPECT_EQ(taken(2), needed);
    EXPECT_GT(taken(3), needed);
}

TEST(DbPathLog, does_not_affect_the_result_when_it_is_off)
{
    LogLines const out(2);
    EXPECT_TRUE(check_obsolete_db_path(QString(u"/x//db"), QString(u"/x/db")));
    EXPECT_FALSE(check_obsolete_db_path(QString(u"/x/db"), QString(u"/y/db")));
    EXPECT_EQ(out.lines(), Texts());
}

} // namespace
} // namespace tarnwick::test::tarnwick_utils_db_path_test
