#include "capture_reader.h"

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

namespace tarnwick::program {
namespace {

using test::delimited;
using test::varint;
using testing::ElementsAre;

/// What the reader says of a file, a line for each step.
std::vector<std::string> steps(std::string const &file)
{
    InputFile input(file);
    CaptureReader reader(input);
    std::vector<std::string> said;
    while (true) {
        auto const step = reader.next();
        auto const place = fmt::format("{} at {}", reader.number(), reader.offset());
        switch (step) {
        case CaptureReader::Step::frame:
            said.push_back(fmt::format("{}: request {}", place, reader.frame().request_id()));
            break;
        case CaptureReader::Step::fault:
            said.push_back(fmt::format("{}: fault: {}", place, reader.problem()));
            break;
        case CaptureReader::Step::last_fault:
            said.push_back(fmt::format("{}: last fault: {}", place, reader.problem()));
            return said;
        case CaptureReader::Step::failure:
            said.push_back(fmt::format("{}: failure: {}", place, reader.problem()));
            return said;
        case CaptureReader::Step::end:
            said.push_back(fmt::format("{}: end", place));
            return said;
        }
    }
}

/// The same, of bytes in a file and, byte by byte, in a pipe; the two have to agree.
std::vector<std::string> steps_of(std::string const &bytes)
{
    test::TemporaryFile const file(bytes);
    auto const of_file = steps(file.name());

    test::Pipe pipe(O_DIRECT); // one read gets what one write wrote
    std::thread writer([&] {
        for (auto const byte : bytes)
            test::write_all(pipe.writer, {&byte, 1});
        pipe.writer.reset();
    });
    auto const of_pipe = steps(fmt::format("/dev/fd/{}", int(pipe.reader)));
    // What is left after a last fault, so that the writer can end.
    char rest[4096];
    while (::read(pipe.reader, rest, sizeof rest) > 0) {
    }
    writer.join();
    EXPECT_EQ(of_pipe, of_file);
    return of_file;
}

std::string frame(std::uint64_t request_id, std::size_t report_size = 0)
{
    capture::v1::Frame frame;
    frame.set_request_id(request_id);
    if (report_size > 0)
        frame.set_rshutdown(std::string(report_size, 'x'));
    return delimited(frame);
}

struct Capture {
    std::string name;
    std::string bytes;
    std::vector<std::string> steps;
};

void PrintTo(Capture const &value, std::ostream *out)
{
    *out << value.name;
}

class CaptureReaderReads : public testing::TestWithParam<Capture> {};

TEST_P(CaptureReaderReads, from_a_file_and_byte_by_byte_from_a_pipe)
{
    EXPECT_EQ(steps_of(GetParam().bytes), GetParam().steps);
}

std::string const five_bytes = frame(70'000); // and the length
std::string const not_a_frame = delimited("\xff\xff\xff");
constexpr std::uint64_t gib = std::uint64_t{1} << 30;

INSTANTIATE_TEST_SUITE_P(
    Captures, CaptureReaderReads,
    testing::Values(
        Capture{"AnEmptyFile", "", {"0 at 0: end"}},
        Capture{"FramesInSequence",
                frame(7) + five_bytes + frame(8),
                {"1 at 0: request 7", "2 at 3: request 70000", "3 at 8: request 8", "3 at 11: end"}},
        Capture{"AFrameThatLacksWhatTheOneBeforeHad",
                frame(7, 3) + delimited(std::string("\x10\x00", 2)) + frame(8),
                {"1 at 0: request 7", "2 at 9: request 0", "3 at 12: request 8", "3 at 15: end"}},
        Capture{"ALengthOfTwoBytes",
                frame(1, 300) + frame(2),
                {"1 at 0: request 1", "2 at 308: request 2", "2 at 311: end"}},
        Capture{"ALengthOfThreeBytes",
                frame(1, 20'000) + frame(2),
                {"1 at 0: request 1", "2 at 20010: request 2", "2 at 20013: end"}},
        Capture{"ALengthWithEmptyGroups",
                "\x82" + std::string("\x80\x80\x80\x80\x80\x80\x80\x80\x00", 9) + frame(1).substr(1),
                {"1 at 0: request 1", "1 at 12: end"}},
        Capture{"ALengthOfZeroAndGoesOn",
                std::string(1, '\0') + frame(2),
                {"1 at 0: fault: the length of this frame is 0", "2 at 1: request 2", "2 at 4: end"}},
        Capture{"AFrameThatDoesNotParseAndGoesOn",
                frame(1) + not_a_frame + frame(3),
                {"1 at 0: request 1", "2 at 3: fault: this is not a frame", "3 at 7: request 3", "3 at 10: end"}},
        Capture{"ALengthOf1GiB",
                frame(1) + varint(gib) + "ab",
                {"1 at 0: request 1",
                 "2 at 3: last fault: the file ends inside this frame, after 2 of its 1073741824 bytes"}},
        Capture{"ALengthOver1GiB",
                frame(1) + varint(gib + 1) + frame(3),
                {"1 at 0: request 1", "2 at 3: last fault: the length of this frame is over 1 GiB"}},
        Capture{"ALengthOfAll64Bits",
                varint(~std::uint64_t{0}) + frame(2),
                {"1 at 0: last fault: the length of this frame is over 1 GiB"}},
        Capture{"ALengthOfMoreThan64Bits",
                std::string(9, '\x80') + '\x02' + frame(2),
                {"1 at 0: last fault: the length of this frame is over 1 GiB"}},
        Capture{"ALengthWithoutAnEnd",
                std::string(10, '\x80') + '\x01' + frame(2),
                {"1 at 0: last fault: the length of this frame is over 1 GiB"}},
        Capture{"AFileThatEndsInsideALength",
                frame(1) + "\x80",
                {"1 at 0: request 1", "2 at 3: last fault: the file ends inside the length of this frame"}},
        Capture{"AFileThatEndsBehindALength",
                frame(1) + "\x05",
                {"1 at 0: request 1", "2 at 3: last fault: the file ends inside this frame, after 0 of its 5 bytes"}},
        Capture{"AFileThatEndsInsideAFrame",
                frame(1) + five_bytes.substr(0, 3),
                {"1 at 0: request 1", "2 at 3: last fault: the file ends inside this frame, after 2 of its 4 bytes"}}),
    [](auto const &of) { return of.param.name; });

TEST(CaptureReader, reads_frames_larger_than_its_buffer)
{
    test::TemporaryFile const file(frame(1, 1'000'000) + frame(2));
    EXPECT_THAT(steps(file.name()), ElementsAre("1 at 0: request 1", "2 at 1000010: request 2", "2 at 1000013: end"));
}

TEST(CaptureReader, says_why_a_file_cannot_be_read)
{
    // A regular file whose first page nothing can read.
    EXPECT_THAT(steps("/proc/self/mem"), ElementsAre("0 at 0: failure: Input/output error"));
}

TEST(CaptureReader, says_why_a_file_cannot_be_opened)
{
    EXPECT_THAT(steps("/no/such/file"), ElementsAre("0 at 0: failure: No such file or directory"));
    EXPECT_THAT(steps("/"), ElementsAre("0 at 0: failure: Is a directory"));
}

} // namespace
} // namespace tarnwick::program
