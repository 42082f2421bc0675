#pragma once

#include "database/sqlite.h"

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tarnwick::program {

/// Fault of a query, with its place.
class QueryError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A query took longer than permitted.
class QueryTimeout : public std::exception {};

/// Bytes that are no text.
struct Blob {
    std::string_view bytes;
};

/// A value in a row of a result; NULL, an integer, a real number, a text or bytes. Views the row.
using ResultValue = std::variant<std::monostate, std::int64_t, double, std::string_view, Blob>;

/// A query of a user, which can only read. It can use SELECT, the functions of SQLite and recursion, but not write, open
/// files, load extensions or change settings.
class UserQuery {
public:
    using Clock = std::chrono::steady_clock;

    /// Throws `QueryError`. REQUIRES: the database outlives the query.
    UserQuery(Database const &database, std::string sql);

    /// The names of the columns. Of several columns with the same name, later ones have a number.
    [[nodiscard]] std::vector<std::string> columns() const;

    /// Passes each row of the result to `use`, until that returns false. Throws `QueryError`, and `QueryTimeout` after
    /// `timeout`.
    void run(std::optional<std::chrono::nanoseconds> timeout,
             std::function<bool(std::vector<ResultValue> const &values)> const &use) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt *handle) const;
    };
    using Handle = std::unique_ptr<sqlite3_stmt, Finalize>;

    /// Returns the first statement of a text, and sets `rest` to the text after it.
    Handle prepare(std::string_view sql, std::string_view &rest) const;
    [[noreturn]] void fail() const;

    Database const &database_;
    std::string sql_;
    Handle handle_;
};

} // namespace tarnwick::program
