#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarnwick::program {

/// Finds the fields of a capture frame without parsing them, even while bytes of the frame are missing. Detects a wrong
/// length long before the whole frame is read.
class FrameFields {
public:
    /// The most fields that are examined. A frame has seven, if none is repeated. The limit bounds the cost for bytes
    /// that are not a frame.
    static constexpr unsigned max_fields = 16;

    enum class State {
        complete,   ///< the fields end where the frame ends
        incomplete, ///< `advance` needs more bytes
        invalid,    ///< the bytes are not a message
        unknown,    ///< there are more fields, a group or an odd number: only the parser can decide
    };

    explicit FrameFields(std::uint64_t frame_size)
        : frame_size_(frame_size)
    {
    }

    /// Continues where the last call stopped. `bytes` starts at the start of the frame, and can end before or after its
    /// end.
    State advance(std::string_view bytes);

    /// The start of the next field. Can be after the end of the bytes passed to `advance`.
    [[nodiscard]] std::uint64_t next() const { return next_; }
    /// Returns whether the last length-delimited field is a known report.
    [[nodiscard]] bool ends_with_report() const;

private:
    std::uint64_t frame_size_;
    std::uint64_t next_ = 0;
    unsigned count_ = 0;
    int last_delimited_ = 0; ///< its field number
};

} // namespace tarnwick::program
