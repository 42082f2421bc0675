#include "capture/input_file.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::size_t buffer_size = 65'536;

int open_input(std::string const &name)
{
    if (name == "-")
        return STDIN_FILENO;
    int descriptor = -1;
    do
        descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

} // namespace

InputFile::InputFile(std::string const &name, std::function<void()> before_wait)
    : descriptor_(open_input(name))
    , before_wait_(std::move(before_wait))
    , buffer_(buffer_size)
{
    if (descriptor_ < 0 || ::fstat(descriptor_, &status_) != 0)
        error_ = errno;
    else if (S_ISDIR(status_.st_mode))
        error_ = EISDIR;
}

InputFile::~InputFile()
{
    if (descriptor_ > STDIN_FILENO)
        ::close(descriptor_);
}

std::uint64_t InputFile::size() const
{
    return S_ISREG(status_.st_mode) ? static_cast<std::uint64_t>(status_.st_size) : 0;
}

bool InputFile::is_same_file(int descriptor) const
{
    struct stat other = {};
    return descriptor != descriptor_ && S_ISREG(status_.st_mode) && ::fstat(descriptor, &other) == 0 &&
           status_.st_dev == other.st_dev && status_.st_ino == other.st_ino;
}

std::string_view InputFile::take(std::uint64_t limit)
{
    if (unread_.empty())
        read();
    auto const taken = unread_.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(limit, unread_.size())));
    unread_.remove_prefix(taken.size());
    position_ += taken.size();
    return taken;
}

bool InputFile::at_end()
{
    if (unread_.empty())
        read();
    return unread_.empty();
}

void InputFile::read()
{
    while (error_ == 0) {
        wait();
        auto const count = ::read(descriptor_, buffer_.data(), buffer_.size());
        if (count >= 0) {
            unread_ = {buffer_.data(), static_cast<std::size_t>(count)};
            return;
        }
        if (errno != EINTR && errno != EAGAIN)
            error_ = errno;
    }
}

// Ignores errors of poll(): the read that follows reports them.
void InputFile::wait()
{
    if (S_ISREG(status_.st_mode))
        return;
    pollfd input{.fd = descriptor_, .events = POLLIN, .revents = 0};
    if (::poll(&input, 1, 0) != 0)
        return;
    if (before_wait_)
        before_wait_();
    ::poll(&input, 1, -1);
}

} // namespace tarnwick::program
