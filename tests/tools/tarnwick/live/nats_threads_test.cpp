// The threads of the program: the one that reads a stream into a pipe, and those of the client library of NATS that report
// which frames are stored. For ThreadSanitizer.

#include "live/nats_source.h"
#include "live/nats_target.h"
#include "tools/tarnwick/support/nats_server.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <string>
#include <unistd.h>

namespace tarnwick::test::nats_threads_test {
namespace {

using program::NatsAddress;
using program::NatsSource;
using program::NatsTarget;

/// A frame of a few bytes: an id, and an end of a request.
std::string const frame("\x08\x07\xaa\x01\x00", 5);

class NatsThreads : public testing::Test {
protected:
    void publish(std::size_t count)
    {
        NatsTarget target{NatsAddress(stream)};
        for (std::size_t i = 0; i < count; ++i)
            target.append(frame);
        target.sync();
        EXPECT_EQ(target.written(), count);
    }

    NatsServer const server;
    std::string const stream = server.stream("php");
};

/// Reads until the end, or until there are `most` bytes.
std::string read_bytes(int descriptor, std::size_t most)
{
    std::string bytes;
    std::array<char, 4096> block{};
    for (ssize_t size = 1; size != 0 && bytes.size() < most;) {
        size = ::read(descriptor, block.data(), block.size());
        if (size > 0)
            bytes.append(block.data(), static_cast<std::size_t>(size));
        else if (size < 0 && errno != EINTR)
            ADD_FAILURE() << errno;
    }
    return bytes;
}

std::size_t count_frames(std::string const &capture)
{
    std::size_t count = 0;
    for (auto at = capture.find(frame); at != std::string::npos; at = capture.find(frame, at + 1))
        ++count;
    return count;
}

TEST_F(NatsThreads, pass_all_frames_to_the_reader_of_the_pipe)
{
    constexpr std::size_t frames = 2'000;
    publish(frames);
    NatsSource source(stream, false);
    auto const capture = read_bytes(source.descriptor(), std::string::npos);
    ::close(source.descriptor());
    EXPECT_EQ(count_frames(capture), frames);
    EXPECT_EQ(source.problem(), "");
}

TEST_F(NatsThreads, end_when_nobody_reads)
{
    std::signal(SIGPIPE, SIG_IGN); // as in the program
    publish(10);
    NatsSource source(stream, true);
    EXPECT_FALSE(read_bytes(source.descriptor(), 1).empty());
    ::close(source.descriptor());
    publish(10);
}

TEST_F(NatsThreads, report_a_stream_that_does_not_exist)
{
    NatsSource source(stream, false);
    EXPECT_EQ(read_bytes(source.descriptor(), 1), "");
    ::close(source.descriptor());
    EXPECT_EQ(source.problem(), "the servers have no such stream");
}

} // namespace
} // namespace tarnwick::test::nats_threads_test
