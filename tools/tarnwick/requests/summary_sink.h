#pragma once

#include "capture/record_feed.h"
#include "print/masked_writer.h"
#include "print/masks.h"
#include "requests/report_choice.h"
#include "requests/request_groups.h"
#include "requests/request_start.h"
#include "requests/request_summary.h"

#include <tarnwick/data/php/rinit.h>
#include <tarnwick/data/php/rshutdown.h>

#include <cstdint>
#include <functional>
#include <string_view>
#include <type_traits>
#include <utility>

namespace pelorin::protobuf::Glimmet {
class Error;
class SqlQueries;
} // namespace pelorin::protobuf::Glimmet
namespace pelorin::protobuf::Monitor {
class Event;
}
namespace tarnwick::rpc::monitor::v1 {
class NotifyRequest;
}

namespace tarnwick::program {

/// Summarises requests. A sink of `RecordFeed`, which builds only the records of the start and the end. With masks, it
/// builds all records of chosen requests, and finds the secrets in the texts of the start after each report.
class SummarySink {
public:
    using Groups = RequestGroups<RequestSummary>;
    using Clock = std::function<Groups::Time()>;

    /// `pass_on` receives the requests in the order of their first reports. With a clock, it receives them in the order
    /// of closing, and a request closes some time after its end too. `reports` stays valid.
    SummarySink(ReportChoice const &reports, std::function<void(RequestSummary &request)> pass_on, Clock clock = {},
                Masks masks = {})
        : reports_(reports)
        , groups_(std::move(pass_on), clock ? Groups::Order::closing : Groups::Order::first_reports)
        , clock_(std::move(clock))
        , masks_(std::move(masks))
    {
    }

    /// Passes on the requests that close because of their end. Every report does this, too. REQUIRES: there is a clock.
    void close_due()
    {
        finish_report();
        groups_.close_due(clock_());
    }

    /// Passes on the requests that are still open.
    void close_all()
    {
        finish_report();
        groups_.close_all();
    }

    /// The number of the request of the last report; 0 if there was none.
    [[nodiscard]] std::uint64_t number() const { return number_; }

    [[nodiscard]] bool accepts(Dialect dialect) const { return reports_.accepts(dialect); }
    /// Every request is counted, so that numbers of requests do not depend on the choice.
    [[nodiscard]] static bool accepts(data::php::RequestId /*request_id*/) { return true; }

    template <class Message>
    void begin(ReportSource const &source, Message const &message)
    {
        begin(source, is_start(message));
        count(message);
    }
    template <class Record>
    [[nodiscard]] bool wants() const
    {
        return is_start_record<Record> || is_end_record<Record> || (has_masks_ && !is_trace_chunk<Record>) ||
               reports_.looks_for<Record>();
    }
    template <class Record>
    void take(Record const &record, ReportSource const &source, std::string_view /*view*/)
    {
        if (has_masks_ && !is_trace_chunk<Record>)
            collect(masks_, record);
        request_->has_chosen_record = request_->has_chosen_record || reports_.looks_for<Record>();
        if constexpr (is_start_record<Record>) {
            request_->add(record, source.dialect, has_masks_);
            has_new_texts_ = true;
        }
        if constexpr (is_end_record<Record>)
            request_->add(record, source.dialect);
        if (is_end_record<Record> && clock_)
            groups_.end(source.request_id.id(), clock_());
    }

private:
    template <class Record>
    static constexpr bool is_start_record = std::is_same_v<Record, data::php::RInit>;
    template <class Record>
    static constexpr bool is_end_record = std::is_same_v<Record, data::php::RShutdown>;

    void finish_report();
    void begin(ReportSource const &source, bool is_start);
    void add(RequestSummary::Counts &counts, int number);

    void count(rpc::php::v1::NotifyRequest const &message);
    void count(rpc::monitor::v1::NotifyRequest const &message);
    void count(rpc::glimmet::v1::NotifyRequest const &message);
    void count(pelorin::protobuf::Glimmet::Error const &message);
    void count(pelorin::protobuf::Monitor::Event const &message);
    void count(pelorin::protobuf::Glimmet::SqlQueries const &message);
    template <class Message>
    void count(Message const & /*message*/)
    {
    }

    ReportChoice const &reports_;
    Groups groups_;
    Clock clock_;
    Masks masks_;
    RequestSummary *request_ = nullptr; ///< of the current report
    std::uint64_t number_ = 0;
    bool has_masks_ = false;     ///< whether the request is chosen, and masks are on
    bool has_new_texts_ = false; ///< in the current report
    Dialect dialect_{};          ///< of the current report
};

} // namespace tarnwick::program
