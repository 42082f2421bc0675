#pragma once

#include "print/masks.h"
#include "print/output.h"
#include "report/value_pool.h"
#include "requests/find_request.h"
#include "requests/request_activity.h"
#include "requests/statement_sink.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Writes the page of `report` with its data:
///
/// | Block      | Content                                                                                 |
/// |------------|-----------------------------------------------------------------------------------------|
/// | `values-N` | a list of values of a `ValuePool`; `request_details` describes those of requests         |
/// | `index`    | the lists of requests and statements, names of errors, and where values are              |
class ReportData {
public:
    ReportData(Output &output, Masks masks);

    /// Adds a request with all of its records.
    void add(FoundRequest request);
    /// Writes the rest. `files`: the names of the captures.
    void finish(std::vector<std::string> const &files);

private:
    [[nodiscard]] std::string error_counts(FoundRequest const &request);
    void mask_start(FoundRequest &request) const;
    [[nodiscard]] std::string index(std::vector<std::string> const &files);

    Output &output_;
    Masks masks_;
    ReportChoice every_report_;
    StatementSink statements_;
    NameTable error_names_;
    std::uint32_t error_count_ = 0; ///< of names
    ValuePool values_;
    std::map<std::uint64_t, std::string> rows_; ///< of the list of requests, by number
};

} // namespace tarnwick::program
