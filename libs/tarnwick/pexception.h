#pragma once

#include <tarnwick/export.h>

#include <stdexcept>
#include <string>

/// The exception of the library. what() is the finished message in UTF-8.
class TARNWICK_EXPORT PException : public std::runtime_error {
public:
    explicit PException(std::string const &message);

    // An exception in flight must copy without throwing, and does: what() is shared and the string below empty.
    PException(PException const &other) noexcept = default;
    PException &operator=(PException const &other) noexcept = default;

    // Out of line, so that this library alone holds the virtual table and the type information by which every other
    // library and program catches.
    ~PException() override;

private:
    // Always empty and 0, and never read. They stay because the other programs throw and catch objects of this size.
    [[maybe_unused]] std::string unused_text_;
    [[maybe_unused]] int unused_number_ = 0;
};
