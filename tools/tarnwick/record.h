#pragma once

#include "exit_status.h"
#include "live/access.h"
#include "live/endpoint.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

struct RecordOptions {
    std::vector<Endpoint> endpoints;
    std::optional<std::string> stream; ///< a stream to record instead of endpoints
    Attachment attachment = Attachment::bind;
    AccessOptions access;
    std::string output; ///< a file, or a stream
    /// When to begin a new file.
    std::optional<std::uint64_t> rotate_size;
    std::optional<std::chrono::nanoseconds> rotate_age;
    std::uint64_t max_frame = 16'000'000; ///< in bytes
};

/// Receives frames and appends them to a capture, until a signal ends it. Throws `WriteError`, `SocketError`
/// and `KeyFileError`.
ExitStatus record(RecordOptions const &options);

} // namespace tarnwick::program
