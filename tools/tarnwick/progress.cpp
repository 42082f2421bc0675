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

ProgressLine::ProgressLine(bool is_wanted)
    : is_enabled_(is_wanted && takes_control_sequences(STDERR_FILENO))
    , next_update_(Clock::now())
{
}

bool ProgressLine::due() const
{
    return is_enabled_ && Clock::now() >= next_update_;
}

void ProgressLine::show(std::string name, std::string figures)
{
    next_update_ = Clock::now() + interval;
    is_visible = true;
    // A line that wraps could not be cleared.
    if (auto const width = terminal_width(STDERR_FILENO)) {
        name = cut_lines(name, std::max(*width, figures.size() + 1) - figures.size());
        figures = cut_lines(figures, std::max(*width, text_width(name) + 1) - text_width(name));
    }
    print_error("\r\x1b[K" + name + figures);
}

void ProgressLine::clear()
{
    if (std::exchange(is_visible, false))
        print_error("\r\x1b[K");
}

Progress::Progress(std::string_view file, std::uint64_t size)
    : file_(escaped_text(file))
    , size_(size)
    , line_(size > min_size)
{
}

void Progress::show(std::uint64_t bytes_read)
{
    line_.show(file_,
               fmt::format(": {} of {} MB ({}%)", bytes_read / 1'000'000, size_ / 1'000'000, bytes_read * 100 / size_));
}

} // namespace tarnwick::program
