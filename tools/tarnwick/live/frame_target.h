#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Where received frames go.
class FrameTarget {
public:
    FrameTarget() = default;
    virtual ~FrameTarget() = default;
    FrameTarget(FrameTarget const &) = delete;
    FrameTarget &operator=(FrameTarget const &) = delete;

    /// Adds a frame. Others see it after `flush`, or after a number of other frames. The functions throw
    /// `std::runtime_error` if frames cannot be written.
    virtual void append(std::string_view frame) = 0;
    virtual void flush() = 0;
    /// Returns when all frames are stored.
    virtual void sync() = 0;

    [[nodiscard]] virtual std::string const &name() const = 0;
    /// The number of frames that were written completely.
    [[nodiscard]] virtual std::uint64_t written() const = 0;
    /// The largest frame that can be added, in bytes.
    [[nodiscard]] virtual std::uint64_t max_frame() const = 0;
};

} // namespace tarnwick::program
