#include "output.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <unistd.h>

namespace tarnwick::program {
namespace {

constexpr std::size_t buffer_size = 64 * 1024;

} // namespace

void Output::write(std::string_view bytes)
{
    buffer_.append(bytes);
    if (buffer_.size() >= buffer_size)
        flush();
}

void Output::flush()
{
    std::string_view rest = buffer_;
    while (!rest.empty()) {
        auto const written = ::write(descriptor_, rest.data(), rest.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            throw WriteError(fmt::format("cannot write the output: {}", std::strerror(errno)));
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    buffer_.clear();
}

bool Output::is_terminal() const
{
    return ::isatty(descriptor_) != 0;
}

} // namespace tarnwick::program
