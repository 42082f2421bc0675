#include "capture/frame_history.h"

#include <algorithm>
#include <functional>
#include <string>

namespace tarnwick::program {
namespace {

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
    auto const changed = std::ranges::find_if(frames_, [&input](Frame const &frame) {
        auto const bytes = input.bytes_at(frame.offset, frame.size);
        return bytes.size() != frame.size || hash_of(bytes) != frame.hash;
    });
    frames_.erase(changed, frames_.end());
    if (frames_.empty())
        return {};
    return {frames_.back().number, frames_.back().offset + frames_.back().size};
}

} // namespace tarnwick::program
