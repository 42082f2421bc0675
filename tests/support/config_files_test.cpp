#include "support/config_files.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <system_error>

namespace tarnwick::test::config_files_test {
namespace {

TEST(ScratchFolder, is_in_memory_where_the_space_is_free)
{
    QTemporaryDir const folder;
    auto const there = folder.path();
    auto const missing = there + QString(u"/missing");
    auto const too_much = std::numeric_limits<std::uintmax_t>::max();

    struct Row {
        QString in_memory;
        std::uintmax_t least;
        QString expected;
    };
    for (auto const &row : {
             Row{there, 1, there},
             Row{there, too_much, QDir::tempPath()},
             Row{missing, 0, QDir::tempPath()},
         }) {
        EXPECT_EQ(scratch_folder(row.in_memory, row.least), row.expected)
            << row.in_memory.toStdString() << ", " << row.least << " bytes";
    }
}

TEST(ConfigFolder, is_not_in_a_small_memory_file_system)
{
    ConfigFolder const folder;
    std::error_code error;
    auto const memory = std::filesystem::space("/dev/shm", error);
    if (error || memory.capacity < std::uintmax_t(1) << 30) {
        EXPECT_NE(folder.path().rfind("/dev/shm/", 0), 0U) << folder.path();
    }
    EXPECT_TRUE(std::filesystem::is_directory(folder.path())) << folder.path();
}

} // namespace
} // namespace tarnwick::test::config_files_test
