#include "database/sqlite.h"

#include "error_text.h"
#include "print/readable_text.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <QtCore/QUtf8StringView>

#include <utility>

namespace tarnwick::program {
namespace {

bool is_text(QByteArray const &bytes)
{
    return !bytes.contains('\0') && QUtf8StringView(bytes.constData(), bytes.size()).isValidUtf8();
}

/// Binds the value of a cell, whose bytes stay valid until the statement is reset.
struct BindCell {
    sqlite3_stmt *statement;
    int parameter;

    int operator()(std::monostate /*value*/) const { return ::sqlite3_bind_null(statement, parameter); }
    int operator()(std::int64_t value) const { return ::sqlite3_bind_int64(statement, parameter, value); }
    int operator()(double value) const { return ::sqlite3_bind_double(statement, parameter, value); }
    int operator()(QByteArray const &bytes) const
    {
        auto const size = static_cast<sqlite3_uint64>(bytes.size());
        // SQLite binds NULL for a null pointer.
        auto const *const data = bytes.isEmpty() ? "" : bytes.constData();
        return is_text(bytes) ? ::sqlite3_bind_text64(statement, parameter, data, size, SQLITE_STATIC, SQLITE_UTF8)
                              : ::sqlite3_bind_blob64(statement, parameter, data, size, SQLITE_STATIC);
    }
};

} // namespace

void Database::Close::operator()(sqlite3 *handle) const
{
    ::sqlite3_close_v2(handle);
}

Database::Database(std::string file)
    : file_(std::move(file))
{
    sqlite3 *handle = nullptr;
    // A relative name that starts with a colon is a file, unlike SQLite's own `:memory:`.
    auto const name = file_.empty() || file_.starts_with('/') ? file_ : "./" + file_;
    auto const status = ::sqlite3_open_v2(name.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    handle_.reset(handle);
    if (status != SQLITE_OK)
        fail();
    ::sqlite3_extended_result_codes(handle, 1);
}

void Database::execute(char const *sql) const
{
    if (::sqlite3_exec(get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail();
}

void Database::fail() const
{
    auto const error = ::sqlite3_system_errno(get());
    auto const code = ::sqlite3_errcode(get()) & 0xff;
    bool const is_of_file = error != 0 && (code == SQLITE_CANTOPEN || code == SQLITE_IOERR || code == SQLITE_FULL);
    auto const reason = is_of_file ? error_text(error) : std::string(::sqlite3_errmsg(get()));
    throw DatabaseError(
        fmt::format("cannot write {}: {}", is_temporary() ? "the temporary database" : escaped_text(file_), reason));
}

void Statement::Finalize::operator()(sqlite3_stmt *handle) const
{
    ::sqlite3_finalize(handle);
}

Statement::Statement(Database const &database, std::string_view sql)
    : database_(database)
{
    sqlite3_stmt *handle = nullptr;
    auto const status = ::sqlite3_prepare_v3(database.get(), sql.data(), static_cast<int>(sql.size()),
                                             SQLITE_PREPARE_PERSISTENT, &handle, nullptr);
    handle_.reset(handle);
    if (status != SQLITE_OK)
        database_.fail();
}

void Statement::run(Row const &parameters)
{
    for (bool has_row = find(parameters); has_row;)
        has_row = step();
    reset();
}

bool Statement::find(Row const &parameters)
{
    ::sqlite3_reset(handle_.get());
    int parameter = 0;
    for (auto const &cell : parameters) {
        if (std::visit(BindCell{handle_.get(), ++parameter}, cell.value()) != SQLITE_OK)
            database_.fail();
    }
    return step();
}

void Statement::reset()
{
    ::sqlite3_reset(handle_.get());
    ::sqlite3_clear_bindings(handle_.get());
}

bool Statement::step()
{
    auto const status = ::sqlite3_step(handle_.get());
    if (status != SQLITE_ROW && status != SQLITE_DONE)
        database_.fail();
    return status == SQLITE_ROW;
}

std::int64_t Statement::integer(int column) const
{
    return ::sqlite3_column_int64(handle_.get(), column);
}

std::string Statement::text(int column) const
{
    auto const *const text = ::sqlite3_column_text(handle_.get(), column);
    return text == nullptr ? "" : reinterpret_cast<char const *>(text);
}

} // namespace tarnwick::program
