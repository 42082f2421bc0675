#include "standard_error.h"

#include <cerrno>
#include <unistd.h>

namespace tarnwick::program {

void print_error(std::string_view text) noexcept
{
    while (!text.empty()) {
        auto const written = ::write(STDERR_FILENO, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            return;
    }
}

} // namespace tarnwick::program
