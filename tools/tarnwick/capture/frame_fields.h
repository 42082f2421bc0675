#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarnwick::program {

/// Steps over the fields of a capture frame without parsing them, also while bytes of the frame are still missing. A
/// wrong length of a frame shows here long before the frame is read to its end.
class FrameFields {
public:
    /// How many fields it steps over. A frame has five, if none is repeated. The limit bounds the cost of bytes that turn
    /// out to be no frame.
    static constexpr unsigned max_fields = 16;

    enum class State {
        complete,   ///< the fields end where the frame ends
        incomplete, ///< `advance` needs more bytes
        invalid,    ///< the bytes are no message
        unknown,    ///< there are more fields, a group or an odd number: only the parser can decide
    };

    explicit FrameFields(std::uint64_t frame_size)
        : frame_size_(frame_size)
    {
    }

    /// Goes on from where the last call stopped. `bytes` starts where the frame starts, and can end before or after it.
    State advance(std::string_view bytes);

    /// Where the next field starts. Can be after the last byte that `advance` got.
    [[nodiscard]] std::uint64_t next() const { return next_; }
    /// Whether the last length-delimited field is a report that this program knows.
    [[nodiscard]] bool ends_with_report() const;

private:
    std::uint64_t frame_size_;
    std::uint64_t next_ = 0;
    unsigned count_ = 0;
    int last_delimited_ = 0; ///< its number
};

} // namespace tarnwick::program
