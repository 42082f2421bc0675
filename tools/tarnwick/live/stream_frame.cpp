#include "live/stream_frame.h"

#include <tarnwick/capture/v1/capture.pb.h>

namespace tarnwick::program {

// Of a field that occurs twice, a parser takes the last one.
std::string stream_frame(std::string_view message, StreamPlace place)
{
    capture::v1::Frame suffix;
    suffix.set_stream(place.stream);
    suffix.set_stream_sequence(place.sequence);
    return std::string(message) + suffix.SerializeAsString();
}

} // namespace tarnwick::program
