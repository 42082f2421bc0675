#pragma once

#include "capture/follow.h"
#include "capture/interrupt.h"
#include "live/nats_source.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace tarnwick::program {

/// What `InputFile` does at the end of a regular file.
enum class AtEnd {
    stop,
    follow, ///< waits for more; the input ends when the file is truncated or replaced, and after Ctrl-C
};

/// File or pipe that is read from start to end; standard input for `-`; the frames of a stream for a `NatsAddress`.
class InputFile {
public:
    /// Calls `before_wait` before it waits for more input. If it follows, it also calls it while it waits, at the
    /// interval of `Follow`.
    explicit InputFile(std::string name, std::function<void()> before_wait = {}, AtEnd at_end = AtEnd::stop);
    ~InputFile();
    InputFile(InputFile const &) = delete;
    InputFile &operator=(InputFile const &) = delete;

    /// Why the file cannot be opened or read; empty if it can.
    [[nodiscard]] std::string problem() const;
    /// The size of a regular file; 0 for others, such as a pipe.
    [[nodiscard]] std::uint64_t size() const;
    /// Returns whether another descriptor refers to the same regular file.
    [[nodiscard]] bool is_same_file(int descriptor) const;
    /// The number of bytes taken.
    [[nodiscard]] std::uint64_t position() const { return position_; }

    /// Returns the next bytes, at least one and at most `limit`; none at the end of the file and after an error. Valid
    /// until the next call.
    std::string_view take(std::uint64_t limit);
    /// True after an error too.
    bool at_end();

    /// Returns whether the file is followed.
    [[nodiscard]] bool is_followed() const { return follow_.has_value(); }
    /// Returns whether the input ended because the followed file was truncated or replaced. Then `reopen` continues.
    [[nodiscard]] bool has_changed() const { return has_changed_; }
    /// Continues at an offset of the file that now has the name.
    void reopen(std::uint64_t offset);
    /// Returns bytes of the open file, or of a file that has replaced it; fewer at its end or after an error.
    [[nodiscard]] std::string bytes_at(std::uint64_t offset, std::uint64_t size) const;

private:
    void read();
    void report_wait() const;
    [[nodiscard]] bool wait_for_change() const;
    [[nodiscard]] bool wait_for_pipe() const;

    std::string name_;
    std::unique_ptr<NatsSource> source_; ///< of a stream; destroyed after the descriptor is closed
    int descriptor_;
    int error_ = 0; ///< an `errno`; 0 if there is none
    struct stat status_ = {};
    std::function<void()> before_wait_;
    std::optional<Interrupt> interrupt_;
    std::optional<Follow> follow_;
    bool has_changed_ = false;
    bool is_ended_ = false; ///< the last read returned no bytes
    std::vector<char> buffer_;
    std::string_view unread_; ///< in `buffer_`
    std::uint64_t position_ = 0;
};

} // namespace tarnwick::program
