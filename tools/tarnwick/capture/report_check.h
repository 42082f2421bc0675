#pragma once

#include <tarnwick/capture/v1/capture.pb.h>

namespace tarnwick::program {

/// Whether the frame has a report of a kind that this program knows, which parses.
[[nodiscard]] bool has_valid_report(capture::v1::Frame const &frame);

} // namespace tarnwick::program
