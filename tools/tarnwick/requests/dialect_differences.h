#pragma once

#include "capture/record_feed.h"
#include "print/json_writer.h"
#include "print/masked_writer.h"
#include "print/masks.h"
#include "print/record_printer.h"
#include "requests/dialect_exceptions.h"
#include "requests/request_groups.h"
#include "requests/request_start.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/monitor/event.h>
#include <tarnwick/data/records.h>

#include <array>
#include <compare>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// Records that are compared in the order of their reports.
struct ComparedRecords {
    std::string_view record;
    std::string_view view;             ///< distinguishes several records of one class from one report
    std::optional<std::uint32_t> kind; ///< of events

    auto operator<=>(ComparedRecords const &) const = default;
    /// Returns the record with its view or kind, such as `monitor.Event 4`.
    [[nodiscard]] std::string name() const;
};

/// Field, or whole record, that the dialects of a request report differently.
struct DialectDifference {
    std::uint64_t number = 0; ///< of the request
    std::uint64_t request_id = 0;
    ComparedRecords records;
    std::string field; ///< with `[]` for any element of a list; empty if one dialect lacks the record
    std::string place; ///< the field with indices of lists, and the place in a PHP value with the keys of arrays
    // The values as JSON, masked; empty if the dialect lacks the record.
    std::string_view rpc;
    std::string_view protobuf;
};

/// Compares the records of both dialects for each request, except for what a dialect cannot carry
/// (`dialect_exceptions.h`). A sink of `RecordFeed`.
///
/// The records of a request are compared in pairs, those of a class in the order of their reports. Memory is proportional
/// to the records that wait for the other dialect, in requests that are open. With masks, records that differ wait too.
class DialectDifferences {
public:
    /// `keeps`: whether to compare the request with a number. `report` receives each difference. The values of the
    /// difference are valid during the call. `style`: of values that are printed.
    DialectDifferences(std::function<bool(std::uint64_t number)> keeps, Masks masks,
                       std::function<void(DialectDifference const &difference)> report, JsonStyle style = {});

    /// Reports the records that only one dialect has, of the requests that are still open.
    void close_all() { groups_.close_all(); }
    /// With masks, call it after the last report of a request: it reports the differences of the request, which wait for
    /// all of its secrets.
    void complete_request() { close(*request_); }
    /// The number of the request of the last report; 0 if there was none.
    [[nodiscard]] std::uint64_t number() const { return request_ == nullptr ? 0 : request_->number; }

    /// The number of pairs that were compared.
    [[nodiscard]] std::uint64_t pairs() const { return pairs_; }
    /// The exceptions and absences that occurred.
    [[nodiscard]] std::set<DialectException const *> const &exceptions() const { return exceptions_; }
    [[nodiscard]] std::set<DialectAbsence const *> const &absences() const { return absences_; }

    [[nodiscard]] static bool accepts(Dialect /*dialect*/) { return true; }
    [[nodiscard]] static bool accepts(data::php::RequestId /*request_id*/) { return true; }
    template <class Message>
    void begin(ReportSource const &source, Message const &message)
    {
        request_ = &groups_.of(source.request_id.id(), source.dialect, is_start(message));
        request_->id = source.request_id.id();
        is_kept_ = keeps_(request_->number);
    }
    /// The tables of the protobuf dialect are compared as parts of the queries.
    template <class Record>
    [[nodiscard]] bool wants() const
    {
        return is_kept_ && data::is_handle<Record>;
    }
    template <class Record>
    void take(Record const &record, ReportSource const &source, std::string_view view)
    {
        if constexpr (data::is_handle<Record>) {
            masks_.select_request(request_->id);
            collect(masks_, *record);
            ComparedRecords const records{data::Description<data::payload_of_t<Record>>::name, view, kind_of(record)};
            add(records, source.dialect, [record](Masks const &masks, JsonStyle style) {
                JsonWriter writer(style);
                writer.begin_record({});
                write_masked(writer, *record, masks);
                writer.end_record();
                return std::string(writer.line());
            });
        }
    }

private:
    static std::optional<std::uint32_t> kind_of(data::monitor::Event const &event)
    {
        return static_cast<std::uint32_t>(event->kind());
    }
    template <class Record>
    static std::optional<std::uint32_t> kind_of(Record const & /*record*/)
    {
        return std::nullopt;
    }

    /// Returns a record as JSON.
    using Json = std::function<std::string(Masks const &masks, JsonStyle style)>;
    /// Records of each dialect that wait for those of the other.
    using Waiting = std::array<std::deque<Json>, 2>;
    struct RecordPair {
        ComparedRecords records;
        Json rpc;
        Json protobuf;
    };
    struct Request {
        std::uint64_t number = 0;
        std::uint64_t id = 0;
        bool has_first_state = false; ///< whether the protobuf dialect has reported the superglobals at the start
        std::map<ComparedRecords, Waiting> waiting;
        std::vector<RecordPair> differing; ///< with masks
    };

    void add(ComparedRecords records, Dialect dialect, Json json);
    void pair(ComparedRecords const &records, Dialect dialect, Json json);
    void compare(ComparedRecords const &records, Json rpc, Json protobuf);
    void report(Request const &request, RecordPair const &pair);
    void close(Request &request);

    JsonStyle style_;
    std::function<bool(std::uint64_t number)> keeps_;
    Masks masks_;
    std::function<void(DialectDifference const &difference)> report_;
    RequestGroups<Request> groups_;
    Request *request_ = nullptr; ///< of the current report
    bool is_kept_ = false;
    std::uint64_t pairs_ = 0;
    std::set<DialectException const *> exceptions_;
    std::set<DialectAbsence const *> absences_;
};

} // namespace tarnwick::program
