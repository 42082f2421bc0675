#pragma once

#include <tarnwick/capture/v1/capture.pb.h>

#include <google/protobuf/io/zero_copy_stream_impl.h>
#include <google/protobuf/util/delimited_message_util.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnwick::bench {

/// Returns the frames of four of the committed captures. More captures would change the figures of `real_request`.
inline std::vector<capture::v1::Frame> const &captured_frames()
{
    static auto const frames = [] {
        std::vector<capture::v1::Frame> read;
        for (auto const *name : {"adminer", "errors", "mediawiki", "stations"}) {
            auto const path = std::string(TARNWICK_CAPTURES "/") + name + ".tnw";
            std::ifstream file(path, std::ios::binary);
            google::protobuf::io::IstreamInputStream stream(&file);
            bool at_end = false;
            for (capture::v1::Frame frame;
                 google::protobuf::util::ParseDelimitedFromZeroCopyStream(&frame, &stream, &at_end); frame.Clear())
                read.push_back(frame);
            if (!at_end)
                throw std::runtime_error(path + " does not parse");
        }
        return read;
    }();
    return frames;
}

} // namespace tarnwick::bench
