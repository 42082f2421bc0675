#pragma once

#include "capture/record_feed.h"
#include "print/masked_writer.h"
#include "print/masks.h"
#include "print/text_ranges.h"
#include "requests/report_choice.h"
#include "requests/request_groups.h"
#include "requests/request_start.h"
#include "requests/statement_summary.h"

#include <tarnwick/data/glimmet/sql_queries.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// Counts the statements of requests. A sink of `RecordFeed`, which builds only the records of queries. With masks, it
/// builds all records of chosen requests, and finds their secrets in their statements and call sites.
///
/// Queries with the same shape are one statement. Of each request, the queries of the rpc dialect count if it reports
/// any, otherwise those of the protobuf dialect.
///
/// A secret of one request is masked in a statement for all requests.
///
/// No record is kept. Memory is proportional to the different statements, and to those of each open request.
class StatementSink {
public:
    /// Only the first bytes of longer statements are read.
    static constexpr std::size_t max_text = std::size_t{1} << 20;
    /// Longer shapes are cut, but remain different statements.
    static constexpr std::size_t max_shape = 4096;

    /// `reports` stays valid.
    explicit StatementSink(ReportChoice const &reports, Masks masks = {});

    /// Returns the statements in the order of their first queries. REQUIRES: the sink is not used again.
    std::vector<StatementSummary> finish();

    [[nodiscard]] bool accepts(Dialect dialect) const { return reports_.accepts(dialect); }
    /// Every request counts for the closing of others, so that requests do not depend on the choice.
    [[nodiscard]] static bool accepts(data::php::RequestId /*request_id*/) { return true; }

    template <class Message>
    void begin(ReportSource const &source, Message const &message)
    {
        begin(source, is_start(message));
    }
    template <class Record>
    [[nodiscard]] bool wants() const
    {
        return is_chosen_ &&
               (is_queries<Record> || (masks_.are_on() && !is_trace_chunk<Record>) || reports_.looks_for<Record>());
    }
    template <class Record>
    void take(Record const &record, ReportSource const &source, std::string_view /*view*/)
    {
        if constexpr (!is_trace_chunk<Record>)
            collect(masks_, record);
        request_->has_chosen_record = request_->has_chosen_record || reports_.looks_for<Record>();
        if constexpr (is_queries<Record>)
            add(record, source.dialect);
    }

private:
    template <class Record>
    static constexpr bool is_queries = std::is_same_v<Record, data::glimmet::SqlQueries>;

    /// A shape with the hash of the whole shape if it is cut.
    struct Shape {
        std::string_view text;
        std::size_t hash = 0;

        bool operator==(Shape const &) const = default;
    };
    struct HashOfShape {
        std::size_t operator()(Shape const &shape) const { return shape.hash; }
    };
    struct Statement {
        StatementSummary summary;
        std::uint64_t first_located = UINT64_MAX; ///< position of the first query that has a call site
        std::size_t call_site = 0;                ///< of that query
    };
    /// Queries of one request with the same shape and call site.
    struct Calls {
        std::uint64_t first = 0; ///< position among all queries
        std::uint64_t count = 0;
        std::uint64_t errors = 0;
        long double total = 0; ///< nanoseconds
        data::TimePair slowest;
    };
    struct Request {
        std::uint64_t number = 0;
        std::uint64_t id = 0;
        bool has_rpc = false;
        bool has_chosen_record = false; ///< whether it has a record that `ReportChoice` looks for
        /// By statement and call site.
        std::map<std::pair<std::size_t, std::size_t>, Calls> calls;
    };

    void begin(ReportSource const &source, bool is_start);
    void finish_report();
    void add(data::glimmet::SqlQueries const &record, Dialect dialect);
    void add(data::glimmet::detail::SqlQuery const &query);
    void close(Request const &request);
    std::size_t statement_of(data::glimmet::detail::SqlQuery const &query);
    std::size_t call_site_of(data::glimmet::detail::SqlQuery const &query);

    ReportChoice const &reports_;
    Masks masks_;
    RequestGroups<Request> groups_;
    Request *request_ = nullptr; ///< of the current report
    bool is_chosen_ = false;
    bool has_new_queries_ = false; ///< in the current report
    std::uint64_t queries_ = 0;
    // Views are of texts that stay in place.
    std::deque<Statement> statements_;
    std::unordered_map<Shape, std::size_t, HashOfShape> statement_places_;
    std::deque<MaskedText> call_sites_;
    std::unordered_map<std::string_view, std::size_t> call_site_places_;
};

} // namespace tarnwick::program
