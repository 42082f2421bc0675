#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Progress line on standard error for reading a large file. Prints nothing for files of up to `min_size` bytes and for
/// pipes, and if standard error is not a terminal that takes control sequences.
class Progress {
public:
    static constexpr std::uint64_t min_size = 10'000'000;

    Progress(std::string_view file, std::uint64_t size);
    ~Progress() { clear(); }
    Progress(Progress const &) = delete;
    Progress &operator=(Progress const &) = delete;

    /// Whether the line is to be updated.
    [[nodiscard]] bool due() const;
    void show(std::uint64_t bytes_read);
    /// Erases the line, so that something else can be printed.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    std::string file_;
    std::uint64_t size_;
    bool is_enabled_;
    bool is_visible_ = false;
    Clock::time_point next_update_;
};

} // namespace tarnwick::program
