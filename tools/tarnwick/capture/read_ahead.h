#pragma once

#include "capture/input_file.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Buffer of the bytes that are read but not used yet, contiguous. Waits only for as many bytes as requested.
class ReadAhead {
public:
    /// Does not own the file.
    explicit ReadAhead(InputFile &input)
        : input_(input)
    {
    }

    /// Reads until there are at least `size` bytes. Returns false if the input ends before, or on a read error.
    bool fill(std::uint64_t size) { return size <= bytes().size() || read(size); }
    /// The bytes in the buffer. Valid until the next call of `fill` or `drop`.
    [[nodiscard]] std::string_view bytes() const { return {buffer_.data() + begin_, buffer_.size() - begin_}; }
    /// Removes bytes from the start.
    void drop(std::uint64_t size);
    /// Removes all bytes, and continues at an offset of a file that has changed; see `InputFile::has_changed`.
    void reopen(std::uint64_t offset);

    /// The offset of `bytes()` in the input.
    [[nodiscard]] std::uint64_t position() const { return input_.position() - bytes().size(); }
    /// The offset of the end of `bytes()` in the input.
    [[nodiscard]] std::uint64_t end() const { return input_.position(); }
    /// Whether `fill` reached the end of the input.
    [[nodiscard]] bool has_ended() const { return has_ended_; }
    /// See `InputFile::error`.
    [[nodiscard]] std::string problem() const { return input_.problem(); }
    /// The first bytes of the input, at most 64.
    [[nodiscard]] std::string_view head() const { return head_; }

private:
    bool read(std::uint64_t size);
    void compact();

    InputFile &input_;
    std::string buffer_;
    std::size_t begin_ = 0;
    std::string head_;
    bool has_ended_ = false;
};

} // namespace tarnwick::program
