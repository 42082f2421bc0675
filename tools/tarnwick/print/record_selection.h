#pragma once

#include "capture/captures.h"
#include "capture/dialect.h"
#include "capture/record_feed.h"
#include "print/record_printer.h"
#include "requests/condition.h"
#include "requests/record_fields.h"
#include "requests/report_choice.h"

#include <tarnwick/data/records.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// The position of a record in `ReportRecords`.
template <class Record>
constexpr std::size_t record_index = [] {
    std::size_t index = 0;
    bool is_found = false;
    data::for_each_type(data::ReportRecords(), [&]<class Other> {
        is_found = is_found || std::is_same_v<Record, Other>;
        index += is_found ? 0 : 1;
    });
    return index;
}();

/// Number of records that reports feed.
inline constexpr std::size_t record_count = [] {
    std::size_t count = 0;
    data::for_each_type(data::ReportRecords(), [&]<class> { ++count; });
    return count;
}();

/// Which records are printed. A record has the conditions of its fields; one without such a field is not printed.
class RecordChoice {
public:
    /// All records.
    RecordChoice();
    /// Records with these names (`php.RInit` or `RInit`; all if empty) that fulfil all conditions. Throws
    /// `std::invalid_argument` for an unknown name or field, and for a condition that does not fit its field.
    RecordChoice(std::vector<std::string> const &names, std::vector<std::string> const &conditions);

    template <class Record>
    [[nodiscard]] bool wants() const
    {
        return conditions_[record_index<Record>].has_value();
    }

    template <class Record>
    [[nodiscard]] bool fits(data::payload_of_t<Record> const &record) const
    {
        auto const &conditions = conditions_[record_index<Record>];
        return !conditions || std::ranges::all_of(*conditions, [&](Condition const &condition) {
            return any_value(record, condition.field(),
                             [&](FieldValue const &value) { return condition.holds(value); });
        });
    }

private:
    std::array<std::optional<std::vector<Condition>>, record_count> conditions_; ///< absent: not wanted
};

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
