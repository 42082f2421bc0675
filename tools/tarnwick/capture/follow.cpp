#include "capture/follow.h"

#include "capture/interrupt.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

/// The number of bytes that show whether a file was written again.
constexpr std::size_t compared_bytes = 64;

int start_watch(std::string const &name, int descriptor)
{
    auto const inotify = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (inotify < 0)
        return -1;
    // Failures are ignored: the interval remains. The path of the descriptor is the open file, whatever its name.
    ::inotify_add_watch(inotify, fmt::format("/proc/self/fd/{}", descriptor).c_str(), IN_MODIFY);
    auto const folder = std::filesystem::path(name).parent_path();
    ::inotify_add_watch(inotify, folder.empty() ? "." : folder.c_str(), IN_CREATE | IN_MOVED_TO);
    return inotify;
}

/// Returns whether the status is that of a regular file with content, other than the open file.
bool is_other_file(struct stat const &status, int descriptor)
{
    struct stat open = {};
    return S_ISREG(status.st_mode) && status.st_size > 0 && ::fstat(descriptor, &open) == 0 &&
           (status.st_dev != open.st_dev || status.st_ino != open.st_ino);
}

} // namespace

std::string bytes_at(int descriptor, std::uint64_t offset, std::uint64_t size)
{
    std::string bytes(static_cast<std::size_t>(size), '\0');
    std::size_t end = 0;
    while (end < bytes.size()) {
        auto const count =
            ::pread(descriptor, bytes.data() + end, bytes.size() - end, static_cast<off_t>(offset + end));
        if (count == 0 || (count < 0 && errno != EINTR))
            break;
        end += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    bytes.resize(end);
    return bytes;
}

Follow::Follow(std::string name, int descriptor, int interval)
    : name_(std::move(name))
    , descriptor_(descriptor)
    , interval_(interval)
    , inotify_(start_watch(name_, descriptor))
{
    auto const offset = static_cast<std::uint64_t>(std::max<off_t>(::lseek(descriptor, 0, SEEK_CUR), 0));
    auto const size = std::min<std::uint64_t>(offset, compared_bytes);
    last_read_ = bytes_at(descriptor, offset - size, size);
}

Follow::~Follow()
{
    for (auto const descriptor : {inotify_, replacement_}) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
}

bool Follow::is_replaced()
{
    struct stat status = {};
    if (replacement_ < 0 && ::stat(name_.c_str(), &status) == 0 && is_other_file(status, descriptor_))
        replacement_ = ::open(name_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    return replacement_ >= 0;
}

int Follow::take_replacement()
{
    return std::exchange(replacement_, -1);
}

bool Follow::continues_with(std::string_view bytes)
{
    auto const end = ::lseek(descriptor_, 0, SEEK_CUR);
    auto const begin = static_cast<std::uint64_t>(end) - bytes.size() - last_read_.size();
    if (bytes_at(descriptor_, begin, last_read_.size()) != last_read_)
        return false;
    last_read_.append(bytes.substr(bytes.size() - std::min(bytes.size(), compared_bytes)));
    last_read_.erase(0, last_read_.size() - std::min(last_read_.size(), compared_bytes));
    return true;
}

bool Follow::wait() const
{
    std::array<pollfd, 2> sources{pollfd{.fd = inotify_, .events = POLLIN, .revents = 0},
                                  pollfd{.fd = Interrupt::descriptor(), .events = POLLIN, .revents = 0}};
    if (!Interrupt::requested())
        ::poll(sources.data(), sources.size(), interval_);
    // The content of the events does not matter. Events that follow these end the next wait.
    std::array<char, 4096> events{};
    while (::read(inotify_, events.data(), events.size()) > 0) {
    }
    return !Interrupt::requested();
}

} // namespace tarnwick::program
