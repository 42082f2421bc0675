#pragma once

#include "capture/input_file.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// The bytes of an input that are read but not yet used, contiguous. Waits for no more than it is asked for.
class ReadAhead {
public:
    /// The file stays the caller's.
    explicit ReadAhead(InputFile &input)
        : input_(input)
    {
    }

    /// Reads on until there are at least `size` bytes. False if the input ends before, or cannot be read further.
    bool fill(std::uint64_t size) { return size <= bytes().size() || read(size); }
    /// Until the next call of `fill` or `drop`.
    [[nodiscard]] std::string_view bytes() const { return {buffer_.data() + begin_, buffer_.size() - begin_}; }
    void drop(std::uint64_t size);

    /// Where `bytes()` starts in the input.
    [[nodiscard]] std::uint64_t position() const { return input_.position() - bytes().size(); }
    /// Where `bytes()` ends in the input.
    [[nodiscard]] std::uint64_t end() const { return input_.position(); }
    /// Whether `fill` has met the end of the input.
    [[nodiscard]] bool has_ended() const { return has_ended_; }
    /// As `InputFile::error`.
    [[nodiscard]] int error() const { return input_.error(); }
    /// The first bytes of the input, 64 of them if there are so many.
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
