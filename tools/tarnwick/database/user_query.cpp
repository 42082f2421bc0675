#include "database/user_query.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace tarnwick::program {
namespace {

/// Functions that change more than their result.
constexpr std::array<std::string_view, 2> denied_functions{"fts3_tokenizer", "load_extension"};

/// Permits reading only. SQLite calls it for each part of a statement that is prepared. `is_denied`: set if a part is not
/// permitted.
int authorize(void *is_denied, int action, char const * /*first*/, char const *second, char const * /*database*/,
              char const * /*view*/)
{
    switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_RECURSIVE:
        return SQLITE_OK;
    case SQLITE_FUNCTION:
        if (second == nullptr ||
            std::ranges::find(denied_functions, std::string_view(second)) == denied_functions.end())
            return SQLITE_OK;
        [[fallthrough]];
    default:
        *static_cast<bool *>(is_denied) = true;
        return SQLITE_DENY;
    }
}

/// Authorizes statements that are prepared while it exists.
class ReadingOnly {
public:
    explicit ReadingOnly(Database const &database)
        : database_(database)
    {
        ::sqlite3_set_authorizer(database_.get(), authorize, &is_denied_);
    }
    ~ReadingOnly()
    {
        ::sqlite3_set_authorizer(database_.get(), nullptr, nullptr);
        ::sqlite3_progress_handler(database_.get(), 0, nullptr, nullptr);
    }
    ReadingOnly(ReadingOnly const &) = delete;
    ReadingOnly &operator=(ReadingOnly const &) = delete;

    /// Whether a statement was refused.
    [[nodiscard]] bool has_denied() const { return is_denied_; }

private:
    Database const &database_;
    bool is_denied_ = false;
};

/// Returns the line and the column of an offset, in characters from 1.
std::string query_place(std::string_view sql, std::size_t offset)
{
    auto const before = sql.substr(0, offset);
    auto const line_start = before.rfind('\n') + 1;
    auto const column = std::ranges::count_if(
        before.substr(line_start), [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U; });
    return fmt::format("line {}, column {}", std::ranges::count(before, '\n') + 1, column + 1);
}

[[noreturn]] void refuse()
{
    throw QueryError("SQL: a query can only read, with SELECT");
}

int is_past(void *deadline)
{
    return UserQuery::Clock::now() > *static_cast<UserQuery::Clock::time_point const *>(deadline) ? 1 : 0;
}

ResultValue result_value(sqlite3_stmt *statement, int column)
{
    auto const bytes = [&](void const *data) {
        auto const size = static_cast<std::size_t>(::sqlite3_column_bytes(statement, column));
        return data == nullptr ? std::string_view("") : std::string_view(static_cast<char const *>(data), size);
    };
    switch (::sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
        return std::int64_t{::sqlite3_column_int64(statement, column)};
    case SQLITE_FLOAT:
        return ::sqlite3_column_double(statement, column);
    case SQLITE_TEXT:
        return bytes(::sqlite3_column_text(statement, column));
    case SQLITE_BLOB:
        return Blob{bytes(::sqlite3_column_blob(statement, column))};
    default:
        return {};
    }
}

} // namespace

void UserQuery::Finalize::operator()(sqlite3_stmt *handle) const
{
    ::sqlite3_finalize(handle);
}

UserQuery::UserQuery(Database const &database, std::string sql)
    : database_(database)
    , sql_(std::move(sql))
{
    // A NUL would end the text.
    if (auto const nul = sql_.find('\0'); nul != std::string::npos)
        throw QueryError(fmt::format("SQL, {}: a query cannot contain NUL", query_place(sql_, nul)));
    std::string_view rest;
    handle_ = prepare(sql_, rest);
    if (handle_ == nullptr)
        throw QueryError("SQL: the query is empty");
    if (prepare(rest, rest) != nullptr)
        throw QueryError("SQL: only one statement is possible");
}

UserQuery::Handle UserQuery::prepare(std::string_view sql, std::string_view &rest) const
{
    ReadingOnly const reading_only(database_);
    sqlite3_stmt *handle = nullptr;
    char const *end = nullptr;
    auto const status = ::sqlite3_prepare_v2(database_.get(), sql.data(), static_cast<int>(sql.size()), &handle, &end);
    Handle owner(handle);
    if (reading_only.has_denied())
        refuse();
    if (status != SQLITE_OK) {
        auto const offset = ::sqlite3_error_offset(database_.get());
        if (offset < 0)
            fail();
        auto const place = static_cast<std::size_t>(sql.data() - sql_.data()) + static_cast<std::size_t>(offset);
        throw QueryError(fmt::format("SQL, {}: {}", query_place(sql_, place), ::sqlite3_errmsg(database_.get())));
    }
    rest = sql.substr(static_cast<std::size_t>(end - sql.data()));
    return owner;
}

void UserQuery::fail() const
{
    throw QueryError(fmt::format("SQL: {}", ::sqlite3_errmsg(database_.get())));
}

std::vector<std::string> UserQuery::columns() const
{
    std::vector<std::string> names;
    for (int i = 0; i < ::sqlite3_column_count(handle_.get()); ++i) {
        auto const *const name = ::sqlite3_column_name(handle_.get(), i);
        std::string const first = name == nullptr ? "" : name;
        auto unique = first;
        for (int number = 1; std::ranges::find(names, unique) != names.end(); ++number)
            unique = fmt::format("{}:{}", first, number);
        names.push_back(std::move(unique));
    }
    return names;
}

void UserQuery::run(std::optional<std::chrono::nanoseconds> timeout,
                    std::function<bool(std::vector<ResultValue> const &values)> const &use) const
{
    // SQLite prepares a statement again if the tables have changed.
    ReadingOnly const reading_only(database_);
    constexpr int instructions_between_checks = 10'000;
    Clock::time_point deadline;
    if (timeout) {
        deadline = Clock::now() + *timeout;
        ::sqlite3_progress_handler(database_.get(), instructions_between_checks, is_past, &deadline);
    }
    std::vector<ResultValue> values(static_cast<std::size_t>(::sqlite3_column_count(handle_.get())));
    int status = SQLITE_ROW;
    while ((status = ::sqlite3_step(handle_.get())) == SQLITE_ROW) {
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = result_value(handle_.get(), static_cast<int>(i));
        if (!use(values))
            break;
    }
    ::sqlite3_reset(handle_.get());
    if (status == SQLITE_INTERRUPT)
        throw QueryTimeout();
    // Some statements are only authorized when they run.
    if (reading_only.has_denied())
        refuse();
    if (status != SQLITE_ROW && status != SQLITE_DONE)
        fail();
}

} // namespace tarnwick::program
