#pragma once

#include "capture/dialect.h"
#include "exit_status.h"
#include "requests/record_choice.h"

#include <tarnwick/data/php/request_id.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

/// How many requests a message lists.
inline constexpr std::size_t max_listed_requests = 10;

/// Returns the message that no request has an id. `ids`: those of requests; empty if there is no request.
std::string no_request_text(std::uint64_t id, std::string const &ids);

/// Ids of requests in the captures.
struct KnownRequests {
    std::vector<std::uint64_t> chosen;
    std::vector<std::uint64_t> first; ///< chosen or not, each once
    bool has_more = false;
};

/// Which reports are read, and of which requests. Empty lists mean all.
struct ReportChoice {
    std::vector<std::uint64_t> requests;
    std::vector<Dialect> dialects;
    /// If present, a request must have one of these records.
    std::optional<RecordChoice> records{}; // NOLINT(readability-redundant-member-init): designators leave it out
    /// The ids that `accepts` received; copies share them.
    std::shared_ptr<KnownRequests> known = std::make_shared<KnownRequests>();

    [[nodiscard]] bool accepts(Dialect dialect) const;
    [[nodiscard]] bool accepts(data::php::RequestId request_id) const;
    /// Whether a request is chosen by a record of this class.
    template <class Record>
    [[nodiscard]] bool looks_for() const
    {
        return records && records->wants<Record>();
    }

    /// Call it after all captures are read, with the status of reading them. Reports on standard error which ids of
    /// `requests` no request has. Returns the status of the command.
    [[nodiscard]] ExitStatus check_requests(ExitStatus status) const;
};

} // namespace tarnwick::program
