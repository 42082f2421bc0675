#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Returns bytes of a file, fewer at its end or after an error. Does not move the offset of the descriptor.
std::string bytes_at(int descriptor, std::uint64_t offset, std::uint64_t size);

/// Watches an open regular file that grows. Waits for changes, and detects that the file was truncated, or replaced by
/// another file of its name.
///
/// Changes are reported by inotify. The file is also examined at an interval, because inotify can be unavailable and
/// does not report changes by other hosts of a network file system.
class Follow {
public:
    static constexpr int usual_interval = 100;

    /// Does not own the descriptor. The interval is in milliseconds, infinite if negative.
    Follow(std::string name, int descriptor, int interval = usual_interval);
    ~Follow();
    Follow(Follow const &) = delete;
    Follow &operator=(Follow const &) = delete;

    [[nodiscard]] std::string name() const { return name_; }
    /// Returns whether the name refers to another regular file that is not empty, and can be read. Until its first byte
    /// is written, more can be written to the previous file, for example to a log that was renamed.
    [[nodiscard]] bool is_replaced();
    /// The descriptor of the other file, after `is_replaced` returned true; -1 before. `take_replacement` passes it on
    /// to the caller.
    [[nodiscard]] int replacement() const { return replacement_; }
    int take_replacement();

    /// Tests the bytes that were just read. Returns false if the bytes before them have changed since they were read:
    /// then the file was truncated, and possibly written again.
    bool continues_with(std::string_view bytes);

    /// Waits for a change. Returns false after Ctrl-C; see `Interrupt`.
    [[nodiscard]] bool wait() const;

private:
    std::string name_;
    int descriptor_;
    int interval_;
    int inotify_;
    int replacement_ = -1;
    std::string last_read_; ///< the last bytes that were read
};

} // namespace tarnwick::program
