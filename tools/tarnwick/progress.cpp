#include "progress.h"

#include "messages.h"

#include <fmt/format.h>

#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr auto interval = std::chrono::milliseconds(100);

} // namespace

Progress::Progress(std::string file, std::uint64_t size)
    : file_(std::move(file))
    , size_(size)
    , wanted_(size > least_size && ::isatty(STDERR_FILENO) != 0)
    , next_(Clock::now())
{
}

bool Progress::due() const
{
    return wanted_ && Clock::now() >= next_;
}

void Progress::show(std::uint64_t bytes_read)
{
    next_ = Clock::now() + interval;
    shown_ = true;
    tell(fmt::format("\r\x1b[K{}: {} of {} MB ({}%)", file_, bytes_read / 1'000'000, size_ / 1'000'000,
                     bytes_read * 100 / size_));
}

void Progress::clear()
{
    if (std::exchange(shown_, false))
        tell("\r\x1b[K");
}

} // namespace tarnwick::program
