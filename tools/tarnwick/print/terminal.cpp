#include "print/terminal.h"

#include <charconv>
#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tarnwick::program {
namespace {

std::string_view variable(char const *name)
{
    auto const *const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): no thread of ours changes it
    return value == nullptr ? std::string_view() : value;
}

std::size_t positive_number(std::string_view text)
{
    std::size_t number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

} // namespace

bool takes_control_sequences(int descriptor)
{
    return ::isatty(descriptor) != 0 && variable("TERM") != "dumb";
}

bool is_colored(Color color, int descriptor)
{
    if (color != Color::automatic)
        return color == Color::always;
    return takes_control_sequences(descriptor) && variable("NO_COLOR").empty();
}

std::optional<std::size_t> terminal_width(int descriptor)
{
    if (::isatty(descriptor) == 0)
        return std::nullopt;
    if (auto const columns = positive_number(variable("COLUMNS")); columns > 0)
        return columns;
    winsize size{};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return std::nullopt;
    return size.ws_col;
}

} // namespace tarnwick::program
