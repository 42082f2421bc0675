#pragma once

#include "capture/record_feed.h"
#include "requests/request_activity.h"
#include "requests/request_groups.h"
#include "requests/request_start.h"

#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>

namespace tarnwick::program {

/// Reduces requests to their activities as their records arrive. A sink of `RecordFeed`.
class ActivitySink {
public:
    /// `pass_on` receives the requests in the order of their first reports. `names` stays valid.
    ActivitySink(NameTable &names, std::function<void(RequestActivity &request)> pass_on)
        : builder_(names)
        , groups_(std::move(pass_on))
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
    }
    template <class Record>
    [[nodiscard]] static constexpr bool wants()
    {
        return ActivityBuilder::takes<Record>;
    }
    template <class Record>
    void take(Record const &record, ReportSource const &source, std::string_view /*view*/)
    {
        if constexpr (wants<Record>())
            builder_.add(*request_, record, source.dialect);
    }

private:
    ActivityBuilder builder_;
    RequestGroups<RequestActivity> groups_;
    RequestActivity *request_ = nullptr; ///< of the current report
};

} // namespace tarnwick::program
