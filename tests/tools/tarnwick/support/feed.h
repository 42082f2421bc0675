#pragma once

#include "files.h"
#include "print/record_feed.h"

#include <tarnwick/capture/v1/capture.pb.h>

#include <string>
#include <utility>

namespace tarnwick::test {

struct Fed {
    std::string problem;
    std::string records; ///< as JSON lines, from frame 0 at byte 0
};

/// What comes of a frame.
inline Fed feed(capture::v1::Frame const &frame, bool all_records = false)
{
    MemoryFile const file;
    program::Output output(file.descriptor());
    program::RecordPrinter printer(output, {.json = true});
    program::RecordFeed feed(printer, all_records);
    auto problem = feed.feed(frame);
    output.flush();
    return {std::move(problem), file.content()};
}

} // namespace tarnwick::test
