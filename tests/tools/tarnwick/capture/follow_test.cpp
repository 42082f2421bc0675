// Reading a capture that grows, is truncated or replaced. Each time the reader is about to wait, the test changes the
// file once more; after the last change it interrupts the reader.

#include "capture/follow.h"

#include "capture/capture_reader.h"
#include "capture/input_file.h"
#include "capture/interrupt.h"

#include "support/config_files.h"
#include "support/file_faults.h"
#include "support/table.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace tarnwick::test::follow_test {
namespace {

using program::AtEnd;
using program::CaptureReader;
using program::FrameHistory;
using program::InputFile;
using program::Interrupt;
using testing::ElementsAreArray;

/// A capture that a writer has open.
class Capture {
public:
    Capture() { create(); }

    [[nodiscard]] std::string const &name() const { return name_; }

    void append(std::string_view bytes) const { write_all(writer_, bytes); }
    void truncate(off_t size) const { EXPECT_EQ(::ftruncate(writer_, size), 0); }
    /// Renames the file. The writer keeps it open.
    void move_away() const { std::filesystem::rename(name_, name_ + ".1"); }
    void remove() const { std::filesystem::remove(name_); }
    /// Opens the file of this name, or a new file.
    void create() { writer_.reset(::open(name_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600)); }
    /// Renames another file over this one.
    void replace(std::string_view content)
    {
        auto const other = folder_.write("other.tnw", content);
        std::filesystem::rename(other, name_);
        create();
    }
    /// Creates an empty file of this name, while the writer keeps the previous one open.
    void create_without_opening() const { folder_.write("capture.tnw", ""); }
    /// Replaces the name by a symbolic link to a new file.
    void replace_by_link(std::string_view content)
    {
        folder_.write("target.tnw", content);
        folder_.link("target.tnw", "link");
        std::filesystem::rename(folder_.path("link"), name_);
        create();
    }

private:
    ConfigFolder folder_;
    std::string name_ = folder_.path("capture.tnw");
    Descriptor writer_;
};

/// An interrupt is ignored if the process ignores the signal, as a shell sets it for programs in the background.
class Follow : public testing::Test {
protected:
    Follow() { std::signal(SIGINT, SIG_DFL); }
};

using Change = std::function<void(Capture &)>;

Change append(std::string bytes)
{
    return [bytes = std::move(bytes)](Capture &capture) { capture.append(bytes); };
}

Change truncate(off_t size, std::string bytes = {})
{
    return [size, bytes = std::move(bytes)](Capture &capture) {
        capture.truncate(size);
        capture.append(bytes);
    };
}

Change replace(std::string bytes)
{
    return [bytes = std::move(bytes)](Capture &capture) { capture.replace(bytes); };
}

/// Applies the changes, and follows the capture until it is interrupted. Returns a line for each step of the reader.
std::vector<std::string> steps(Capture &capture, std::vector<Change> const &changes)
{
    std::size_t done = 0;
    InputFile input(
        capture.name(),
        [&] {
            if (done == changes.size())
                std::raise(SIGINT);
            else
                changes[done++](capture);
        },
        AtEnd::follow);
    CaptureReader reader(input);
    std::vector<std::string> found;
    auto step = reader.next();
    for (; step == CaptureReader::Step::frame || step == CaptureReader::Step::fault; step = reader.next()) {
        auto const what = step == CaptureReader::Step::frame ? fmt::format("request {}", reader.frame().request_id())
                                                             : fmt::format("fault: {}", reader.problem());
        found.push_back(fmt::format("{} at {}: {}", reader.number(), reader.offset(), what));
    }
    EXPECT_EQ(step, CaptureReader::Step::end) << reader.problem();
    EXPECT_EQ(done, changes.size());
    return found;
}

std::string const first = request_end(1); // 9 bytes
std::string const second = request_end(2);
std::string const third = request_end(3);
std::string const fourth = request_end(4);
std::string const half = second.substr(0, 5);
std::string const other_half = second.substr(5);
std::string const bad = delimited("\xff\xff\xff");

struct Growth {
    std::string name;
    std::vector<Change> changes;
    std::vector<std::string> steps;
};

class Follows : public TableTest<Growth> {
protected:
    Follows() { std::signal(SIGINT, SIG_DFL); }
};

TEST_P(Follows, with_inotify)
{
    Capture capture;
    EXPECT_THAT(steps(capture, GetParam().changes), ElementsAreArray(GetParam().steps));
}

TEST_P(Follows, by_polling)
{
    Capture capture;
    FailingFiles const failing({.no_inotify = true});
    EXPECT_THAT(steps(capture, GetParam().changes), ElementsAreArray(GetParam().steps));
    EXPECT_GT(failing.met(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Captures, Follows,
    testing::Values(
        Growth{"growth",
               {append(first), append(second + third)},
               {"1 at 0: request 1", "2 at 9: request 2", "3 at 18: request 3"}},
        Growth{"half_a_frame", {append(first + half), append(other_half)}, {"1 at 0: request 1", "2 at 9: request 2"}},
        Growth{"half_a_frame_at_the_end",
               {append(first + half)},
               {"1 at 0: request 1", "2 at 9: fault: the file ends inside this frame, after 4 of its 8 bytes"}},
        Growth{"frame_that_does_not_parse",
               {append(first + bad), append(second)},
               {"1 at 0: request 1", "2 at 9: fault: this is not a frame", "3 at 13: request 2"}},
        Growth{"frames_of_an_unfinished_search",
               {append(first + "\xff\xff\xff" + second), append(third)},
               {"1 at 0: request 1", "2 at 9: fault: this is not a frame; skipped 3 bytes, up to byte 12",
                "3 at 12: request 2", "4 at 21: request 3"}},
        Growth{"truncation_to_0",
               {append(first + second), truncate(0), append(third)},
               {"1 at 0: request 1", "2 at 9: request 2", "1 at 0: request 3"}},
        Growth{"truncation_to_0_and_the_same_frames",
               {append(first + second), truncate(0), append(first)},
               {"1 at 0: request 1", "2 at 9: request 2", "1 at 0: request 1"}},
        Growth{"truncation_to_0_and_shorter_content",
               {append(first + second), truncate(0, third)},
               {"1 at 0: request 1", "2 at 9: request 2", "1 at 0: request 3"}},
        Growth{"truncation_to_0_and_content_of_the_same_size",
               {append(first + second), truncate(0, third + fourth)},
               {"1 at 0: request 1", "2 at 9: request 2", "1 at 0: request 3", "2 at 9: request 4"}},
        Growth{"truncation_to_0_and_longer_content",
               {append(first), truncate(0, second + third)},
               {"1 at 0: request 1", "1 at 0: request 2", "2 at 9: request 3"}},
        Growth{"truncation_to_the_end_of_a_frame",
               {append(first + second + third), truncate(9), append(fourth)},
               {"1 at 0: request 1", "2 at 9: request 2", "3 at 18: request 3", "2 at 9: request 4"}},
        Growth{"truncation_to_the_end_of_a_frame_and_longer_content",
               {append(first + second), truncate(9, third + fourth)},
               {"1 at 0: request 1", "2 at 9: request 2", "2 at 9: request 3", "3 at 18: request 4"}},
        Growth{"truncation_into_a_frame",
               {append(first + second), truncate(13), append(second + third + fourth)},
               {"1 at 0: request 1", "2 at 9: request 2",
                "2 at 9: fault: this is not a frame; skipped 4 bytes, up to byte 13", "3 at 13: request 2",
                "4 at 22: request 3", "5 at 31: request 4"}},
        Growth{"truncation_of_half_a_frame",
               {append(first + half), truncate(9), append(third)},
               {"1 at 0: request 1", "2 at 9: fault: the file ends inside this frame, after 4 of its 8 bytes",
                "2 at 9: request 3"}},
        Growth{"first_frames_lost",
               {append(first + second + third), truncate(0, second + third + fourth)},
               {"1 at 0: request 1", "2 at 9: request 2", "3 at 18: request 3", "3 at 18: request 4"}},
        Growth{"first_frames_lost_twice",
               {append(first + second + third), replace(second + third), replace(third + fourth)},
               {"1 at 0: request 1", "2 at 9: request 2", "3 at 18: request 3", "2 at 9: request 4"}},
        Growth{"first_frames_and_last_frame_lost",
               {append(first + second + third), truncate(0, second + fourth)},
               {"1 at 0: request 1", "2 at 9: request 2", "3 at 18: request 3", "2 at 9: request 4"}},
        Growth{"first_of_equal_frames_lost",
               {append(first + first + second), replace(first + second + third)},
               {"1 at 0: request 1", "2 at 9: request 1", "3 at 18: request 2", "3 at 18: request 3"}},
        Growth{
            "several_truncations",
            {append(first + second + third), truncate(18), truncate(9), append(fourth), truncate(0, second)},
            {"1 at 0: request 1", "2 at 9: request 2", "3 at 18: request 3", "2 at 9: request 4", "1 at 0: request 2"}},
        Growth{"replacement",
               {append(first), replace(second), append(third)},
               {"1 at 0: request 1", "1 at 0: request 2", "2 at 9: request 3"}},
        Growth{"frames_written_before_a_replacement",
               {append(first),
                [](Capture &capture) {
                    capture.append(second);
                    capture.replace(third);
                }},
               {"1 at 0: request 1", "2 at 9: request 2", "1 at 0: request 3"}},
        Growth{"half_a_frame_before_a_replacement",
               {append(first + half), replace(third)},
               {"1 at 0: request 1", "2 at 9: fault: the file ends inside this frame, after 4 of its 8 bytes",
                "1 at 0: request 3"}},
        Growth{"replacement_by_a_longer_copy",
               {append(first + second), replace(first + second + third), append(fourth)},
               {"1 at 0: request 1", "2 at 9: request 2", "3 at 18: request 3", "4 at 27: request 4"}},
        Growth{"replacement_by_a_link",
               {append(first), [](Capture &capture) { capture.replace_by_link(second); }, append(third)},
               {"1 at 0: request 1", "1 at 0: request 2", "2 at 9: request 3"}},
        Growth{"rotation",
               {append(first), [](Capture &capture) { capture.move_away(); }, append(second),
                [](Capture &capture) { capture.create_without_opening(); }, append(third),
                [](Capture &capture) { capture.create(); }, append(fourth)},
               {"1 at 0: request 1", "2 at 9: request 2", "3 at 18: request 3", "1 at 0: request 4"}},
        Growth{"removal",
               {append(first), [](Capture &capture) { capture.remove(); }, append(second),
                [](Capture &capture) {
                    capture.create();
                    capture.append(third);
                }},
               {"1 at 0: request 1", "2 at 9: request 2", "1 at 0: request 3"}}),
    by_name);

TEST_F(Follow, reads_a_capture_that_grows_by_single_bytes)
{
    std::vector<Change> changes;
    auto const frames = fmt::format("{}{}{}", first, second, third);
    for (auto const byte : frames)
        changes.push_back(append({byte}));
    Capture capture;
    EXPECT_THAT(steps(capture, changes),
                testing::ElementsAre("1 at 0: request 1", "2 at 9: request 2", "3 at 18: request 3"));
}

/// Returns a capture of the requests from 1.
std::string capture_of(std::size_t requests)
{
    std::string capture;
    for (std::uint64_t id = 1; id <= requests; ++id)
        capture += request_end(id);
    return capture;
}

// Farther back, the reader starts again.
TEST_F(Follow, continues_after_a_truncation_within_the_last_4096_frames)
{
    auto const whole = capture_of(5000);
    auto const size_of = [](std::size_t requests) { return static_cast<off_t>(capture_of(requests).size()); };
    auto const last = request_end(9000);
    constexpr std::size_t first_kept = 5000 - FrameHistory::max_frames;
    struct Case {
        std::size_t requests;
        std::size_t read;
    };
    for (auto const &[requests, read] : {Case{4999, 1}, Case{first_kept + 1, 1}, Case{first_kept, first_kept + 1}}) {
        Capture capture;
        auto const found = steps(capture, {append(whole), truncate(size_of(requests)), append(last)});
        ASSERT_EQ(found.size(), 5000 + read) << requests;
        EXPECT_EQ(found.back(), fmt::format("{} at {}: request 9000", requests + 1, size_of(requests)));
    }
}

TEST_F(Follow, continues_in_a_file_that_starts_before_the_last_4096_frames)
{
    auto const whole = capture_of(5000);
    auto const lost = capture_of(100).size();
    Capture capture;
    auto const found = steps(capture, {append(whole), replace(whole.substr(lost) + request_end(9000))});
    ASSERT_EQ(found.size(), 5001);
    EXPECT_EQ(found.back(), fmt::format("4901 at {}: request 9000", whole.size() - lost));
}

TEST_F(Follow, stops_before_the_end_when_interrupted)
{
    Capture const capture;
    capture.append(first + second);
    InputFile input(capture.name(), [] { ADD_FAILURE() << "it waits"; }, AtEnd::follow);
    CaptureReader reader(input);
    EXPECT_EQ(reader.next(), CaptureReader::Step::frame);
    std::raise(SIGINT);
    EXPECT_EQ(reader.next(), CaptureReader::Step::end);
}

TEST_F(Follow, waits_for_a_pipe_until_interrupted)
{
    Pipe const pipe;
    InputFile input(fmt::format("/dev/fd/{}", int(pipe.reader)), [] { std::raise(SIGINT); }, AtEnd::follow);
    EXPECT_EQ(input.take(1), "");
    EXPECT_EQ(input.problem(), "");
}

// Without the interval, a wait ends only by inotify.
TEST_F(Follow, is_notified_of_growth_and_of_new_files)
{
    Capture capture;
    Descriptor const reader(::open(capture.name().c_str(), O_RDONLY | O_CLOEXEC));
    program::Follow const follow(capture.name(), reader, -1);
    Interrupt const interrupt;
    capture.append(first);
    EXPECT_TRUE(follow.wait());
    capture.truncate(0);
    EXPECT_TRUE(follow.wait());
    capture.replace(second);
    EXPECT_TRUE(follow.wait());
    std::raise(SIGINT);
    EXPECT_FALSE(follow.wait());
}

TEST_F(Follow, finds_a_replacement_when_it_has_content)
{
    Capture capture;
    Descriptor const reader(::open(capture.name().c_str(), O_RDONLY | O_CLOEXEC));
    program::Follow follow(capture.name(), reader);
    EXPECT_FALSE(follow.is_replaced());
    capture.append(first);
    EXPECT_FALSE(follow.is_replaced());
    capture.move_away();
    EXPECT_FALSE(follow.is_replaced());
    capture.create();
    EXPECT_FALSE(follow.is_replaced());
    capture.append(second);
    EXPECT_TRUE(follow.is_replaced());
    Descriptor const replacement(follow.take_replacement());
    EXPECT_EQ(program::bytes_at(replacement, 0, 100), second);
}

TEST_F(Follow, takes_one_interrupt)
{
    Interrupt const interrupt;
    EXPECT_FALSE(Interrupt::requested());
    std::raise(SIGINT);
    EXPECT_TRUE(Interrupt::requested());
    struct sigaction action = {};
    ::sigaction(SIGINT, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

} // namespace
} // namespace tarnwick::test::follow_test
