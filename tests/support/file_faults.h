#pragma once

#include <cstddef>
#include <limits>
#include <string>

namespace tarnwick::test {

/// Faults in opening and reading files and in listing folders.
struct FileFaults {
    static constexpr std::size_t from_then_on = std::numeric_limits<std::size_t>::max();

    /// The calls that fail, counted from 1, and their `errno`. With 0, a read reports the end of the file.
    struct Calls {
        std::size_t first = 0;
        std::size_t last = 0;
        int error = 0;
    };

    Calls reads = {};                 // NOLINT(readability-redundant-member-init): designators leave it out
    Calls opens = {};                 // NOLINT(readability-redundant-member-init)
    Calls entries = {};               // NOLINT(readability-redundant-member-init): of each listing of a folder
    bool interrupted = false;         ///< each call first fails with EINTR
    bool no_inotify = false;          ///< inotify is not available
    std::size_t piece = from_then_on; ///< the most bytes that a read returns

    /// Converts to the value of an environment variable for another process, and back.
    [[nodiscard]] std::string text() const;
    static FileFaults from(std::string const &text);
};

/// Applies faults to the calls of this thread during its lifetime. There can be one such object at a time.
class FailingFiles {
public:
    explicit FailingFiles(FileFaults const &faults);
    ~FailingFiles();
    FailingFiles(FailingFiles const &) = delete;
    FailingFiles &operator=(FailingFiles const &) = delete;

    /// Number of calls that met a fault so far.
    [[nodiscard]] std::size_t met() const;
};

} // namespace tarnwick::test
