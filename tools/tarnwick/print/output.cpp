#include "print/output.h"

#include "error_text.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstddef>
#include <poll.h>
#include <unistd.h>

namespace tarnwick::program {
namespace {

constexpr std::size_t output_buffer_size = 65'536;

} // namespace

Output::Output(int descriptor)
    : descriptor_(descriptor)
    , is_terminal_(::isatty(descriptor) != 0)
{
}

void Output::write(std::string_view bytes)
{
    if (bytes.size() >= output_buffer_size) {
        flush();
        write_now(bytes);
        return;
    }
    buffer_.append(bytes);
    if (buffer_.size() >= output_buffer_size)
        flush();
}

void Output::flush()
{
    write_now({buffer_.data(), buffer_.size()});
    buffer_.clear();
}

void Output::write_now(std::string_view rest) const
{
    while (!rest.empty()) {
        auto const written = ::write(descriptor_, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd output{.fd = descriptor_, .events = POLLOUT, .revents = 0};
            ::poll(&output, 1, -1);
        } else if (errno == EPIPE) {
            throw BrokenPipe();
        } else if (errno != EINTR) {
            throw WriteError(fmt::format("cannot write the output: {}", error_text(errno)));
        }
    }
}

} // namespace tarnwick::program
