#pragma once

#include "capture/rereadable_captures.h"
#include "exit_status.h"
#include "print/output.h"
#include "requests/records_sink.h"
#include "requests/request_filter.h"
#include "requests/request_name.h"
#include "requests/request_records.h"
#include "requests/request_summary.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

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

/// Reads captures twice, first to find a request and then its records, whose origins view `captures`. If several requests
/// have the id, the first is found. Messages on standard error list others that have it, and some requests
/// if none has the name.
RequestSearch find_request(RereadableCaptures const &captures, RequestName const &name, RequestFilter const &filter,
                           Output &output, TraceChunks chunks = TraceChunks::drop);

} // namespace tarnwick::program
