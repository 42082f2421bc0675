#pragma once

#include "capture/record_feed.h"
#include "requests/report_choice.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace tarnwick::program {

/// Decides which frames are sent. A sink of `RecordFeed` that builds no records.
class FrameChoice {
public:
    /// `request_ids`: the ids of requests whose frames are sent; all if absent.
    FrameChoice(ReportChoice reports, std::optional<std::unordered_set<std::uint64_t>> request_ids)
        : reports_(std::move(reports))
        , request_ids_(std::move(request_ids))
    {
    }

    /// Returns whether a report since the last call was chosen.
    [[nodiscard]] bool take_choice() { return std::exchange(is_chosen_, false); }

    [[nodiscard]] bool accepts(Dialect dialect) const { return reports_.accepts(dialect); }
    [[nodiscard]] bool accepts(data::php::RequestId request_id) const
    {
        return reports_.accepts(request_id) && (!request_ids_ || request_ids_->contains(request_id.id()));
    }
    template <class Message>
    void begin(ReportSource const & /*source*/, Message const & /*message*/)
    {
        is_chosen_ = true;
    }
    template <class Record>
    [[nodiscard]] static constexpr bool wants()
    {
        return false;
    }
    template <class Record>
    void take(Record const & /*record*/, ReportSource const & /*source*/, std::string_view /*view*/)
    {
    }

private:
    ReportChoice reports_;
    std::optional<std::unordered_set<std::uint64_t>> request_ids_;
    bool is_chosen_ = false;
};

} // namespace tarnwick::program
