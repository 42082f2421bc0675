#pragma once

#include "input_file.h"

#include <tarnwick/capture/v1/capture.pb.h>

#include <cstdint>
#include <string>

namespace tarnwick::program {

/// Reads a capture, a sequence of frames each behind its length as a varint, from a file or a pipe. Memory follows the
/// largest frame, not the file, and grows with what is read, not with what a length claims.
class CaptureReader {
public:
    static constexpr std::uint64_t max_frame_size = std::uint64_t{1} << 30;

    enum class Step {
        frame,      ///< `frame()` holds the next frame
        fault,      ///< `problem()` says what is wrong with the frame; reading can go on
        last_fault, ///< as `fault`, but where the next frame starts is unknown
        failure,    ///< `problem()` says why the file cannot be read
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
    /// The number of the frame, counted from 1, and where its length stands in the file.
    [[nodiscard]] std::uint64_t number() const { return number_; }
    [[nodiscard]] std::uint64_t offset() const { return offset_; }

private:
    enum class Length { whole, truncated, too_large };

    Length read_length(std::uint64_t &length);
    void read_body(std::uint64_t length);
    Step cut_short(std::string problem);
    Step fault(std::string problem, Step step);

    InputFile &input_;
    std::string body_;
    capture::v1::Frame frame_;
    std::string problem_;
    std::uint64_t number_ = 0;
    std::uint64_t offset_ = 0;
};

} // namespace tarnwick::program
