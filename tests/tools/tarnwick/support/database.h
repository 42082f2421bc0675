#pragma once

// Reads databases of SQLite.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tarnwick::test {

/// A name for a database, which is removed when the test ends.
class DatabaseFile {
public:
    DatabaseFile()
    {
        std::string folder = testing::TempDir() + "tarnwick-XXXXXX";
        EXPECT_NE(::mkdtemp(folder.data()), nullptr);
        folder_ = folder;
    }
    ~DatabaseFile() { std::filesystem::remove_all(folder_); }
    DatabaseFile(DatabaseFile const &) = delete;
    DatabaseFile &operator=(DatabaseFile const &) = delete;

    [[nodiscard]] std::string name() const { return folder_ / "requests.db"; }

private:
    std::filesystem::path folder_;
};

/// Returns the rows of a query, their values as literals of SQL with `|` between.
inline std::vector<std::string> sql_rows(std::string const &file, std::string const &sql)
{
    sqlite3 *database = nullptr;
    sqlite3_stmt *statement = nullptr;
    EXPECT_EQ(::sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK) << file;
    EXPECT_EQ(::sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
        << ::sqlite3_errmsg(database) << " in " << sql;
    std::vector<std::string> rows;
    int status = SQLITE_ERROR;
    while ((status = ::sqlite3_step(statement)) == SQLITE_ROW) {
        std::string row;
        for (int i = 0; i < ::sqlite3_column_count(statement); ++i) {
            row += i > 0 ? "|" : "";
            auto const *const text = ::sqlite3_column_text(statement, i);
            row += text == nullptr ? "NULL" : reinterpret_cast<char const *>(text);
        }
        rows.push_back(row);
    }
    EXPECT_EQ(status, SQLITE_DONE) << ::sqlite3_errmsg(database);
    ::sqlite3_finalize(statement);
    ::sqlite3_close(database);
    return rows;
}

/// Returns all rows of all tables, apart from their keys.
inline std::vector<std::string> all_rows(std::string const &file)
{
    std::vector<std::string> all = sql_rows(file, "PRAGMA integrity_check");
    for (auto const &table : sql_rows(file, "SELECT name FROM sqlite_schema WHERE type = 'table' ORDER BY name")) {
        if (table == "export")
            continue;
        std::string columns;
        for (auto const &column : sql_rows(file, fmt::format("SELECT name FROM pragma_table_info('{}')", table))) {
            if (column != "request" && column != "number")
                columns += fmt::format(R"( || '|' || quote({}."{}"))", table, column);
        }
        for (auto const &row :
             sql_rows(file, fmt::format("SELECT request_id || coalesce(start, ''){} FROM {}{} ORDER BY 1", columns,
                                        table, table == "requests" ? "" : " JOIN requests USING (request)")))
            all.push_back(fmt::format("{}: {}", table, row));
    }
    return all;
}

} // namespace tarnwick::test
