#pragma once

#include "capture/origin.h"
#include "capture/record_feed.h"
#include "requests/report_choice.h"
#include "requests/request_groups.h"
#include "requests/request_records.h"
#include "requests/request_start.h"

#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

namespace tarnwick::program {

/// What happens with chunks of code traces, which can have hundreds of megabytes.
enum class TraceChunks : std::uint8_t { drop, keep };

/// Keeps the records of chosen requests. A sink of `RecordFeed`.
class RecordsSink {
public:
    /// `keeps`: whether to keep the records of the request with a number. `pass_on` receives the requests in the order of
    /// closing, those that are not kept without records. `reports` stays valid.
    RecordsSink(ReportChoice const &reports, std::function<bool(std::uint64_t number)> keeps,
                std::function<void(RequestRecords &request)> pass_on, TraceChunks chunks = TraceChunks::drop)
        : reports_(reports)
        , keeps_chunks_(chunks == TraceChunks::keep)
        , keeps_(std::move(keeps))
        , groups_(std::move(pass_on), RequestGroups<RequestRecords>::Order::closing)
    {
    }

    /// Sets the place of the reports that follow.
    void set_origin(Origin const &origin) { origin_ = origin; }
    /// Passes on the requests that are still open.
    void close_all() { groups_.close_all(); }

    /// The number of the request of the last report; 0 if there was none.
    [[nodiscard]] std::uint64_t number() const { return request_ == nullptr ? 0 : request_->number; }
    /// Takes the records of that request. Without later reports of it, `pass_on` receives none of them.
    [[nodiscard]] RequestRecords take_records()
    {
        auto const number = request_->number;
        auto records = std::exchange(*request_, {});
        request_->number = number;
        return records;
    }

    [[nodiscard]] bool accepts(Dialect dialect) const { return reports_.accepts(dialect); }
    /// Every request is counted, so that numbers of requests do not depend on the choice.
    [[nodiscard]] static bool accepts(data::php::RequestId /*request_id*/) { return true; }

    template <class Message>
    void begin(ReportSource const &source, Message const &message)
    {
        request_ = &groups_.of(source.request_id.id(), source.dialect, is_start(message));
        is_kept_ = keeps_(request_->number);
    }
    template <class Record>
    [[nodiscard]] bool wants() const
    {
        return is_kept_ && (keeps_chunks_ || !is_trace_chunk<Record>);
    }
    template <class Record>
    void take(Record const &record, ReportSource const &source, std::string_view view)
    {
        request_->add(record, source.dialect, view, origin_);
    }

private:
    ReportChoice const &reports_;
    bool keeps_chunks_;
    std::function<bool(std::uint64_t number)> keeps_;
    RequestGroups<RequestRecords> groups_;
    RequestRecords *request_ = nullptr; ///< of the current report
    bool is_kept_ = false;
    Origin origin_;
};

} // namespace tarnwick::program
