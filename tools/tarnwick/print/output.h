#pragma once

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

    [[nodiscard]] int descriptor() const { return descriptor_; }
    [[nodiscard]] bool is_terminal() const { return is_terminal_; }

private:
    void write_now(std::string_view bytes) const;

    int descriptor_;
    bool is_terminal_;
    std::string buffer_;
};

} // namespace tarnwick::program
