// The memory that `tarnwick record` needs while it cannot write.

#include "support/config_files.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/live.h"
#include "tools/tarnwick/support/program.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace tarnwick::test::record_memory_test {
namespace {

// The recorder cannot continue while its standard error is a full pipe.
TEST(RecordMemory, is_limited_because_a_sender_of_large_frames_waits)
{
    ConfigFolder const folder;
    auto const file = folder.path() + "/capture.tnw";
    constexpr int frames = 40;
    constexpr std::int64_t max_growth = 64'000; // kB
    Frame chunk;
    chunk.set_ct_data(std::string(4'000'000, 'x'));
    auto const bytes = chunk.SerializeAsString();
    Pipe err;
    auto const capacity = ::fcntl(err.writer, F_SETPIPE_SZ, 4096);
    Program recorder(
        {.arguments = {"record", "-o", file, "tcp://127.0.0.1:*"}, .err = Sink::output, .out_file = err.writer});
    std::string line;
    for (char byte = 0; ::read(err.reader, &byte, 1) == 1 && byte != '\n';)
        line += byte;
    Sender sender(line.substr(line.find("tcp:")));
    sender.set(ZMQ_SNDHWM, 1);
    sender.send(bytes);
    wait_for_size(file, delimited(bytes).size());
    auto const before = recorder.memory("VmHWM");

    int used = 0;
    ASSERT_EQ(::ioctl(err.reader, FIONREAD, &used), 0);
    write_all(err.writer, std::string(static_cast<std::size_t>(capacity - used), '\n'));
    recorder.send(SIGUSR1);
    sender.set(ZMQ_SNDTIMEO, 2'000); // a slow machine makes it wait for less
    std::uint64_t sent = 1;
    while (sent < frames && sender.send(bytes))
        ++sent;
    EXPECT_LT(sent, frames);
    EXPECT_LT(recorder.memory("VmHWM") - before, max_growth);

    std::thread reader([&] { detail::read_all(err.reader); });
    wait_for_size(file, sent * delimited(bytes).size());
    recorder.send(SIGINT);
    EXPECT_EQ(recorder.finish().status, 0);
    err.writer.reset();
    reader.join();
    EXPECT_EQ(std::filesystem::file_size(file), sent * delimited(bytes).size());
}

} // namespace
} // namespace tarnwick::test::record_memory_test
