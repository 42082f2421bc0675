#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Line on standard error that is updated in place. Prints nothing if it is not wanted, and if standard error is not a
/// terminal that takes control sequences.
class ProgressLine {
public:
    explicit ProgressLine(bool is_wanted);
    ~ProgressLine() { clear(); }
    ProgressLine(ProgressLine const &) = delete;
    ProgressLine &operator=(ProgressLine const &) = delete;

    [[nodiscard]] bool is_enabled() const { return is_enabled_; }
    /// Whether the line is to be updated.
    [[nodiscard]] bool due() const;
    /// Shows a name and figures. On a narrow terminal, the name is cut first.
    void show(std::string name, std::string figures);
    /// Erases the line, also that of another object, so that something else can be printed.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    static inline bool is_visible = false; ///< of all objects, since they share the line

    bool is_enabled_;
    Clock::time_point next_update_;
};

/// Progress line on standard error for reading a large file. Prints nothing for files of up to `min_size` bytes and for
/// pipes, and if standard error is not a terminal that takes control sequences.
class Progress {
public:
    static constexpr std::uint64_t min_size = 10'000'000;

    Progress(std::string_view file, std::uint64_t size);

    [[nodiscard]] bool due() const { return line_.due(); }
    void show(std::uint64_t bytes_read);
    void clear() { line_.clear(); }

private:
    std::string file_;
    std::uint64_t size_;
    ProgressLine line_;
};

} // namespace tarnwick::program
