#include "progress.h"

#include "print/readable_text.h"
#include "print/terminal.h"
#include "print/text_width.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr auto interval = std::chrono::milliseconds(100);

} // namespace

Progress::Progress(std::string_view file, std::uint64_t size)
    : file_(escaped_text(file))
    , size_(size)
    , is_enabled_(size > min_size && takes_control_sequences(STDERR_FILENO))
    , next_update_(Clock::now())
{
}

bool Progress::due() const
{
    return is_enabled_ && Clock::now() >= next_update_;
}

void Progress::show(std::uint64_t bytes_read)
{
    next_update_ = Clock::now() + interval;
    is_visible_ = true;
    auto file = file_;
    auto figures =
        fmt::format(": {} of {} MB ({}%)", bytes_read / 1'000'000, size_ / 1'000'000, bytes_read * 100 / size_);
    // A line that wraps could not be cleared.
    if (auto const width = terminal_width(STDERR_FILENO)) {
        file = cut_lines(file, std::max(*width, figures.size() + 1) - figures.size());
        figures = cut_lines(figures, std::max(*width, text_width(file) + 1) - text_width(file));
    }
    print_error("\r\x1b[K" + file + figures);
}

void Progress::clear()
{
    if (std::exchange(is_visible_, false))
        print_error("\r\x1b[K");
}

} // namespace tarnwick::program
