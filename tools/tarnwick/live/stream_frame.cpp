#include "live/stream_frame.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <tarnwick/capture/v1/capture.pb.h>

namespace tarnwick::program {

std::string stream_frame(std::string_view message, std::uint64_t sequence)
{
    capture::v1::Frame number;
    number.set_stream_sequence(sequence);
    auto const suffix = number.SerializeAsString();
    std::string frame;
    google::protobuf::io::StringOutputStream stream(&frame);
    google::protobuf::io::CodedOutputStream coded(&stream);
    coded.WriteVarint64(message.size() + suffix.size());
    coded.WriteRaw(message.data(), static_cast<int>(message.size()));
    coded.WriteString(suffix);
    coded.Trim();
    return frame;
}

} // namespace tarnwick::program
