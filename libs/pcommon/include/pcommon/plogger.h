#pragma once

#include <pcommon/export.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <ostream>
#include <string_view>

/// The logger of a process.
///
/// A message of level N is wanted if level() >= N and output() is set. The caller tests both before it formats
/// anything; println() itself does not look at the level.
///
///     auto const &logger = PLogger::instance();
///     if (logger.level() >= 3 && logger.output() != nullptr)
///         logger.println(PLogger::Level::info, "libs/part/source", __LINE__, format_the_message());
///
/// Until a program calls set_output() nothing is written; the level is 3 until it calls set_level(). Everything here
/// may be called from any thread at any time, until the very end of the program.
class PCOMMON_EXPORT PLogger {
public:
    /// The higher the number, the more detailed the message. Other numbers are allowed.
    enum class Level : std::int8_t {
        info = 3,
        debug = 5,
    };

    static PLogger &instance() noexcept;

    PLogger(PLogger const &) = delete;
    PLogger &operator=(PLogger const &) = delete;

    /// The highest level that is wanted.
    std::int8_t level() const noexcept { return level_.load(std::memory_order_relaxed); }

    /// A negative level switches every message off that has a level of 0 or above.
    void set_level(std::int8_t level) noexcept { level_.store(level, std::memory_order_relaxed); }

    /// Where lines go, or null.
    std::ostream *output() const noexcept { return output_.load(std::memory_order_acquire); }

    /// The logger does not own the stream. Once this has returned, no thread writes to the former stream any more, so
    /// that it can be destroyed; for that it waits for a line that is being written.
    void set_output(std::ostream *output);

    /// Writes the line `LEVEL FILE:LINE MESSAGE`, LEVEL being the number, in one piece and flushes it; does nothing
    /// without an output. Lines of several threads never mix. The stream must not log in turn.
    void println(Level level, char const *file, int line, std::string_view message) const;

private:
    constexpr PLogger() noexcept = default;

    std::atomic<std::int8_t> level_{static_cast<std::int8_t>(Level::info)};
    std::atomic<std::ostream *> output_{nullptr};
    mutable std::mutex writing_;
};
