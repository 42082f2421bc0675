#pragma once

#include "database/cell.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace tarnwick::program {

/// Failure of SQLite to read or write a database.
class DatabaseError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// An open database of SQLite.
class Database {
public:
    /// Opens a file, or creates it. An empty name is a temporary database, on the disk if it does not fit in memory.
    explicit Database(std::string file);

    [[nodiscard]] sqlite3 *get() const { return handle_.get(); }
    [[nodiscard]] bool is_temporary() const { return file_.empty(); }
    [[nodiscard]] std::string const &file() const { return file_; }

    /// Runs statements that return no rows. Throws `DatabaseError`.
    void execute(char const *sql) const;
    /// Throws a `DatabaseError` for the last failure.
    [[noreturn]] void fail() const;

private:
    struct Close {
        void operator()(sqlite3 *handle) const;
    };

    std::string file_;
    std::unique_ptr<sqlite3, Close> handle_;
};

/// A prepared statement of the program itself. All functions throw `DatabaseError`. REQUIRES: the database outlives it.
class Statement {
public:
    Statement(Database const &database, std::string_view sql);

    /// Sets the parameters, runs the statement to its end, and drops its rows.
    void run(Row const &parameters);
    /// Sets the parameters and reads the first row. Returns whether there is one. `parameters` stay valid until `reset`.
    bool find(Row const &parameters);
    /// Drops the row that `find` read.
    void reset();
    /// Returns a value of the row that `find` read.
    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] std::string text(int column) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt *handle) const;
    };

    bool step();

    Database const &database_;
    std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

} // namespace tarnwick::program
