#pragma once

#include "capture/dialect.h"

#include <tarnwick/data/php/rinit.h>
#include <tarnwick/data/php/rshutdown.h>
#include <tarnwick/data/time_pair.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace tarnwick::program {

/// What one line shows of a request. Takes at most 1 KiB of memory.
struct RequestSummary {
    /// A number for each dialect.
    using Counts = std::array<std::optional<std::uint64_t>, 2>;

    struct Start {
        data::TimePair time;
        // Absent if the report has none. Long texts are cut.
        std::optional<std::string> method;
        std::optional<std::string> uri;
    };
    struct End {
        std::int32_t status = 0;
        data::TimePair duration;
        std::int64_t memory = 0; ///< the largest of the three figures
    };

    std::uint64_t number = 0; ///< by first report, from 1
    std::uint64_t id = 0;
    std::array<bool, 2> dialects{}; ///< whether it has reports of each
    std::optional<Start> start;
    std::optional<End> end;
    // Absent: no report of this kind in the dialect.
    Counts errors;
    Counts events;
    Counts statements;

    // Start and end are those of the rpc dialect, if it reports them.
    bool has_rpc_start = false;
    bool has_rpc_end = false;

    void add(data::php::RInit const &record, Dialect dialect);
    void add(data::php::RShutdown const &record, Dialect dialect);

    [[nodiscard]] bool is_complete() const { return start && end; }
    /// Returns the count of the rpc dialect if it has any report of the kind, otherwise that of the protobuf dialect.
    static std::uint64_t count(Counts const &counts) { return counts[0].value_or(counts[1].value_or(0)); }
};

} // namespace tarnwick::program
