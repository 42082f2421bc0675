#pragma once

#include "capture/dialect.h"
#include "print/masks.h"
#include "print/text_ranges.h"

#include <tarnwick/data/php/rinit.h>
#include <tarnwick/data/php/rshutdown.h>
#include <tarnwick/data/time_pair.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tarnwick::program {

/// The texts of the start of a request.
struct StartMasks {
    static constexpr std::size_t max_text = 4096; ///< longer texts are cut

    MaskedText method;
    MaskedText uri;
};

/// What one line shows of a request. Takes at most 1 KiB of memory.
struct RequestSummary {
    /// A number for each dialect.
    using Counts = std::array<std::optional<std::uint64_t>, 2>;

    struct Start {
        data::TimePair time;
        // Absent if the report has none. Long texts are cut.
        std::optional<std::string> method;
        std::optional<std::string> uri;
        /// With masks: both texts before they are cut, so that no part of a secret remains.
        std::shared_ptr<StartMasks> masks{}; // NOLINT(readability-redundant-member-init): designators leave it out
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
    bool has_chosen_record = false; ///< whether it has a record that `ReportChoice` looks for

    /// `has_masks`: whether to keep what `StartMasks` has.
    void add(data::php::RInit const &record, Dialect dialect, bool has_masks = false);
    void add(data::php::RShutdown const &record, Dialect dialect);

    [[nodiscard]] bool is_complete() const { return start && end; }
    /// Returns the count of the rpc dialect if it has any report of the kind, otherwise that of the protobuf dialect.
    static std::uint64_t count(Counts const &counts) { return counts[0].value_or(counts[1].value_or(0)); }
};

/// Finds what is masked in the texts of the start, with the secrets of the chosen request, in addition to earlier calls.
void mask_texts(RequestSummary const &request, Masks const &masks);
/// Masks what `mask_texts` found.
void mask(RequestSummary &request);

} // namespace tarnwick::program
