#pragma once

#include <pcommon/export.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <ostream>
#include <string_view>

/// Logger of the process.
///
/// A message of level N is wanted if level() >= N and output() is set. Callers test both before they format the
/// message; println() itself does not test the level.
///
///     auto const &logger = PLogger::instance();
///     if (logger.level() >= 3 && logger.output() != nullptr)
///         logger.println(PLogger::Level::info, "libs/part/source", __LINE__, format_the_message());
///
/// The output is null until a program calls set_output(), so nothing is written; the level is 3 until it calls
/// set_level(). All functions may be called from any thread at any time, until the very end of the program.
class PCOMMON_EXPORT PLogger {
public:
    /// Level of a message: the higher the number, the more detailed the message. Other numbers are allowed.
    enum class Level : std::int8_t {
        info = 3,
        debug = 5,
    };

    /// Returns the only instance.
    static PLogger &instance() noexcept;

    PLogger(PLogger const &) = delete;
    PLogger &operator=(PLogger const &) = delete;

    /// Returns the highest level that is wanted.
    std::int8_t level() const noexcept { return level_.load(std::memory_order_relaxed); }

    /// Sets the highest level that is wanted. A negative level turns off every message of level 0 or above.
    void set_level(std::int8_t level) noexcept { level_.store(level, std::memory_order_relaxed); }

    /// Returns the stream to which lines are written, or null.
    std::ostream *output() const noexcept { return output_.load(std::memory_order_acquire); }

    /// Sets the stream, which the logger does not own. The call waits for a line that is being written. When it
    /// returns, no thread writes to the former stream any more, so that stream can be destroyed.
    void set_output(std::ostream *output);

    /// Writes the line `LEVEL FILE:LINE MESSAGE`, where LEVEL is the number, and flushes it. Does nothing without an
    /// output. Lines of several threads never mix. The stream must not log.
    void println(Level level, char const *file, int line, std::string_view message) const;

private:
    constexpr PLogger() noexcept = default;

    std::atomic<std::int8_t> level_{static_cast<std::int8_t>(Level::info)};
    std::atomic<std::ostream *> output_{nullptr};
    mutable std::mutex writing_;
};
