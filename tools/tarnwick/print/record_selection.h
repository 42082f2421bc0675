#pragma once

#include "capture/captures.h"
#include "capture/dialect.h"
#include "capture/record_feed.h"
#include "print/record_printer.h"
#include "requests/record_choice.h"
#include "requests/report_choice.h"

#include <tarnwick/data/records.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// Prints the records that are wanted. A sink of `RecordFeed`.
///
/// With masks, it prints the records of a report in `flush`, when the secrets of all of them are known, and builds
/// records for their secrets alone.
class RecordSelection {
public:
    /// `top`: how many records to print. `take` and `flush` throw `EnoughResults` after the last.
    explicit RecordSelection(RecordPrinter &printer, RecordChoice records = {}, ReportChoice reports = {},
                             std::optional<std::uint64_t> top = {})
        : printer_(printer)
        , records_(std::move(records))
        , reports_(std::move(reports))
        , left_(top.value_or(UINT64_MAX))
    {
    }

    /// Whether all records that can be printed are printed.
    [[nodiscard]] bool is_complete() const { return left_ == 0; }
    /// Call it after each report.
    void flush()
    {
        for (auto const &print : std::exchange(waiting_, {}))
            print();
    }

    [[nodiscard]] bool accepts(Dialect dialect) const { return reports_.accepts(dialect); }
    [[nodiscard]] bool accepts(data::php::RequestId request_id) const { return reports_.accepts(request_id); }
    template <class Message>
    void begin(ReportSource const & /*source*/, Message const & /*message*/)
    {
    }
    template <class Record>
    [[nodiscard]] bool wants() const
    {
        return printer_.has_masks() || records_.wants<Record>();
    }
    template <class Record>
    void take(Record const &record, ReportSource const &source, std::string_view view)
    {
        auto const &payload = data::payload_of(record);
        printer_.collect_secrets(payload, source.request_id);
        if (!records_.wants<Record>() || !records_.fits<Record>(payload))
            return;
        auto const print_record = [this, record, source, view] {
            print([&] {
                // A table has no request id of its own.
                printer_.print(data::payload_of(record), source.dialect, view,
                               data::is_handle<Record> ? std::nullopt : std::optional(source.request_id));
            });
        };
        if (printer_.has_masks())
            waiting_.emplace_back(print_record);
        else
            print_record();
    }

private:
    template <class Print>
    void print(Print &&print)
    {
        if (left_ > 0) {
            print();
            --left_;
        }
        if (left_ == 0)
            throw EnoughResults();
    }

    RecordPrinter &printer_;
    RecordChoice records_;
    ReportChoice reports_;
    std::uint64_t left_;
    std::vector<std::function<void()>> waiting_;
};

} // namespace tarnwick::program
