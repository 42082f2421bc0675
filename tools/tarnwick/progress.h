#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// One line on standard error that says how far the reading of a large file has come. Silent where standard error is no
/// terminal or a dumb one, where the size is unknown (a pipe) and for files that are read in a moment.
class Progress {
public:
    static constexpr std::uint64_t least_size = 10'000'000;

    Progress(std::string_view file, std::uint64_t size);
    ~Progress() { clear(); }
    Progress(Progress const &) = delete;
    Progress &operator=(Progress const &) = delete;

    [[nodiscard]] bool due() const;
    void show(std::uint64_t bytes_read);
    /// Takes the line away, so that something else can be printed.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    std::string file_;
    std::uint64_t size_;
    bool wanted_;
    bool shown_ = false;
    Clock::time_point next_;
};

} // namespace tarnwick::program
