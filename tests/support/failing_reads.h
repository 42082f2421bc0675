#pragma once

namespace tarnwick::test {

/// From here on, until it goes, this thread can read nothing from files: reading gives the end of the file, or an error.
class FailingReads {
public:
    explicit FailingReads(int error = 0); ///< an errno; 0 is the end of the file
    ~FailingReads();
    FailingReads(FailingReads const &) = delete;
    FailingReads &operator=(FailingReads const &) = delete;
};

} // namespace tarnwick::test
