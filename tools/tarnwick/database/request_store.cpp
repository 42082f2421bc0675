#include "database/request_store.h"

#include "database/tables.h"
#include "print/readable_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sqlite3.h>

#include <algorithm>
#include <utility>

namespace tarnwick::program {
namespace {

/// Marks a file of SQLite as a database of this program.
constexpr int application_id = 0x54'4e'57'4b;

std::string mask_name(MaskOptions const &options)
{
    if (options.mode != MaskOptions::Mode::on)
        return "none";
    auto words = options.words;
    std::ranges::sort(words);
    words.insert(words.begin(), "default");
    return fmt::format("{}", fmt::join(words, ","));
}

/// Waits for another program that writes the same file.
constexpr int milliseconds_to_wait = 60'000;

} // namespace

RequestStore::Statements::Statements(Database const &database, Masks const &masks)
    : rows(database, masks)
    , find(database, "SELECT request, reports FROM requests WHERE request_id = ? AND start IS ?")
{
    for (auto const table : part_tables)
        deletions.emplace_back(database, fmt::format("DELETE FROM {} WHERE request = ?", table));
    deletions.emplace_back(database, "DELETE FROM requests WHERE request = ?");
}

RequestStore::RequestStore(std::string file, MaskOptions const &mask)
    : database_(std::move(file))
    , masks_(Masks::of(mask, false))
{
    ::sqlite3_busy_timeout(database_.get(), milliseconds_to_wait);
    database_.execute("BEGIN IMMEDIATE");
    create_or_check(mask_name(mask));
    statements_ = std::make_unique<Statements>(database_, masks_);
    database_.execute("COMMIT");
}

void RequestStore::create_or_check(std::string const &mask)
{
    Statement id(database_, "PRAGMA application_id");
    Statement tables(database_, "SELECT count(*) FROM sqlite_master");
    id.find({});
    tables.find({});
    auto const name = escaped_text(database_.file());
    if (id.integer(0) == 0 && tables.integer(0) == 0) {
        database_.execute(create_tables);
        database_.execute(create_indexes);
        database_.execute(fmt::format("PRAGMA application_id = {}", application_id).c_str());
        Statement(database_, "INSERT INTO export VALUES (?, ?)").run({tables_version, mask});
        return;
    }
    if (id.integer(0) != application_id)
        throw DatabaseError(fmt::format("{} is not a database of tarnwick export", name));
    Statement version(database_, "SELECT version, mask FROM export");
    if (!version.find({}) || version.integer(0) != tables_version)
        throw DatabaseError(fmt::format("{} has other tables than this version of tarnwick writes", name));
    if (version.text(1) != mask)
        throw DatabaseError(
            fmt::format("{} was written with --mask={}: use this option, or another file", name, version.text(1)));
}

void RequestStore::add(WholeRequest const &request)
{
    if (in_transaction_ == 0)
        database_.execute("BEGIN IMMEDIATE");
    auto const &start = request.summary.start;
    auto &[rows, find, deletions] = *statements_;
    Row const identity{fmt::to_string(request.summary.id), start ? Cell(start->time) : Cell()};
    if (!find.find(identity)) {
        rows.insert(request);
        ++counts_.added;
    } else if (auto const key = find.integer(0); static_cast<std::uint64_t>(find.integer(1)) < request.reports) {
        find.reset();
        for (auto &deletion : deletions)
            deletion.run({key});
        rows.insert(request, key);
        ++counts_.replaced;
    } else {
        ++counts_.unchanged;
    }
    find.reset();
    if (++in_transaction_ == requests_per_transaction)
        finish();
}

void RequestStore::finish()
{
    if (std::exchange(in_transaction_, 0) > 0)
        database_.execute("COMMIT");
}

} // namespace tarnwick::program
