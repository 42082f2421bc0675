#pragma once

#include "capture/frame_fields.h"
#include "capture/frame_history.h"
#include "capture/input_file.h"
#include "capture/read_ahead.h"
#include "capture/varint.h"

#include <tarnwick/capture/v1/capture.pb.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Reads the frames of a capture from a file or a pipe. Each frame follows its length, a varint. Memory is proportional
/// to the largest frame, and to the bytes that were read of it, not to the length that it claims.
///
/// After bytes that are not a frame, the reader searches for the next start. A start is the next place where three good
/// frames follow in sequence, or fewer that end at the end of the input. A good frame has a report that is known and
/// parses, at most `FrameFields::max_fields` fields and no group. Between good frames, frames whose report is unknown
/// or does not parse are allowed. One good frame is enough directly after the faulty frame, if its length is known, and
/// directly after zero bytes that follow it.
///
/// The damage can be in the frame before the fault: if it lost bytes, it includes the start of the next frames. So the
/// search starts inside that frame, unless it is too long, for frames in sequence that continue past the fault.
///
/// When a followed file was truncated or replaced, the reader first returns the rest of the previous content. It then
/// continues after the frames that are unchanged, which it does not return again.
class CaptureReader {
public:
    static constexpr std::uint64_t max_frame_size = std::uint64_t{1} << 30;
    /// The bytes that the reader examines after a possible start, and the longest previous frame that it searches. A
    /// longer frame counts as the last of the three if its fields end where the frame ends and the last of them is a
    /// report.
    static constexpr std::uint64_t max_look_ahead = std::uint64_t{16} << 20;

    enum class Step {
        frame,   ///< `frame()` is the next frame
        fault,   ///< `problem()` describes bytes that are not a frame; the reader can continue
        seeking, ///< the search after a fault continues; returned regularly, so that the caller can show progress
        failure, ///< `problem()` is the reason why the file cannot be read
        end,
    };

    /// Does not own the file.
    explicit CaptureReader(InputFile &input)
        : file_(input)
        , input_(input)
    {
    }

    Step next();

    /// Keeps the bytes of every frame for `bytes`. Otherwise those of a frame over `max_look_ahead` are freed at once.
    void keep_bytes() { keeps_bytes_ = true; }

    [[nodiscard]] capture::v1::Frame const &frame() const { return frame_; }
    /// The bytes of the frame with its length, unchanged. Valid until the next call of `next`. Needs `keep_bytes`.
    [[nodiscard]] std::string_view bytes() const
    {
        return bytes_from(0).substr(0, static_cast<std::size_t>(previous_));
    }
    [[nodiscard]] std::string const &problem() const { return problem_; }
    /// The number of the frame or fault, from 1, and its offset in the file.
    [[nodiscard]] std::uint64_t number() const { return number_; }
    [[nodiscard]] std::uint64_t offset() const { return offset_; }
    /// The first bytes of the file, at most 64.
    [[nodiscard]] std::string_view head() const { return input_.head(); }

private:
    enum class Candidate { none, known_report, other_report, beyond_look_ahead };

    Step next_in_file();
    Step read_frame(std::uint64_t start, std::uint64_t size);
    void drop_large_frame();
    Step cut_short(std::string problem);
    Step failure();
    Step fault(std::string problem, std::uint64_t end);
    Step seek();
    Varint length_at(std::uint64_t at);
    [[nodiscard]] std::string_view bytes_from(std::uint64_t at) const
    {
        return input_.bytes().substr(static_cast<std::size_t>(at));
    }
    void skip_one_or_zeros();
    bool is_start();
    Candidate candidate_at(std::uint64_t &at);
    bool can_spend(std::uint64_t effort);

    InputFile &file_;
    ReadAhead input_;
    FrameHistory history_; ///< only of a followed file
    capture::v1::Frame frame_;
    std::string problem_;
    std::uint64_t number_ = 0;
    std::uint64_t offset_ = 0;
    std::uint64_t previous_ = 0; ///< the size of the previous frame, which is still at the start of `input_`
    bool keeps_bytes_ = false;

    // State of the search after a fault.
    bool is_seeking_ = false;
    std::uint64_t fault_end_ = 0;      ///< the end of the faulty frame according to its length
    std::uint64_t expected_start_ = 0; ///< where one good frame is enough
    std::uint64_t effort_ = 0;         ///< bytes parsed so far to examine possible frames
};

} // namespace tarnwick::program
