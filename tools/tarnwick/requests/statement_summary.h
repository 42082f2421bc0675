#pragma once

#include "print/text_ranges.h"

#include <tarnwick/data/time_pair.h>

#include <cstdint>
#include <string>

namespace tarnwick::program {

/// What one line shows of a statement: of all queries with the same shape.
struct StatementSummary {
    /// How many times one request must send a statement from one call site before it is a suspect of the N+1 problem.
    static constexpr std::uint64_t min_repeats = 10;

    std::string statement; ///< its shape, cut if it is long
    std::string word;      ///< the first one, like SELECT; can be empty
    std::uint64_t count = 0;
    std::uint64_t requests = 0;
    std::uint64_t per_request = 0; ///< the most that one request sent from one call site
    std::uint64_t errors = 0;
    long double total = 0; ///< nanoseconds
    data::TimePair slowest;
    std::uint64_t slowest_request = 0; ///< id
    std::string call_site;             ///< of the first query that has one; can be empty
    TextRanges masked_statement;       ///< the parts that are masked
    TextRanges masked_call_site;

    /// Returns whether the statement is a suspect of the N+1 problem: a query in a loop over the rows of another query.
    /// Only statements that read or write rows are; transactions and settings are not.
    [[nodiscard]] bool is_n_plus_one() const;
};

} // namespace tarnwick::program
