#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Where a frame is in a stream.
struct StreamPlace {
    std::uint32_t stream = 0;   ///< id of the stream
    std::uint64_t sequence = 0; ///< the number of the frame, from 1
};

/// Returns a frame of a capture, without its length: the bytes of a message and its place in a stream. It replaces the
/// place in another stream that the bytes contain.
std::string stream_frame(std::string_view message, StreamPlace place);

} // namespace tarnwick::program
