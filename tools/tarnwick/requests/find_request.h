#pragma once

#include "capture/rereadable_captures.h"
#include "exit_status.h"
#include "print/output.h"
#include "print/record_selection.h"
#include "requests/condition.h"
#include "requests/request_name.h"
#include "requests/request_records.h"
#include "requests/request_summary.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Which requests a name can mean.
struct RequestFilter {
    ReportChoice reports;
    std::vector<Condition> conditions; ///< on columns, with their types

    [[nodiscard]] bool fits(RequestSummary const &request) const;
};

/// A request with its records.
struct FoundRequest {
    RequestSummary summary;
    RequestRecords records;
};

/// What `find_request` returns.
struct RequestSearch {
    ExitStatus status; ///< of reading the captures; `wrong_usage` if no request has the name
    std::optional<FoundRequest> request;
};

/// How many requests a message lists.
inline constexpr std::size_t max_listed_requests = 10;

/// Returns the message that no request has an id. `first_ids`: the first ids of the `count` requests that there are.
std::string no_request_text(std::uint64_t id, std::vector<std::string> const &first_ids, std::uint64_t count);

/// Reads captures twice, first to find a request and then its records, whose origins view `captures`. If several requests
/// have the id, the first is found. Messages on standard error list others that have it, and some requests
/// if none has the name.
RequestSearch find_request(RereadableCaptures const &captures, RequestName const &name, RequestFilter const &filter,
                           Output &output);

} // namespace tarnwick::program
