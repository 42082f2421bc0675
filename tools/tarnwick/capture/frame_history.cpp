#include "capture/frame_history.h"

#include "capture/capture_reader.h"
#include "capture/varint.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::uint64_t max_varint_size = 10;

/// Returns the size of the frame at an offset with its length; 0 if there is none.
std::uint64_t size_at(InputFile const &input, std::uint64_t offset)
{
    auto const length = read_varint(input.bytes_at(offset, max_varint_size));
    return length.value == 0 || length.value > CaptureReader::max_frame_size ? 0 : length.size + length.value;
}

std::size_t hash_of(std::string_view bytes)
{
    return std::hash<std::string_view>()(bytes);
}

} // namespace

void FrameHistory::add(std::uint64_t number, std::uint64_t offset, std::string_view bytes)
{
    if (frames_.size() == max_frames)
        frames_.pop_front();
    frames_.push_back({number, offset, bytes.size(), hash_of(bytes)});
}

FrameHistory::Place FrameHistory::keep_unchanged(InputFile const &input)
{
    if (frames_.empty())
        return {};
    // The same bytes are compared with many frames if frames are equal.
    std::map<std::pair<std::uint64_t, std::uint64_t>, std::size_t> hashes;
    auto const is_at = [&](Frame const &frame, std::uint64_t offset) {
        auto const [entry, is_new] = hashes.try_emplace({offset, frame.size});
        if (is_new)
            entry->second = hash_of(input.bytes_at(offset, frame.size));
        return entry->second == frame.hash;
    };

    /// Frames from `first` to `end` that are in the file, the first of them at a place.
    struct Run {
        std::size_t first = 0;
        std::size_t end = 0;
        Place place;
    };
    Run longest;
    auto const try_run = [&](std::size_t first, Place const &place) {
        auto end = first;
        while (end < frames_.size() &&
               is_at(frames_[end], place.offset + (frames_[end].offset - frames_[first].offset)))
            ++end;
        if (end - first > longest.end - longest.first)
            longest = {first, end, place};
    };
    try_run(0, {frames_.front().number, frames_.front().offset});
    // The file can have lost its first frames: all before one of these, or some before all of these.
    auto size = size_at(input, 0);
    for (std::size_t first = 0; first < frames_.size(); ++first) {
        if (frames_[first].size == size)
            try_run(first, {1, 0});
    }
    Place place{1, 0};
    for (; size > 0 && longest.end == 0; size = size_at(input, place.offset)) {
        if (frames_.front().size == size)
            try_run(0, place);
        hashes.clear(); // the file can have any number of frames
        ++place.number;
        place.offset += size;
    }

    frames_.resize(longest.end);
    frames_.erase(frames_.begin(), frames_.begin() + static_cast<std::ptrdiff_t>(longest.first));
    if (frames_.empty())
        return {};
    auto const [number, offset, first_size, hash] = frames_.front();
    for (auto &frame : frames_) {
        frame.number = frame.number - number + longest.place.number;
        frame.offset = frame.offset - offset + longest.place.offset;
    }
    return {frames_.back().number, frames_.back().offset + frames_.back().size};
}

} // namespace tarnwick::program
