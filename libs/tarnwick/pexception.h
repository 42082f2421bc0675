#pragma once

#include <tarnwick/export.h>

#include <stdexcept>
#include <string>

/// Exception of the library. what() is a complete message in UTF-8.
class TARNWICK_EXPORT PException : public std::runtime_error {
public:
    explicit PException(std::string const &message);

    // Copying an exception must not throw, and it does not: what() is shared and the string below is empty.
    PException(PException const &other) noexcept = default;
    PException &operator=(PException const &other) noexcept = default;

    // Out of line, so that only this library contains the virtual table and the type information. Every other library
    // and program catches by these.
    ~PException() override;

private:
    // Always empty and 0, and never read. They stay for binary compatibility: other programs throw and catch objects of
    // this size.
    [[maybe_unused]] std::string unused_text_;
    [[maybe_unused]] int unused_number_ = 0;
};
