// The memory that `tarnwick inspect` needs for a long stream of frames.

#include "capture/capture_reader.h"
#include "capture/input_file.h"

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tarnwick::test::inspect_stream_memory_test {
namespace {

/// The captures of the repository, repeated with new request ids.
class EndlessCapture {
public:
    EndlessCapture()
    {
        for (auto const &entry : std::filesystem::directory_iterator(TARNWICK_CAPTURES)) {
            if (entry.path().extension() != ".tnw")
                continue;
            program::InputFile file(entry.path());
            program::CaptureReader reader(file);
            while (reader.next() == program::CaptureReader::Step::frame)
                frames_.push_back(reader.frame());
        }
        EXPECT_GT(frames_.size(), 100U);
    }

    std::string next_round()
    {
        std::string bytes;
        for (auto &frame : frames_) {
            frame.set_request_id(frame.request_id() + 1'000'003);
            bytes += delimited(frame);
        }
        return bytes;
    }

private:
    std::vector<Frame> frames_;
};

/// Returns the peak memory, in kB, of printing `megabytes` of frames from a pipe.
std::int64_t memory_for(std::size_t megabytes, std::string const &format)
{
    EndlessCapture capture;
    auto const round = capture.next_round();
    auto const printed = run({.arguments = {"inspect", format}}, round).out;
    auto const lines_of_a_round = static_cast<std::size_t>(std::ranges::count(printed, '\n'));
    auto const rounds = megabytes * 1'000'000 / round.size() + 1;

    Program program({.arguments = {"inspect", format}});
    std::thread writer([&] {
        for (std::size_t i = 0; i < rounds; ++i)
            program.write(capture.next_round());
    });
    program.skip_lines(rounds * lines_of_a_round);
    writer.join();
    // All records are printed and the input is open, so the program waits.
    auto const memory = program.memory("VmHWM");
    program.close_input();
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    std::cout << fmt::format("inspect {} of {} MB: {} kB\n", format, rounds * round.size() / 1'000'000, memory);
    return memory;
}

// The requests exceed the number of kept tables. TARNWICK_STREAM_MEGABYTES sets the length.
TEST(InspectStream, of_any_size_needs_constant_memory)
{
    constexpr std::int64_t tolerance = 8'192;
    constexpr std::int64_t secrets = 25'000; // of the most recent requests, which text masks
    constexpr std::size_t usual = 30;
    auto const *const wanted = std::getenv("TARNWICK_STREAM_MEGABYTES"); // NOLINT(concurrency-mt-unsafe)
    auto const large = wanted == nullptr ? usual : std::stoul(wanted);
    for (auto const &[format, most] :
         {std::pair("--format=jsonl", tolerance), std::pair("--format=text", tolerance + secrets)}) {
        auto const of_small = memory_for(10, format);
        EXPECT_LT(memory_for(large, format), of_small + most);
    }
}

} // namespace
} // namespace tarnwick::test::inspect_stream_memory_test
