#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <sys/resource.h>

namespace tarnwick::test {

/// Changes the limit of open files of this process during its lifetime.
class OpenFiles {
public:
    /// Raises the limit, so that descriptors do not run out first.
    static OpenFiles at_least(rlim_t count) { return OpenFiles(std::max(count, limit().rlim_cur)); }
    /// Leaves that many descriptors.
    static OpenFiles left(rlim_t count)
    {
        int descriptor = 0;
        for (rlim_t unused = 0; unused < count; ++descriptor)
            unused += ::fcntl(descriptor, F_GETFD) < 0;
        return OpenFiles(static_cast<rlim_t>(descriptor));
    }
    ~OpenFiles() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    OpenFiles(OpenFiles const &) = delete;
    OpenFiles &operator=(OpenFiles const &) = delete;

private:
    explicit OpenFiles(rlim_t count)
    {
        rlimit const wanted{count, before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &wanted), 0) << "for " << count << " open files";
    }
    static rlimit limit()
    {
        rlimit limit{};
        EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
        return limit;
    }

    rlimit before_ = limit();
};

} // namespace tarnwick::test
