#pragma once

#include "capture/record_feed.h"
#include "files.h"
#include "print/record_selection.h"

#include <tarnwick/capture/v1/capture.pb.h>

#include <optional>
#include <string>
#include <utility>

namespace tarnwick::test {

struct FeedResult {
    std::optional<std::string> fault;
    std::string records; ///< as JSON lines, from frame 0 at byte 0
};

/// Prints the records of a frame.
inline FeedResult feed(capture::v1::Frame const &frame, bool all_records = false)
{
    MemoryFile const file;
    program::Output output(file.descriptor());
    program::RecordPrinter printer(output, {.json = true});
    program::RecordSelection selection(printer);
    program::RecordFeed feed(selection, all_records);
    auto fault = feed.feed(frame);
    output.flush();
    return {std::move(fault), file.content()};
}

} // namespace tarnwick::test
