#pragma once

#include "capture/captures.h"
#include "requests/condition.h"
#include "requests/report_choice.h"
#include "requests/request_summary.h"
#include "requests/sorted_rows.h"

#include <vector>

namespace tarnwick::program {

/// Which requests a command looks at.
struct RequestFilter {
    ReportChoice reports;
    std::vector<Condition> conditions; ///< on columns, with their types
    RowOrder<RequestSummary> order;    ///< for commands that can choose the first of an order

    [[nodiscard]] bool has_conditions() const { return !conditions.empty() || reports.records; }
    /// Returns whether a request is one of `reports` and fulfils the conditions.
    [[nodiscard]] bool fits(RequestSummary const &request) const;
};

/// Returns the requests that fit, as many as the order wants. Reads captures without reporting their faults.
std::vector<RequestSummary> chosen_requests(std::vector<CaptureFile> const &files, RequestFilter const &filter);

} // namespace tarnwick::program
