#include "capture/input_file.h"

#include "error_text.h"

#include <algorithm>
#include <array>
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

std::unique_ptr<NatsSource> open_source(std::string const &name, AtEnd at_end)
{
    return NatsAddress::is_one(name) ? std::make_unique<NatsSource>(name, at_end == AtEnd::follow) : nullptr;
}

} // namespace

InputFile::InputFile(std::string name, std::function<void()> before_wait, AtEnd at_end)
    : name_(std::move(name))
    , source_(open_source(name_, at_end))
    , descriptor_(source_ ? source_->descriptor() : open_input(name_))
    , before_wait_(std::move(before_wait))
    , buffer_(buffer_size)
{
    if (descriptor_ < 0 || ::fstat(descriptor_, &status_) != 0)
        error_ = errno;
    else if (S_ISDIR(status_.st_mode))
        error_ = EISDIR;
    if (error_ != 0 || at_end == AtEnd::stop)
        return;
    interrupt_.emplace();
    if (S_ISREG(status_.st_mode))
        follow_.emplace(name_ == "-" ? "/dev/stdin" : name_, descriptor_);
}

InputFile::~InputFile()
{
    if (descriptor_ > STDIN_FILENO)
        ::close(descriptor_);
}

std::string InputFile::problem() const
{
    if (error_ != 0)
        return error_text(error_);
    return source_ && is_ended_ ? source_->problem() : std::string();
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

void InputFile::reopen(std::uint64_t offset)
{
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): only a followed file is read again
    if (auto const replacement = follow_->take_replacement(); replacement >= 0) {
        // The number of standard input must not be reused.
        if (descriptor_ > STDIN_FILENO)
            ::close(descriptor_);
        descriptor_ = replacement;
    }
    if (::fstat(descriptor_, &status_) != 0 || ::lseek(descriptor_, static_cast<off_t>(offset), SEEK_SET) < 0)
        error_ = errno;
    position_ = offset;
    has_changed_ = false;
    follow_.emplace(follow_->name(), descriptor_); // NOLINT(bugprone-unchecked-optional-access)
}

std::string InputFile::bytes_at(std::uint64_t offset, std::uint64_t size) const
{
    auto const replacement = follow_ ? follow_->replacement() : -1;
    return program::bytes_at(replacement < 0 ? descriptor_ : replacement, offset, size);
}

void InputFile::read()
{
    while (error_ == 0 && !has_changed_) {
        // Tested before the read: what was written before the replacement is read first.
        bool const is_last_read = follow_ && follow_->is_replaced();
        if (!wait_for_pipe())
            return;
        auto const count = ::read(descriptor_, buffer_.data(), buffer_.size());
        if (count < 0) {
            if (errno != EINTR && errno != EAGAIN)
                error_ = errno;
            continue;
        }
        std::string_view const bytes(buffer_.data(), static_cast<std::size_t>(count));
        if (follow_ && !follow_->continues_with(bytes)) {
            has_changed_ = true;
            return;
        }
        unread_ = bytes;
        is_ended_ = bytes.empty();
        if (!follow_ || !unread_.empty())
            return;
        has_changed_ = is_last_read;
        if (!has_changed_ && !wait_for_change())
            return;
    }
}

void InputFile::report_wait() const
{
    if (before_wait_)
        before_wait_();
}

/// Returns false after Ctrl-C.
bool InputFile::wait_for_change() const
{
    if (Interrupt::requested())
        return false;
    report_wait();
    return follow_->wait(); // NOLINT(bugprone-unchecked-optional-access): only a followed file changes
}

// Ignores errors of poll(): the read that follows reports them.
bool InputFile::wait_for_pipe() const
{
    if (S_ISREG(status_.st_mode))
        return true;
    std::array<pollfd, 2> sources{pollfd{.fd = descriptor_, .events = POLLIN, .revents = 0},
                                  pollfd{.fd = Interrupt::descriptor(), .events = POLLIN, .revents = 0}};
    if (::poll(sources.data(), 1, 0) != 0)
        return true;
    report_wait();
    auto const interval = interrupt_ ? Follow::usual_interval : -1;
    while (::poll(sources.data(), sources.size(), interval) == 0)
        report_wait();
    return !Interrupt::requested();
}

} // namespace tarnwick::program
