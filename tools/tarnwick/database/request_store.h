#pragma once

#include "database/request_rows.h"
#include "database/sqlite.h"
#include "print/masks.h"
#include "requests/whole_request.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Adds requests to a database that is kept. Requests with the same id and start are the same request, and so are those
/// with the same id and without a start. Of the same request, the one with more reports is kept.
///
/// Stores `requests_per_transaction` requests at once. Requests that are not stored when the program ends are not in the
/// database, which is valid in any case.
class RequestStore {
public:
    static constexpr std::uint64_t requests_per_transaction = 1000;

    struct Counts {
        std::uint64_t added = 0;
        std::uint64_t replaced = 0;
        std::uint64_t unchanged = 0;
    };

    /// Opens or creates the database. Throws `DatabaseError` if the file is another database, or was written with other
    /// masks. The other functions throw it, too.
    RequestStore(std::string file, MaskOptions const &mask);

    void add(WholeRequest const &request);
    /// Stores all requests.
    void finish();

    [[nodiscard]] Counts const &counts() const { return counts_; }
    [[nodiscard]] Masks const &masks() const { return masks_; }

private:
    /// Rows of the requests and their parts.
    struct Statements {
        Statements(Database const &database, Masks const &masks);

        RequestRows rows;
        Statement find;
        std::vector<Statement> deletions;
    };

    void create_or_check(std::string const &mask);

    Database database_;
    Masks masks_;
    Counts counts_;
    std::uint64_t in_transaction_ = 0;
    std::unique_ptr<Statements> statements_; ///< after the tables exist
};

} // namespace tarnwick::program
