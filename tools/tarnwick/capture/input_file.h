#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace tarnwick::program {

/// File or pipe that is read from start to end; standard input for `-`.
class InputFile {
public:
    /// Calls `before_wait` before it waits for more input.
    explicit InputFile(std::string const &name, std::function<void()> before_wait = {});
    ~InputFile();
    InputFile(InputFile const &) = delete;
    InputFile &operator=(InputFile const &) = delete;

    /// The error of opening or reading the file, as an `errno`; 0 if there is none.
    [[nodiscard]] int error() const { return error_; }
    /// The size of a regular file; 0 for others, such as a pipe.
    [[nodiscard]] std::uint64_t size() const;
    /// Returns whether another descriptor refers to the same regular file.
    [[nodiscard]] bool is_same_file(int descriptor) const;
    /// The number of bytes taken.
    [[nodiscard]] std::uint64_t position() const { return position_; }

    /// Returns the next bytes, at least one and at most `limit`; none at the end of the file and after an error. Valid
    /// until the next call.
    std::string_view take(std::uint64_t limit);
    /// True after an error too.
    bool at_end();

private:
    void read();
    void wait();

    int descriptor_;
    int error_ = 0;
    struct stat status_ = {};
    std::function<void()> before_wait_;
    std::vector<char> buffer_;
    std::string_view unread_; ///< in `buffer_`
    std::uint64_t position_ = 0;
};

} // namespace tarnwick::program
