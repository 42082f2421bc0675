#pragma once

#include "live/frame_check.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace tarnwick::program {

/// Counts requests by their starts. A request whose start both dialects report counts once, if fewer than
/// `remembered` other requests start between the two reports.
class StartedRequests {
public:
    static constexpr std::size_t remembered = 4'096;

    void add(CheckedFrame::Start const &start);
    [[nodiscard]] std::uint64_t count() const { return count_; }

private:
    /// The dialects that reported the last start of a request.
    struct Reported {
        bool rpc = false;
        bool protobuf = false;
        std::uint64_t number = 0; ///< of the start
    };

    std::unordered_map<std::uint64_t, Reported> recent_;
    std::array<std::uint64_t, remembered> ids_{}; ///< of the last starts, by their numbers
    std::uint64_t count_ = 0;
};

} // namespace tarnwick::program
