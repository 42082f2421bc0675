#pragma once

#include "capture/interrupt.h"
#include "live/recorded_file.h"
#include "live/started_requests.h"
#include "progress.h"
#include "record.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// What `record` does with the messages it receives: writes the frames, begins new files, counts, and shows progress.
class Recording {
public:
    /// Opens the target. Throws `std::runtime_error`.
    explicit Recording(RecordOptions const &options);

    /// Removes the file if the recording has created it, because no frame can be received.
    void discard();

    /// Writes the bytes of a message if they are a frame, and otherwise refuses it.
    void take(std::string_view message);
    /// Refuses a message of several parts.
    void refuse_parts(std::size_t size);
    /// Counts a message that arrived and cannot be written.
    void drop();

    /// Between messages: reports what was requested, and shows progress.
    void report();
    /// Begins a new file if it is time. Throws `WriteError`.
    void rotate_if_due();
    /// How long to wait for messages at most: until the next rotation or line of progress; negative if there is none.
    [[nodiscard]] std::chrono::milliseconds patience() const;

    [[nodiscard]] FrameTarget &target() { return *target_; }
    void print_line(std::string_view line);
    void print_counts();

private:
    enum class Fault : std::uint8_t { empty, not_a_frame, several_parts, too_large };
    using Clock = std::chrono::steady_clock;

    void refuse(Fault fault, std::string const &text);
    void show_progress();

    RecordOptions const &options_;
    std::unique_ptr<FrameTarget> target_;
    RecordedFile *file_ = nullptr; ///< the target, if it is a file
    ProgressLine progress_{true};
    StartedRequests requests_;
    std::array<bool, 4> was_refused_{}; ///< by `Fault`
    std::uint64_t received_ = 0;
    std::uint64_t refused_ = 0;
    std::uint64_t bytes_ = 0;                 ///< of all frames
    Clock::time_point opened_ = Clock::now(); ///< when the first frame of the file came
    Clock::time_point rate_since_ = Clock::now();
    std::uint64_t rate_base_ = 0; ///< messages received then
    std::uint64_t rate_ = 0;      ///< messages per second
};

} // namespace tarnwick::program
