#pragma once

// Files that are removed when the test ends, and the content of files.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::test {

inline void write_all(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        auto const count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0)
            return; // The reader closed its end.
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// Owner of a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1)
        : descriptor_(descriptor)
    {
    }
    ~Descriptor() { reset(); }
    Descriptor(Descriptor &&other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        reset(std::exchange(other.descriptor_, -1));
        return *this;
    }

    operator int() const { return descriptor_; }
    void reset(int descriptor = -1)
    {
        if (descriptor_ >= 0)
            ::close(descriptor_);
        descriptor_ = descriptor;
    }

private:
    int descriptor_;
};

struct Pipe {
    explicit Pipe(int flags = 0)
    {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC | flags), 0);
        reader.reset(ends[0]);
        writer.reset(ends[1]);
    }
    Descriptor reader;
    Descriptor writer;
};

/// File in memory that other code writes.
class MemoryFile {
public:
    MemoryFile()
        : descriptor_(::memfd_create("test", MFD_CLOEXEC))
    {
    }

    [[nodiscard]] int descriptor() const { return descriptor_; }
    [[nodiscard]] std::string content() const
    {
        std::string content(static_cast<std::size_t>(::lseek(descriptor_, 0, SEEK_END)), '\0');
        EXPECT_EQ(::pread(descriptor_, content.data(), content.size(), 0), static_cast<ssize_t>(content.size()));
        return content;
    }

private:
    Descriptor descriptor_;
};

class TemporaryFile {
public:
    explicit TemporaryFile(std::string_view content)
    {
        Descriptor const descriptor(::mkostemp(name_.data(), O_CLOEXEC));
        EXPECT_GE(descriptor, 0) << name_;
        write_all(descriptor, content);
    }
    ~TemporaryFile() { ::unlink(name_.c_str()); }
    TemporaryFile(TemporaryFile const &) = delete;
    TemporaryFile &operator=(TemporaryFile const &) = delete;

    [[nodiscard]] std::string const &name() const { return name_; }

private:
    std::string name_ = testing::TempDir() + "tarnwick-XXXXXX";
};

inline std::string content_of(std::string const &file)
{
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << file;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline std::vector<std::string> lines_of(std::string const &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace tarnwick::test
