#include "print/output.h"

#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/interruptions.h"

#include <gmock/gmock.h>

#include <csignal>
#include <string>
#include <thread>

namespace tarnwick::program::output_test {
namespace {

using testing::StrEq;
using testing::ThrowsMessage;

/// Reads the bytes in a pipe without waiting. Returns their number.
std::size_t drain(int descriptor)
{
    char buffer[64 * 1024];
    auto const count = ::read(descriptor, buffer, sizeof buffer);
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

TEST(Output, buffers_until_flushed)
{
    test::MemoryFile const file;
    Output output(file.descriptor());
    output.write("one ");
    output.write("two");
    EXPECT_EQ(file.content(), "");
    output.flush();
    EXPECT_EQ(file.content(), "one two");
    output.flush();
    EXPECT_EQ(file.content(), "one two");
}

TEST(Output, writes_when_the_buffer_is_full)
{
    test::MemoryFile const file;
    Output output(file.descriptor());
    for (int i = 0; i < 1000; ++i)
        output.write(std::string(1000, 'x'));
    EXPECT_GT(file.content().size(), 900'000U);
    output.flush();
    EXPECT_EQ(file.content(), std::string(1'000'000, 'x'));
}

TEST(Output, reports_why_it_cannot_write)
{
    test::Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    Output output(full);
    output.write("x");
    EXPECT_THAT([&] { output.flush(); },
                ThrowsMessage<WriteError>(StrEq("cannot write the output: No space left on device")));
}

TEST(Output, reports_a_closed_pipe_separately)
{
    std::signal(SIGPIPE, SIG_IGN);
    test::Pipe pipe;
    pipe.reader.reset();
    Output output(pipe.writer);
    output.write("x");
    EXPECT_THROW(output.flush(), BrokenPipe);
}

TEST(Output, loses_nothing_when_signals_interrupt_its_wait)
{
    test::Pipe pipe;
    std::size_t const size = 100'000; // more than the capacity of the pipe
    std::size_t drained = 0;
    Output output(pipe.writer);
    {
        test::Interruptions const interruptions([&] { drained = drain(pipe.reader); });
        output.write(std::string(size, 'x'));
        output.flush();
    }
    EXPECT_EQ(drained + drain(pipe.reader), size);
}

TEST(Output, waits_for_a_pipe_that_does_not_block)
{
    test::Pipe pipe;
    ASSERT_EQ(::fcntl(pipe.writer, F_SETFL, O_NONBLOCK), 0);
    std::size_t const size = 1'000'000;
    std::size_t read = 0;
    std::thread reader([&] {
        while (auto const count = drain(pipe.reader))
            read += count;
    });
    Output output(pipe.writer);
    output.write(std::string(size, 'x'));
    output.flush();
    pipe.writer.reset();
    reader.join();
    EXPECT_EQ(read, size);
}

} // namespace
} // namespace tarnwick::program::output_test
