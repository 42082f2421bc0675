#pragma once

#include "print/masks.h"
#include "requests/request_records.h"
#include "requests/statement_sink.h"
#include "requests/statement_summary.h"

#include <cstdint>
#include <vector>

namespace tarnwick::program {

/// Counts the statements of one request. Earlier requests with the same id stay apart.
void add_statements(StatementSink &sink, std::uint64_t request_id, RequestRecords const &records);

/// Returns the statements of one request in the order of their first queries. With masks, all of its records are
/// collected.
std::vector<StatementSummary> statements_of_request(std::uint64_t request_id, RequestRecords const &records,
                                                    Masks const &masks);

} // namespace tarnwick::program
