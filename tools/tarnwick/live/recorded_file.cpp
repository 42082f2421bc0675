#include "live/recorded_file.h"

#include "capture/file_kind.h"
#include "capture/follow.h"
#include "capture/frame_fields.h"
#include "capture/varint.h"
#include "error_text.h"
#include "live/frame_check.h"
#include "output_file.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::size_t written_at_once = 65'536;

/// The frames at the start of a file.
class FrameScan {
public:
    FrameScan(int descriptor, std::uint64_t size)
        : descriptor_(descriptor)
        , size_(size)
    {
    }

    /// Passes the next frame. Returns false at the end, and before bytes that are not a whole frame.
    bool next()
    {
        if (end_ == size_)
            return false;
        auto const length = read_varint(bytes(max_length_size));
        auto const is_possible = length.state == Varint::State::whole && length.value <= max_frame_size;
        auto const rest = size_ - end_ - length.size;
        is_incomplete_ = length.state == Varint::State::truncated || (is_possible && length.value > rest);
        if (!is_possible)
            return false;
        auto const frame = bytes(length.size + std::min(length.value, rest)).substr(length.size);
        if (is_incomplete_) {
            FrameFields fields(length.value);
            auto const state = fields.advance(frame);
            is_incomplete_ = state != FrameFields::State::invalid;
            has_report_ = state == FrameFields::State::complete && fields.ends_with_report();
            return false;
        }
        if (!check_frame(frame))
            return false;
        end_ += length.size + length.value;
        return true;
    }

    /// The end of the last whole frame.
    [[nodiscard]] std::uint64_t end() const { return end_; }
    /// Returns whether the bytes after `end` can be the start of a frame.
    [[nodiscard]] bool is_incomplete() const { return is_incomplete_; }
    /// Returns whether the bytes after `end` name a report that would end where the frame ends. Bytes of other files
    /// do so only by chance.
    [[nodiscard]] bool has_report() const { return has_report_; }

private:
    static constexpr std::uint64_t max_length_size = 10;
    static constexpr std::uint64_t read_at_once = 1'048'576;

    /// Returns bytes from `end_` on, fewer at the end of the file.
    std::string_view bytes(std::uint64_t size)
    {
        size = std::min(size, size_ - end_);
        if (end_ + size > window_start_ + window_.size()) {
            window_start_ = end_;
            window_ = bytes_at(descriptor_, end_, std::max(size, read_at_once));
        }
        return std::string_view(window_).substr(static_cast<std::size_t>(end_ - window_start_),
                                                static_cast<std::size_t>(size));
    }

    int descriptor_;
    std::uint64_t size_;
    std::uint64_t end_ = 0;
    bool is_incomplete_ = false;
    bool has_report_ = false;
    std::uint64_t window_start_ = 0;
    std::string window_;
};

/// Returns the name of a finished file: `capture.tnw` becomes `capture-20261122T221806Z.tnw`, or
/// `capture-20261122T221806Z-2.tnw`.
std::string finished_name(std::string const &name, std::time_t time, unsigned number)
{
    std::filesystem::path const path(name);
    std::tm parts = {};
    ::gmtime_r(&time, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &parts);
    auto const suffix = number == 1 ? std::string() : fmt::format("-{}", number);
    return path.parent_path() /
           fmt::format("{}-{}{}{}", path.stem().string(), text.data(), suffix, path.extension().string());
}

} // namespace

RecordedFile::RecordedFile(std::string name)
    : name_(std::move(name))
{
    open(0);
    if (size_ > 0)
        continue_existing();
}

RecordedFile::~RecordedFile()
{
    ::close(descriptor_);
}

void RecordedFile::fail(std::string_view reason) const
{
    throw WriteError(fmt::format("cannot write {}: {}", escaped_text(name_), reason));
}

void RecordedFile::open(int flags)
{
    constexpr mode_t all_may_access = 0666; // less the umask
    struct stat named = {};
    struct stat status = {};
    do {
        if (descriptor_ >= 0)
            ::close(descriptor_);
        is_new_ = ::stat(name_.c_str(), &named) != 0 && errno == ENOENT;
        do
            descriptor_ = ::open(name_.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | flags, all_may_access);
        while (descriptor_ < 0 && errno == EINTR);
        if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0)
            fail(error_text(errno));
        if (!S_ISREG(status.st_mode))
            fail("not a regular file");
        if (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0)
            fail(errno == EWOULDBLOCK ? "another program writes it" : error_text(errno));
        // Another recorder can have renamed the file before the lock.
    } while (::stat(name_.c_str(), &named) != 0 || named.st_dev != status.st_dev || named.st_ino != status.st_ino);
    size_ = static_cast<std::uint64_t>(status.st_size);
}

