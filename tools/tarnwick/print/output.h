#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Results cannot be written: the disk is full, the descriptor is closed.
class WriteError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The reader of the results closed its end of the pipe, as `head` does when it has enough lines.
class ReaderGone : public std::exception {};

/// Buffered writing to a file descriptor. What is still buffered at destruction is lost: a run that ends well flushes.
class Output {
public:
    explicit Output(int descriptor);

    /// Both throw `WriteError` and `ReaderGone`.
    void write(std::string_view bytes);
    void flush();

    [[nodiscard]] bool is_terminal() const { return is_terminal_; }

private:
    void write_now(std::string_view bytes) const;

    int descriptor_;
    bool is_terminal_;
    std::string buffer_;
};

} // namespace tarnwick::program
