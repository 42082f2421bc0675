#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace tarnwick::program {

/// A file read from its start to its end, which can be a pipe; standard input for `-`.
class InputFile {
public:
    /// `before_wait` is called whenever nothing more can be read at the moment, before waiting for it.
    explicit InputFile(std::string const &name, std::function<void()> before_wait = {});
    ~InputFile();
    InputFile(InputFile const &) = delete;
    InputFile &operator=(InputFile const &) = delete;

    /// Why it cannot be read, or not to its end, as an `errno`; 0 when it can.
    [[nodiscard]] int error() const { return error_; }
    /// 0 for what has no size, like a pipe.
    [[nodiscard]] std::uint64_t size() const;
    /// Whether another descriptor refers to the same regular file.
    [[nodiscard]] bool is_file_of(int descriptor) const;
    /// How many bytes were taken.
    [[nodiscard]] std::uint64_t position() const { return position_; }

    /// The next bytes, at least one and at most `limit`; none at the end of the file and after an error. They stay until
    /// the next call.
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
    std::string_view unread_; ///< of `buffer_`
    std::uint64_t position_ = 0;
};

} // namespace tarnwick::program
