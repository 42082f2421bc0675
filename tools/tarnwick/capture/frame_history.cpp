#include "capture/frame_history.h"

#include "capture/varint.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::uint64_t max_varint_size = 10;

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
    // The same bytes are compared with many frames if frames are equal.
    std::map<std::pair<std::uint64_t, std::uint64_t>, std::size_t> hashes;
    auto const is_at = [&](Frame const &frame, std::uint64_t offset) {
        auto const [entry, is_new] = hashes.try_emplace({offset, frame.size});
        if (is_new)
            entry->second = hash_of(input.bytes_at(offset, frame.size));
        return entry->second == frame.hash;
    };
    auto const first_changed = [&](std::size_t first, std::uint64_t removed) {
        auto frame = first;
        while (frame < frames_.size() && is_at(frames_[frame], frames_[frame].offset - removed))
            ++frame;
        return frame;
    };

    std::size_t first = 0;
    auto end = first_changed(0, 0);
    std::uint64_t removed_frames = 0;
    std::uint64_t removed_bytes = 0;
    // The file can have lost its first frames.
    auto const length = read_varint(input.bytes_at(0, max_varint_size));
    for (std::size_t start = 0; start < frames_.size(); ++start) {
        if (frames_[start].size != length.size + length.value)
            continue;
        if (auto const start_end = first_changed(start, frames_[start].offset); start_end - start > end - first) {
            first = start;
            end = start_end;
            removed_frames = frames_[start].number - 1;
            removed_bytes = frames_[start].offset;
        }
    }
    frames_.resize(end);
    frames_.erase(frames_.begin(), frames_.begin() + static_cast<std::ptrdiff_t>(first));
    if (frames_.empty())
        return {};
    for (auto &frame : frames_) {
        frame.number -= removed_frames;
        frame.offset -= removed_bytes;
    }
    return {frames_.back().number, frames_.back().offset + frames_.back().size};
}

} // namespace tarnwick::program
