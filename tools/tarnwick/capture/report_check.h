#pragma once

#include <tarnwick/capture/v1/capture.pb.h>

namespace tarnwick::program {

/// Returns whether the frame has a report of a known kind that parses.
[[nodiscard]] bool has_valid_report(capture::v1::Frame const &frame);

} // namespace tarnwick::program
