#pragma once

#include "capture/record_feed.h"
#include "print/masked_writer.h"
#include "print/masks.h"
#include "requests/request_activity.h"
#include "requests/request_groups.h"
#include "requests/request_start.h"

#include <tarnwick/data/codetrace/add_data.h>
#include <tarnwick/data/codetrace/data.h>

#include <cstddef>
#include <functional>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tarnwick::program {

/// Reduces requests to their activities as their records arrive. A sink of `RecordFeed`. With masks, it collects the
/// secrets of all records, apart from the chunks of code traces.
class ActivitySink {
public:
    /// `pass_on` receives the requests in the order of closing. `names` stays valid.
    ActivitySink(NameTable &names, Masks const &masks, std::function<void(RequestActivity &request)> pass_on)
        : masks_(masks)
        , builder_(names)
        , groups_(std::move(pass_on), RequestGroups<RequestActivity>::Order::closing)
    {
    }

    /// Passes on the requests that are still open.
    void close_all() { groups_.close_all(); }

    [[nodiscard]] static bool accepts(Dialect /*dialect*/) { return true; }
    [[nodiscard]] static bool accepts(data::php::RequestId /*request_id*/) { return true; }

    template <class Message>
    void begin(ReportSource const &source, Message const &message)
    {
        request_ = &groups_.of(source.request_id.id(), source.dialect, is_start(message));
        request_->id = source.request_id.id();
        request_->dialects[static_cast<std::size_t>(source.dialect)] = true;
        masks_.select_request(request_->id);
    }
    template <class Record>
    [[nodiscard]] bool wants() const
    {
        constexpr bool is_chunk =
            std::is_same_v<Record, data::codetrace::Data> || std::is_same_v<Record, data::codetrace::AddData>;
        return is_activity<Record> || (masks_.are_on() && !is_chunk);
    }
    template <class Record>
    void take(Record const &record, ReportSource const &source, std::string_view /*view*/)
    {
        collect(masks_, record);
        if constexpr (is_activity<Record>)
            builder_.add(*request_, record, source.dialect);
    }

private:
    Masks masks_;
    ActivityBuilder builder_;
    RequestGroups<RequestActivity> groups_;
    RequestActivity *request_ = nullptr; ///< of the current report
};

} // namespace tarnwick::program
