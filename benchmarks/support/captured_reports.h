#pragma once

#include <tarnwick/capture/v1/capture.pb.h>

#include <google/protobuf/io/zero_copy_stream_impl.h>
#include <google/protobuf/util/delimited_message_util.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace tarnwick::bench {

/// Returns the frames of all committed captures, one capture after the other.
inline std::vector<capture::v1::Frame> const &captured_frames()
{
    static auto const frames = [] {
        std::vector<capture::v1::Frame> read;
        for (auto const &entry : std::filesystem::directory_iterator(TARNWICK_CAPTURES)) {
            if (entry.path().extension() != ".tnw")
                continue;
            std::ifstream file(entry.path(), std::ios::binary);
            google::protobuf::io::IstreamInputStream stream(&file);
            bool at_end = false;
            for (capture::v1::Frame frame;
                 google::protobuf::util::ParseDelimitedFromZeroCopyStream(&frame, &stream, &at_end); frame.Clear())
                read.push_back(frame);
            if (!at_end)
                throw std::runtime_error(entry.path().string() + " does not parse");
        }
        return read;
    }();
    return frames;
}

} // namespace tarnwick::bench
