#include "capture/read_ahead.h"

#include <limits>

namespace tarnwick::program {
namespace {

constexpr std::size_t head_size = 64;
constexpr std::size_t large = 1'000'000;

} // namespace

bool ReadAhead::read(std::uint64_t size)
{
    while (bytes().size() < size) {
        auto const more = input_.take(std::numeric_limits<std::uint64_t>::max());
        if (more.empty()) {
            has_ended_ = true;
            return false;
        }
        if (head_.size() < head_size)
            head_.append(more.substr(0, head_size - head_.size()));
        if (begin_ > buffer_.size() / 2)
            compact();
        buffer_.append(more);
    }
    return true;
}

void ReadAhead::drop(std::uint64_t size)
{
    begin_ += static_cast<std::size_t>(size);
    // Frees a large frame before its records are built.
    if (begin_ > large && begin_ > buffer_.size() / 2)
        compact();
}

void ReadAhead::reopen(std::uint64_t offset)
{
    input_.reopen(offset);
    buffer_.clear();
    begin_ = 0;
    head_.clear();
    has_ended_ = false;
}

// Called only when more bytes were dropped than it moves, so the cost per byte is constant.
void ReadAhead::compact()
{
    buffer_.erase(0, begin_);
    begin_ = 0;
    if (buffer_.size() < large && buffer_.capacity() > 2 * large)
        buffer_.shrink_to_fit();
}

} // namespace tarnwick::program
