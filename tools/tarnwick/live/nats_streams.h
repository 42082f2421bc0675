#pragma once

#include "exit_status.h"
#include "live/frame_target.h"

#include <memory>
#include <string>

namespace tarnwick::program {

class Recording;

/// Opens a stream to publish frames to, and creates it if it does not exist. `address` is a `NatsAddress`. Throws
/// `std::runtime_error`.
std::unique_ptr<FrameTarget> open_nats_target(std::string const &address);

/// Writes the frames of a stream to a capture, until a signal ends it. The position in the stream is kept for the
/// capture by its name and the name of this machine. A frame is acknowledged after it is stored on the disk, and
/// frames that the capture contains are not written again. Throws `std::runtime_error`.
void record_stream(std::string const &address, Recording &recording);

} // namespace tarnwick::program
