#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Returns a frame of a capture, with its length: the bytes of a message of a stream, and its number there. Of a number
/// that the bytes contain already, for example from another stream, the last one counts.
std::string stream_frame(std::string_view message, std::uint64_t sequence);

} // namespace tarnwick::program
