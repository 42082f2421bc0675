#pragma once

#include "capture/input_file.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>

namespace tarnwick::program {

/// The most recent frames that were read of a followed capture. After the file was truncated or replaced, finds the
/// frames that are still in the file, so that they are not read again.
class FrameHistory {
public:
    static constexpr std::size_t max_frames = 4096;

    struct Place {
        std::uint64_t number = 0; ///< of the last frame before it, from 1; 0 if there is none
        std::uint64_t offset = 0;
    };

    /// Adds a frame with its length.
    void add(std::uint64_t number, std::uint64_t offset, std::string_view bytes);
    /// Keeps the longest sequence of frames that is still in the file: from the first frame on at any place, or from any
    /// frame on at the start of the file. Returns the end of the last frame that remains.
    Place keep_unchanged(InputFile const &input);

private:
    struct Frame {
        std::uint64_t number;
        std::uint64_t offset;
        std::uint64_t size;
        std::size_t hash; ///< of its bytes
    };
    std::deque<Frame> frames_;
};

} // namespace tarnwick::program
