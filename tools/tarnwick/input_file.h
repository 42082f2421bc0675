#pragma once

#include <cstdint>
#include <string>
#include <sys/stat.h>

namespace tarnwick::program {

/// A file opened for reading; standard input for `-`.
class InputFile {
public:
    explicit InputFile(std::string const &name);
    ~InputFile();
    InputFile(InputFile const &) = delete;
    InputFile &operator=(InputFile const &) = delete;

    [[nodiscard]] int descriptor() const { return descriptor_; }
    /// Why it cannot be read, as an `errno`; 0 when it can.
    [[nodiscard]] int error() const { return error_; }
    /// 0 for what has no size, like a pipe.
    [[nodiscard]] std::uint64_t size() const;

private:
    int descriptor_;
    int error_ = 0;
    struct stat status_ = {};
};

} // namespace tarnwick::program