void RecordedFile::discard()
{
    if (is_new_ && size() == 0)
        ::unlink(name_.c_str());
}

void RecordedFile::continue_existing()
{
    FrameScan scan(descriptor_, size_);
    while (scan.next()) {
    }
    if (scan.end() == size_)
        return;
    if (scan.end() == 0 && !scan.has_report()) {
        auto const reason = describe_foreign_file(bytes_at(descriptor_, 0, 64));
        bool const is_unknown = reason == describe_foreign_file({});
        fail(scan.is_incomplete() && is_unknown ? fmt::format("{}; if it is the start of a frame, remove it", reason)
                                                : std::string(reason));
    }
    if (!scan.is_incomplete())
        fail(fmt::format("byte {} is not the start of a frame; write its frames to a new file with `tarnwick recover`",
                         scan.end()));
    print_error(fmt::format("{}: removed {} bytes of an incomplete frame\n", escaped_text(name_), size_ - scan.end()));
    if (::ftruncate(descriptor_, static_cast<off_t>(scan.end())) != 0)
        fail(error_text(errno));
    size_ = scan.end();
}

void RecordedFile::append(std::string_view frame)
{
    if (frame.size() < written_at_once) {
        append_varint(buffer_, frame.size());
        buffer_.append(frame);
        ++waiting_;
        if (buffer_.size() >= written_at_once)
            flush();
        return;
    }
    flush();
    append_varint(buffer_, frame.size());
    write(frame);
    ++written_;
}

void RecordedFile::flush()
{
    if (buffer_.empty())
        return;
    write({});
    written_ += std::exchange(waiting_, 0);
}

/// Writes the buffer, then other bytes.
void RecordedFile::write(std::string_view bytes)
{
    std::string_view head = buffer_;
    auto rest = bytes;
    while (!head.empty() || !rest.empty()) {
        std::array<iovec, 2> const parts{
            iovec{.iov_base = const_cast<char *>(head.data()), .iov_len = head.size()}, // NOLINT: only read
            iovec{.iov_base = const_cast<char *>(rest.data()), .iov_len = rest.size()}};
        auto const count = ::writev(descriptor_, parts.data(), parts.size());
        if (count < 0) {
            if (errno == EINTR)
                continue;
            auto const error = errno;
            remove_incomplete(buffer_.size() + bytes.size() - head.size() - rest.size());
            fail(error_text(error));
        }
        auto const of_head = std::min(head.size(), static_cast<std::size_t>(count));
        head.remove_prefix(of_head);
        rest.remove_prefix(static_cast<std::size_t>(count) - of_head);
    }
    size_ += buffer_.size() + bytes.size();
    buffer_.clear();
}

/// Counts the frames in the first `size` bytes of the buffer, which were written, and removes the incomplete frame after
/// them from the file.
void RecordedFile::remove_incomplete(std::size_t size)
{
    std::size_t end = 0;
    while (end < size) {
        auto const length = read_varint(std::string_view(buffer_).substr(end));
        auto const next = end + length.size + static_cast<std::size_t>(length.value);
        if (next > size)
            break;
        end = next;
        ++written_;
    }
    buffer_.clear();
    struct stat status = {};
    if (::fstat(descriptor_, &status) == 0) [[maybe_unused]]
        auto const result = ::ftruncate(descriptor_, status.st_size - static_cast<off_t>(size - end));
}

void RecordedFile::sync()
{
    flush();
    if (::fsync(descriptor_) != 0)
        fail(error_text(errno));
}

std::string RecordedFile::rotate()
{
    sync();
    auto const now = std::time(nullptr);
    unsigned number = 1;
    auto finished = finished_name(name_, now, number);
    while (!rename_to_new(name_, finished)) {
        if (errno != EEXIST)
            fail(error_text(errno));
        finished = finished_name(name_, now, ++number);
    }
    open(O_EXCL);
    if (!store_folder_of(name_))
        fail(error_text(errno));
    return finished;
}

} // namespace tarnwick::program
