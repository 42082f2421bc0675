#pragma once

#include <fmt/format.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Failure to write results, for example to a full disk or a closed descriptor.
class WriteError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Failure to write results because the reader closed the pipe, as `head` does.
class BrokenPipe : public std::exception {};

/// Buffered writer to a file descriptor. The destructor does not flush: bytes in the buffer are lost.
class Output {
public:
    explicit Output(int descriptor);

    /// `write` and `flush` throw `WriteError` and `BrokenPipe`.
    void write(std::string_view bytes);
    void flush();

    /// What is not written yet. Call `flush` when it is large.
    [[nodiscard]] fmt::memory_buffer &buffer() { return buffer_; }
    [[nodiscard]] int descriptor() const { return descriptor_; }
    [[nodiscard]] bool is_terminal() const { return is_terminal_; }

private:
    void write_now(std::string_view bytes) const;

    int descriptor_;
    bool is_terminal_;
    fmt::memory_buffer buffer_;
};

} // namespace tarnwick::program
