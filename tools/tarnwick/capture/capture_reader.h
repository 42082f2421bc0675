#pragma once

#include "capture/frame_fields.h"
#include "capture/input_file.h"
#include "capture/read_ahead.h"
#include "capture/varint.h"

#include <tarnwick/capture/v1/capture.pb.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Reads a capture, a sequence of frames each after its length as a varint, from a file or a pipe. Memory follows the
/// largest frame, not the file, and grows with the bytes that were read, not with the length that a frame announces.
///
/// After bytes that are no frame the reader looks for the next start: the next place from which three frames in a row
/// are good, or fewer that end where the input ends. A frame is good if its report is known and parses, and if it has at
/// most `FrameFields::max_fields` fields and no group. Between good frames there can be others that parse, whose report
/// is unknown or does not parse. Right after the faulty frame, as far as its length is known, and right after zero bytes
/// that follow it, one good frame is enough.
///
/// The damage can be in the frame before the fault: one that lost bytes takes as many from the frames after it. So the
/// reader looks there first, if that frame is not too long, for frames in a row that go on past the fault.
class CaptureReader {
public:
    static constexpr std::uint64_t max_frame_size = std::uint64_t{1} << 30;
    /// How far the reader looks ahead of a possible start, and how long a frame is to which it goes back. A frame that
    /// reaches farther counts as the last of the three if its fields end where the frame ends and the last of them is a
    /// report.
    static constexpr std::uint64_t max_look_ahead = std::uint64_t{16} << 20;

    enum class Step {
        frame,   ///< `frame()` is the next frame
        fault,   ///< `problem()` describes bytes that are no frame; the reader can go on
        seeking, ///< the reader still looks for the end of a fault; returned now and then, so that the caller can show it
        failure, ///< `problem()` is the reason why the file cannot be read
        end,
    };

    /// The file stays the caller's.
    explicit CaptureReader(InputFile &input)
        : input_(input)
    {
    }

    Step next();

    [[nodiscard]] capture::v1::Frame const &frame() const { return frame_; }
    [[nodiscard]] std::string const &problem() const { return problem_; }
    /// The number of the frame or fault, counted from 1, and where it starts in the file.
    [[nodiscard]] std::uint64_t number() const { return number_; }
    [[nodiscard]] std::uint64_t offset() const { return offset_; }
    /// The first bytes of the file, 64 of them if there are so many.
    [[nodiscard]] std::string_view head() const { return input_.head(); }

private:
    enum class Candidate { none, known_report, other_report, beyond_look_ahead };

    Step read_frame(std::uint64_t start, std::uint64_t size);
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

    ReadAhead input_;
    capture::v1::Frame frame_;
    std::string problem_;
    std::uint64_t number_ = 0;
    std::uint64_t offset_ = 0;
    std::uint64_t previous_ = 0; ///< the size of the previous frame, which `input_` still has before the next one

    // Of the fault that is looked past.
    bool is_seeking_ = false;
    std::uint64_t fault_end_ = 0;      ///< where its length says that it ends
    std::uint64_t expected_start_ = 0; ///< where one good frame is enough
    std::uint64_t effort_ = 0;         ///< spent on bytes that could have been frames, in bytes parsed
};

} // namespace tarnwick::program
