#pragma once

#include "capture/record_feed.h"
#include "print/masked_writer.h"
#include "print/masks.h"
#include "requests/report_choice.h"
#include "requests/request_activity.h"
#include "requests/request_groups.h"
#include "requests/request_start.h"

#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>

namespace tarnwick::program {

/// Reduces requests to their activities and keys as their records arrive. A sink of `RecordFeed`. With masks, it collects the
/// secrets of all records, apart from parts of traces.
class ActivitySink {
public:
    using Use = std::function<void(RequestActivity &request)>;
    /// `masks_keys`: whether keys were added too, or new secrets.
    using Mask = std::function<void(RequestActivity &request, bool masks_keys)>;

    /// `pass_on` receives the requests in the order of closing. With masks, `mask` receives a request after each report
    /// that adds names or secrets, because secrets of a request are forgotten while it is open. `reports` and `names` stay valid.
    ActivitySink(ReportChoice const &reports, NameTable &names, Masks masks, Mask mask, Use pass_on)
        : reports_(reports)
        , masks_(std::move(masks))
        , mask_(std::move(mask))
        , builder_(names)
        , groups_(std::move(pass_on), RequestGroups<RequestActivity>::Order::closing)
    {
    }

    /// Passes on the requests that are still open.
    void close_all()
    {
        finish_report();
        groups_.close_all();
    }

    [[nodiscard]] bool accepts(Dialect dialect) const { return reports_.accepts(dialect); }
    [[nodiscard]] static bool accepts(data::php::RequestId /*request_id*/) { return true; }

    template <class Message>
    void begin(ReportSource const &source, Message const &message)
    {
        finish_report();
        request_ = &groups_.of(source.request_id.id(), source.dialect, is_start(message));
        request_->id = source.request_id.id();
        request_->dialects[static_cast<std::size_t>(source.dialect)] = true;
        masks_.select_request(request_->id);
    }
    template <class Record>
    [[nodiscard]] bool wants() const
    {
        return is_activity<Record> || has_key_array<Record> || (masks_.are_on() && !is_trace_chunk<Record>) ||
               reports_.looks_for<Record>();
    }
    template <class Record>
    void take(Record const &record, ReportSource const &source, std::string_view view)
    {
        if constexpr (!is_trace_chunk<Record>)
            collect(masks_, record);
        request_->has_chosen_record = request_->has_chosen_record || reports_.looks_for<Record>();
        if constexpr (is_activity<Record>) {
            builder_.add(*request_, record, source.dialect);
            has_new_names_ = true;
        }
        if constexpr (has_key_array<Record>) {
            request_->keys.add(record, source.dialect, view);
            has_new_keys_ = true;
        }
    }

private:
    void finish_report()
    {
        if (request_ != nullptr && masks_.are_on()) {
            bool const masks_keys = has_new_keys_ || masks_.have_new_secrets();
            if (masks_keys || has_new_names_)
                mask_(*request_, masks_keys);
        }
        request_ = nullptr;
        has_new_names_ = false;
        has_new_keys_ = false;
    }

    ReportChoice const &reports_;
    Masks masks_;
    Mask mask_;
    ActivityBuilder builder_;
    RequestGroups<RequestActivity> groups_;
    RequestActivity *request_ = nullptr; ///< of the current report
    bool has_new_names_ = false;         ///< in the current report
    bool has_new_keys_ = false;          ///< in the current report
};

} // namespace tarnwick::program
