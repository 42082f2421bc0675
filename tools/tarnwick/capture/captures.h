#pragma once

#include "capture/input_file.h"
#include "capture/origin.h"
#include "exit_status.h"
#include "print/output.h"

#include <tarnwick/capture/v1/capture.pb.h>

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Ends the reading of captures early, without a fault.
class EnoughResults : public std::exception {};

/// Handles a frame with a known report. Returns the fault of the report, if any. May throw `EnoughResults`.
using FrameHandler = std::function<std::optional<std::string>(capture::v1::Frame const &frame, Origin const &origin)>;

/// Handles the bytes of a frame too, without its length. They are valid during the call.
using FrameBytesHandler =
    std::function<std::optional<std::string>(capture::v1::Frame const &frame, std::string_view bytes)>;

/// A capture file.
struct CaptureFile {
    std::string name; ///< in messages
    std::string path; ///< to open; `-` is standard input
};

/// Returns the files of these names.
std::vector<CaptureFile> capture_files(std::vector<std::string> const &names);

/// Reads captures, one after the other. Passes each frame with a known report to `handle`, and
/// reports faults with their places to standard error. Flushes `output` before each message and before it waits for
/// input, so that results and messages have the order of the capture. Calls `before_wait`, which may throw
/// `EnoughResults`, when `InputFile` does.
ExitStatus read_captures(std::vector<CaptureFile> const &files, Output &output, FrameHandler const &handle,
                         AtEnd at_end = AtEnd::stop, std::function<void()> const &before_wait = {});

/// The same for a command that needs the bytes of frames.
ExitStatus read_capture_bytes(std::vector<CaptureFile> const &files, Output &output, FrameBytesHandler const &handle);

/// These read captures again, without messages.
void reread_captures(std::vector<CaptureFile> const &files, FrameHandler const &handle);
void reread_capture_bytes(std::vector<CaptureFile> const &files, FrameBytesHandler const &handle);

} // namespace tarnwick::program
