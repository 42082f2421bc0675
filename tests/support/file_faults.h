#pragma once

#include <cstddef>
#include <limits>
#include <string>

namespace tarnwick::test {

/// What goes wrong when files are opened and read, and folders listed.
struct FileFaults {
    static constexpr std::size_t from_then_on = std::numeric_limits<std::size_t>::max();

    /// The calls that fail, counted from 1, and with which `errno`; with 0, reading gives the end of the file.
    struct Calls {
        std::size_t first = 0;
        std::size_t last = 0;
        int error = 0;
    };

    Calls reads = {};                 // NOLINT(readability-redundant-member-init): designators leave it out
    Calls opens = {};                 // NOLINT(readability-redundant-member-init)
    Calls entries = {};               // NOLINT(readability-redundant-member-init): of each listing of a folder
    bool interrupted = false;         ///< each call comes back with EINTR before it does anything
    std::size_t piece = from_then_on; ///< the most bytes that a read gives

    /// As the value of an environment variable, for another process, and back.
    [[nodiscard]] std::string text() const;
    static FileFaults from(std::string const &text);
};

/// From here on, until it goes, this thread meets those faults. One at a time.
class FailingFiles {
public:
    explicit FailingFiles(FileFaults const &faults);
    ~FailingFiles();
    FailingFiles(FailingFiles const &) = delete;
    FailingFiles &operator=(FailingFiles const &) = delete;

    /// How many calls met one so far.
    [[nodiscard]] std::size_t met() const;
};

} // namespace tarnwick::test
