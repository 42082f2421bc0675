// Reads the frames of send_frames from a capture that grows, and prints how long after they were sent they could be read:
// frame_delay FILE COUNT
//
// Ends after COUNT frames. Looks for new frames every half millisecond, which the delays include. Follows the capture
// when it is renamed and begins again.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// Takes a varint from the start of the bytes. Returns false if its end is missing.
bool take_varint(std::string_view &bytes, std::uint64_t &value)
{
    value = 0;
    for (unsigned shift = 0; !bytes.empty(); shift += 7) {
        auto const byte = static_cast<unsigned char>(bytes.front());
        bytes.remove_prefix(1);
        value |= std::uint64_t{byte & 0x7fU} << shift;
        if (byte < 0x80)
            return true;
    }
    return false;
}

/// Returns when the sender made the frame: the first bytes of its padding.
std::chrono::nanoseconds time_of(std::string_view frame)
{
    std::uint64_t number = 0;
    // The tag and the value of the request id, the tag and the size of the report, and those of the padding.
    for (int i = 0; i < 6; ++i)
        take_varint(frame, number);
    std::int64_t time = 0;
    std::memcpy(&time, frame.data(), std::min(frame.size(), sizeof time));
    return std::chrono::nanoseconds(time);
}

/// Opens a file when it exists.
int open_existing(char const *name)
{
    int file = -1;
    while ((file = ::open(name, O_RDONLY | O_CLOEXEC)) < 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return file;
}

bool has_name(int file, char const *name)
{
    struct stat opened = {};
    struct stat named = {};
    return ::fstat(file, &opened) == 0 && ::stat(name, &named) == 0 && opened.st_ino == named.st_ino;
}

/// Appends the next bytes of the file, or of the one that has its name now. Returns false if there are none yet.
bool read_more(int &file, char const *name, std::string &bytes)
{
    std::array<char, 1'048'576> static block;
    bool const is_named = has_name(file, name); // before the read: all bytes of a renamed file are there
    auto const size = ::read(file, block.data(), block.size());
    if (size > 0) {
        bytes.append(block.data(), static_cast<std::size_t>(size));
        return true;
    }
    if (!is_named) {
        ::close(file);
        file = open_existing(name);
    }
    return false;
}

double milliseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): an exception ends the program, as intended
int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fputs("usage: frame_delay FILE COUNT\n", stderr);
        return 2;
    }
    auto const count = static_cast<std::size_t>(std::strtoull(argv[2], nullptr, 10));
    std::vector<std::chrono::nanoseconds> delays;
    delays.reserve(count);
    auto file = open_existing(argv[1]);
    std::string bytes;
    while (delays.size() < count) {
        if (!read_more(file, argv[1], bytes)) {
            std::this_thread::sleep_for(std::chrono::microseconds(500));
            continue;
        }
        auto const now = std::chrono::steady_clock::now().time_since_epoch();
        std::string_view rest = bytes;
        std::uint64_t size = 0;
        for (auto frame = rest; take_varint(frame, size) && size <= frame.size(); frame = rest) {
            delays.push_back(now - time_of(frame.substr(0, static_cast<std::size_t>(size))));
            rest = frame.substr(static_cast<std::size_t>(size));
        }
        bytes.erase(0, bytes.size() - rest.size());
    }
    ::close(file);
    if (delays.empty())
        return 1;
    std::ranges::sort(delays);
    std::printf("delay from send to readable: median %.2f ms, p99 %.2f ms, longest %.2f ms\n",
                milliseconds(delays[delays.size() / 2]), milliseconds(delays[delays.size() * 99 / 100]),
                milliseconds(delays.back()));
    return 0;
}
