#pragma once

#include "capture/record_feed.h"
#include "exit_status.h"
#include "print/output.h"
#include "requests/report_choice.h"
#include "requests/request_filter.h"
#include "requests/request_groups.h"
#include "requests/request_records.h"
#include "requests/request_start.h"
#include "requests/request_summary.h"

#include <tarnwick/data/glimmet/sql_queries.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// A request with its records, apart from the chunks of code traces.
struct WholeRequest : RequestRecords {
    RequestSummary summary;
    std::uint64_t reports = 0; ///< how many reports it has

    /// Completes the summary with what the records have.
    void summarize();
};

/// Passes on whole requests in the order of closing. A sink of `RecordFeed`. Keeps the records of all requests that are
/// open.
class WholeRequestSink {
public:
    /// `keeps_both`: whether to keep the records of the protobuf dialect that do not count, for their secrets. `reports`
    /// stays valid.
    WholeRequestSink(ReportChoice const &reports, std::function<void(WholeRequest const &request)> pass_on,
                     bool keeps_both)
        : reports_(reports)
        , keeps_both_(keeps_both)
        , groups_(
              [use = std::move(pass_on)](WholeRequest &request) {
                  request.summarize();
                  use(request);
              },
              RequestGroups<WholeRequest>::Order::closing)
    {
    }

    /// Passes on the requests that are still open.
    void close_all() { groups_.close_all(); }

    [[nodiscard]] bool accepts(Dialect dialect) const { return reports_.accepts(dialect); }
    /// Every request is counted, so that numbers of requests do not depend on the choice.
    [[nodiscard]] static bool accepts(data::php::RequestId /*request_id*/) { return true; }

    template <class Message>
    void begin(ReportSource const &source, Message const &message)
    {
        request_ = &groups_.of(source.request_id.id(), source.dialect, is_start(message));
        request_->summary.id = source.request_id.id();
        request_->summary.dialects[static_cast<std::size_t>(source.dialect)] = true;
        ++request_->reports;
        dialect_ = source.dialect;
        is_chosen_ = reports_.accepts(source.request_id);
    }
    template <class Record>
    [[nodiscard]] bool wants() const
    {
        return is_chosen_ && (keeps<Record>() || reports_.looks_for<Record>());
    }
    template <class Record>
    void take(Record const &record, ReportSource const &source, std::string_view view)
    {
        auto &summary = request_->summary;
        summary.has_chosen_record = summary.has_chosen_record || reports_.looks_for<Record>();
        if (keeps<Record>())
            request_->add(record, source.dialect, view, {});
    }

private:
    template <class Record>
    [[nodiscard]] bool keeps() const
    {
        return !is_trace_chunk<Record> && (keeps_both_ || dialect_ == Dialect::rpc || counts<Record>());
    }
    /// Whether a record of the protobuf dialect counts.
    template <class Record>
    [[nodiscard]] bool counts() const
    {
        // A report of queries in the rpc dialect contains the tables.
        using Tables = data::glimmet::SqlQueries;
        if constexpr (std::is_same_v<Record, data::glimmet::SqlConnections> ||
                      std::is_same_v<Record, data::glimmet::SqlTransactions>)
            return request_->template of<Tables>(Dialect::rpc).empty();
        else
            return request_->template of<Record>(Dialect::rpc).empty();
    }

    ReportChoice const &reports_;
    bool keeps_both_;
    RequestGroups<WholeRequest> groups_;
    WholeRequest *request_ = nullptr; ///< of the current report
    Dialect dialect_{};               ///< of the current report
    bool is_chosen_ = false;
};

/// Reads captures, reports their faults, and calls `use` with the requests that a filter chooses. `keeps_both` as for the
/// sink. If only the first requests of an order are chosen, it reads the captures twice.
ExitStatus read_whole_requests(std::vector<std::string> const &files, RequestFilter const &filter, bool keeps_both,
                               Output &output, std::function<void(WholeRequest const &request)> const &use);

} // namespace tarnwick::program
