#pragma once

#include "capture/dialect.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace tarnwick::program {

/// The largest frame that a capture can have, in bytes.
inline constexpr std::uint64_t max_frame_size = std::uint64_t{1} << 30U;

/// What a recorder needs from a frame.
struct CheckedFrame {
    /// The request that the frame starts, if any.
    struct Start {
        std::uint64_t request_id;
        Dialect dialect;
    };
    std::optional<Start> start;
};

/// Returns nothing if the bytes are not a frame, so if protobuf would not parse them. Copies no bytes, so that a large
/// frame takes no further memory. Does not check the report.
std::optional<CheckedFrame> check_frame(std::string_view bytes);

} // namespace tarnwick::program
