#include "capture/capture_reader.h"

#include "support/allocations.h"
#include "support/table.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

namespace tarnwick::program::capture_reader_test {
namespace {

using test::delimited;
using test::varint;
using testing::ElementsAre;

/// Reads a file. Returns a line for each step of the reader.
std::vector<std::string> steps(std::string const &file)
{
    InputFile input(file);
    CaptureReader reader(input);
    std::vector<std::string> found;
    while (true) {
        auto const step = reader.next();
        auto const place = fmt::format("{} at {}", reader.number(), reader.offset());
        switch (step) {
        case CaptureReader::Step::frame:
            found.push_back(fmt::format("{}: request {}", place, reader.frame().request_id()));
            break;
        case CaptureReader::Step::fault:
            found.push_back(fmt::format("{}: fault: {}", place, reader.problem()));
            break;
        case CaptureReader::Step::seeking:
            break;
        case CaptureReader::Step::failure:
            found.push_back(fmt::format("{}: failure: {}", place, reader.problem()));
            return found;
        case CaptureReader::Step::end:
            found.push_back(fmt::format("{}: end", place));
            return found;
        }
    }
}

/// Reads bytes from a file, and byte by byte from a pipe. Expects the same steps.
std::vector<std::string> steps_of(std::string const &bytes)
{
    test::TemporaryFile const file(bytes);
    auto const of_file = steps(file.name());

    test::Pipe pipe(O_DIRECT); // each read returns the bytes of one write
    std::thread writer([&] {
        for (auto const byte : bytes)
            test::write_all(pipe.writer, {&byte, 1});
        pipe.writer.reset();
    });
    auto const of_pipe = steps(fmt::format("/dev/fd/{}", int(pipe.reader)));
    writer.join();
    EXPECT_EQ(of_pipe, of_file);
    return of_file;
}

/// Returns a frame, which is good if `report_size` is even.
std::string frame(std::uint64_t request_id, std::size_t report_size = 0)
{
    capture::v1::Frame frame;
    frame.set_request_id(request_id);
    frame.set_rshutdown(std::string(report_size, 'x'));
    return delimited(frame);
}

/// Returns a frame with a report of an unknown kind.
std::string unknown_frame(std::uint64_t request_id)
{
    capture::v1::Frame frame;
    frame.set_request_id(request_id);
    return delimited(frame.SerializeAsString() + test::field_head(99, 0));
}

/// Returns a frame with a chunk.
std::string chunk_frame(std::string const &chunk)
{
    capture::v1::Frame frame;
    frame.set_ct_data(chunk);
    return delimited(frame);
}

struct Capture {
    std::string name;
    std::string bytes;
    std::vector<std::string> steps;
};

class CaptureReaderReads : public test::TableTest<Capture> {};

TEST_P(CaptureReaderReads, file_and_pipe_return_the_same_steps)
{
    EXPECT_EQ(steps_of(GetParam().bytes), GetParam().steps);
}

std::string const long_frame = frame(70'000); // 8 bytes, others 6
std::string const not_a_frame = delimited("\xff\xff\xff");
constexpr std::uint64_t gib = std::uint64_t{1} << 30;

INSTANTIATE_TEST_SUITE_P(
    Captures, CaptureReaderReads,
    testing::Values(Capture{"an_empty_file", "", {"0 at 0: end"}},
                    Capture{"frames_in_sequence",
                            frame(7) + long_frame + frame(8),
                            {"1 at 0: request 7", "2 at 6: request 70000", "3 at 14: request 8", "3 at 20: end"}},
                    Capture{"a_frame_without_a_field_of_the_one_before",
                            frame(7, 3) + delimited(std::string("\x10\x00", 2)) + frame(8),
                            {"1 at 0: request 7", "2 at 9: request 0", "3 at 12: request 8", "3 at 18: end"}},
                    Capture{"a_length_of_two_bytes",
                            frame(1, 300) + frame(2),
                            {"1 at 0: request 1", "2 at 308: request 2", "2 at 314: end"}},
                    Capture{"a_length_of_three_bytes",
                            frame(1, 20'000) + frame(2),
                            {"1 at 0: request 1", "2 at 20010: request 2", "2 at 20016: end"}},
                    Capture{"a_length_with_empty_groups",
                            "\x85" + std::string("\x80\x80\x80\x80\x80\x80\x80\x80\x00", 9) + frame(1).substr(1),
                            {"1 at 0: request 1", "1 at 15: end"}},
                    Capture{"frames_of_unknown_and_of_bad_reports",
                            unknown_frame(1) + frame(2, 1) + unknown_frame(3),
                            {"1 at 0: request 1", "2 at 6: request 2", "3 at 13: request 3", "3 at 19: end"}}),
    test::by_name);

INSTANTIATE_TEST_SUITE_P(
    Faults, CaptureReaderReads,
    testing::Values(
        Capture{"a_length_of_zero",
                std::string(1, '\0') + frame(2),
                {"1 at 0: fault: the length of this frame is 0", "2 at 1: request 2", "2 at 7: end"}},
        Capture{"zero_bytes_and_a_single_frame_after_them",
                frame(1) + std::string(5, '\0') + frame(2) + std::string(3, '\0') + frame(3) + '\0',
                {"1 at 0: request 1", "2 at 6: fault: the length of this frame is 0; skipped 5 bytes, up to byte 11",
                 "3 at 11: request 2", "4 at 17: fault: the length of this frame is 0; skipped 3 bytes, up to byte 20",
                 "5 at 20: request 3", "6 at 26: fault: the length of this frame is 0", "6 at 27: end"}},
        Capture{"a_frame_that_does_not_parse",
                frame(1) + not_a_frame + frame(3) + '\0',
                {"1 at 0: request 1", "2 at 6: fault: this is not a frame", "3 at 10: request 3",
                 "4 at 16: fault: the length of this frame is 0", "4 at 17: end"}},
        Capture{"adjacent_frames_that_do_not_parse_as_one_fault",
                frame(1) + not_a_frame + not_a_frame + frame(3),
                {"1 at 0: request 1", "2 at 6: fault: this is not a frame; skipped 8 bytes, up to byte 14",
                 "3 at 14: request 3", "3 at 20: end"}},
        Capture{"a_length_that_is_too_small",
                "\x02" + frame(1).substr(1) + frame(2) + frame(3) + frame(4) + '\0',
                {"1 at 0: request 1", "2 at 3: fault: this is not a frame; skipped 3 bytes, up to byte 6",
                 "3 at 6: request 2", "4 at 12: request 3", "5 at 18: request 4",
                 "6 at 24: fault: the length of this frame is 0", "6 at 25: end"}},
        Capture{"a_length_that_is_too_large",
                "\x06" + frame(1).substr(1) + frame(2) + frame(3) + frame(4) + '\0',
                {"1 at 0: fault: this is not a frame; skipped 6 bytes, up to byte 6", "2 at 6: request 2",
                 "3 at 12: request 3", "4 at 18: request 4", "5 at 24: fault: the length of this frame is 0",
                 "5 at 25: end"}},
        Capture{"a_length_over_1_gib",
                frame(1) + varint(gib + 1) + frame(3),
                {"1 at 0: request 1",
                 "2 at 6: fault: the length of this frame is over 1 GiB; skipped 5 bytes, up to byte 11",
                 "3 at 11: request 3", "3 at 17: end"}},
        Capture{"a_length_of_all_64_bits",
                varint(~std::uint64_t{0}) + frame(2),
                {"1 at 0: fault: the length of this frame is over 1 GiB; skipped 10 bytes, up to byte 10",
                 "2 at 10: request 2", "2 at 16: end"}},
        Capture{
            "a_length_of_more_than_64_bits",
            std::string(9, '\x80') + '\x02' + "no frame",
            {"1 at 0: fault: the length of this frame is over 1 GiB; skipped 18 bytes, up to the end", "1 at 18: end"}},
        Capture{"a_length_without_an_end",
                std::string(10, '\x80') + '\x01' + frame(2),
                {"1 at 0: fault: the length of this frame is over 1 GiB; skipped 11 bytes, up to byte 11",
                 "2 at 11: request 2", "2 at 17: end"}},
        Capture{"a_length_of_1_gib",
                frame(1) + varint(gib) + "ab",
                {"1 at 0: request 1", "2 at 6: fault: the file ends inside this frame, after 2 of its 1073741824 bytes",
                 "2 at 13: end"}},
        Capture{"a_length_that_reaches_beyond_the_end",
                "\x7f" + test::field_head(capture::v1::Frame::kRshutdownFieldNumber, 124) + frame(2),
                {"1 at 0: fault: the file ends inside this frame, after 9 of its 127 bytes; skipped 4 bytes, up to "
                 "byte 4",
                 "2 at 4: request 2", "2 at 10: end"}},
        Capture{"a_file_that_ends_inside_a_length",
                frame(1) + "\x80",
                {"1 at 0: request 1", "2 at 6: fault: the file ends inside the length of this frame", "2 at 7: end"}},
        Capture{"a_file_that_ends_after_a_length",
                frame(1) + "\x05",
                {"1 at 0: request 1", "2 at 6: fault: the file ends inside this frame, after 0 of its 5 bytes",
                 "2 at 7: end"}},
        Capture{"a_file_that_ends_inside_a_frame",
                frame(1) + long_frame.substr(0, 3),
                {"1 at 0: request 1", "2 at 6: fault: the file ends inside this frame, after 2 of its 7 bytes",
                 "2 at 9: end"}}),
    test::by_name);

std::string const damage = "\x01\xff"; // a frame of one byte, which does not parse

INSTANTIATE_TEST_SUITE_P(
    NextStarts, CaptureReaderReads,
    testing::Values(
        Capture{"at_three_good_frames_in_a_row",
                damage + "\xff" + frame(2) + frame(3) + frame(4) + '\0',
                {"1 at 0: fault: this is not a frame; skipped 3 bytes, up to byte 3", "2 at 3: request 2",
                 "3 at 9: request 3", "4 at 15: request 4", "5 at 21: fault: the length of this frame is 0",
                 "5 at 22: end"}},
        Capture{"not_at_two",
                damage + "\xff" + frame(2) + frame(3) + '\0' + frame(4),
                {"1 at 0: fault: this is not a frame; skipped 16 bytes, up to byte 16", "2 at 16: request 4",
                 "2 at 22: end"}},
        Capture{"at_fewer_frames_that_end_at_the_end",
                damage + "\xff" + frame(2) + frame(3),
                {"1 at 0: fault: this is not a frame; skipped 3 bytes, up to byte 3", "2 at 3: request 2",
                 "3 at 9: request 3", "3 at 15: end"}},
        Capture{"at_one_frame_right_after_the_faulty_one",
                damage + frame(2) + '\0' + "\xff",
                {"1 at 0: fault: this is not a frame", "2 at 2: request 2",
                 "3 at 8: fault: the length of this frame is 0; skipped 2 bytes, up to the end", "3 at 10: end"}},
        Capture{"not_at_frames_of_unknown_reports",
                damage + "\xff" + unknown_frame(2) + unknown_frame(3) + unknown_frame(4),
                {"1 at 0: fault: this is not a frame; skipped 21 bytes, up to the end", "1 at 21: end"}},
        Capture{"not_at_a_frame_of_an_unknown_report_before_good_ones",
                damage + "\xff" + unknown_frame(2) + frame(3) + frame(4) + frame(5),
                {"1 at 0: fault: this is not a frame; skipped 9 bytes, up to byte 9", "2 at 9: request 3",
                 "3 at 15: request 4", "4 at 21: request 5", "4 at 27: end"}},
        Capture{"not_at_frames_of_bad_reports",
                damage + "\xff" + frame(2, 1) + frame(3, 1) + frame(4, 1),
                {"1 at 0: fault: this is not a frame; skipped 24 bytes, up to the end", "1 at 24: end"}},
        Capture{"where_unknown_and_bad_reports_are_between_good_ones",
                damage + "\xff" + frame(2) + unknown_frame(3) + frame(4) + frame(5, 1) + frame(6) + '\0',
                {"1 at 0: fault: this is not a frame; skipped 3 bytes, up to byte 3", "2 at 3: request 2",
                 "3 at 9: request 3", "4 at 15: request 4", "5 at 21: request 5", "6 at 28: request 6",
                 "7 at 34: fault: the length of this frame is 0", "7 at 35: end"}},
        Capture{"at_chunks",
                damage + "\xff" + chunk_frame("a") + chunk_frame("b") + chunk_frame("c") + '\0',
                {"1 at 0: fault: this is not a frame; skipped 3 bytes, up to byte 3", "2 at 3: request 0",
                 "3 at 8: request 0", "4 at 13: request 0", "5 at 18: fault: the length of this frame is 0",
                 "5 at 19: end"}},
        Capture{"inside_a_frame_that_lost_bytes",
                chunk_frame(std::string(20, 'x')).substr(0, 10) + frame(2) + frame(3) + frame(4) + frame(5) + '\0',
                {"1 at 0: request 0",
                 "2 at 24: fault: this is not a frame; continues at byte 10, inside the previous frame",
                 "3 at 10: request 2", "4 at 16: request 3", "5 at 22: request 4", "6 at 28: request 5",
                 "7 at 34: fault: the length of this frame is 0", "7 at 35: end"}},
        Capture{"not_at_frames_that_a_frame_before_the_fault_holds",
                chunk_frame(frame(2) + frame(3) + frame(4) + frame(5)) + damage + frame(6),
                {"1 at 0: request 0", "2 at 28: fault: this is not a frame", "3 at 30: request 6", "3 at 36: end"}}),
    test::by_name);

/// Returns the faults that the reader finds.
std::vector<std::string> faults(std::string const &bytes)
{
    test::TemporaryFile const file(bytes);
    auto found = steps(file.name());
    std::erase_if(found, [](auto const &step) { return step.find(": fault: ") == std::string::npos; });
    return found;
}

TEST(CaptureReader, finds_frames_longer_than_the_look_ahead)
{
    auto const large = chunk_frame(std::string(CaptureReader::max_look_ahead, '\x07')); // no frame starts with these
    EXPECT_THAT(faults(damage + "\xff" + large + '\0'),
                ElementsAre("1 at 0: fault: this is not a frame; skipped 3 bytes, up to byte 3",
                            testing::HasSubstr("3 at 16777229: fault: the length of this frame is 0")));
}

TEST(CaptureReader, reports_a_fault_of_any_size_once)
{
    // Longer than the bytes between two steps.
    EXPECT_THAT(
        faults(frame(1) + std::string(40'000'000, '\0') + frame(2)),
        ElementsAre("2 at 6: fault: the length of this frame is 0; skipped 40000000 bytes, up to byte 40000006"));
}

TEST(CaptureReader, detects_a_wrong_length_early)
{
    test::Pipe pipe;
    test::write_all(pipe.writer, varint(1'000'000) + frame(1).substr(1) + frame(2) + frame(3) + frame(4));
    InputFile input(fmt::format("/dev/fd/{}", int(pipe.reader)), [&] {
        ADD_FAILURE() << "waits for more bytes";
        pipe.writer.reset();
    });
    CaptureReader reader(input);
    EXPECT_EQ(reader.next(), CaptureReader::Step::fault);
    EXPECT_EQ(reader.problem(), "this is not a frame; skipped 8 bytes, up to byte 8");
    EXPECT_EQ(reader.next(), CaptureReader::Step::frame);
    EXPECT_EQ(reader.frame().request_id(), 2U);
}

TEST(CaptureReader, limits_the_number_of_parsed_candidates)
{
    // Each of 40,000 places claims a frame of 1 MB. Parsing one takes at least one allocation.
    auto const unit = varint(1'000'004) + varint(10 << 3 | 2) + varint(1'000'000);
    std::string bytes = "\xff";
    while (bytes.size() < 1'280'000)
        bytes += unit;
    test::TemporaryFile const file(bytes);
    InputFile input(file.name());
    CaptureReader reader(input);
    EXPECT_LT(test::allocations_of([&] { EXPECT_EQ(reader.next(), CaptureReader::Step::fault); }), 5'000U);
}

TEST(CaptureReader, reads_frames_larger_than_its_buffer)
{
    test::TemporaryFile const file(frame(1, 1'000'000) + frame(2));
    EXPECT_THAT(steps(file.name()), ElementsAre("1 at 0: request 1", "2 at 1000010: request 2", "2 at 1000016: end"));
}

TEST(CaptureReader, reports_why_a_file_cannot_be_read)
{
    // A regular file whose first page is not readable.
    EXPECT_THAT(steps("/proc/self/mem"), ElementsAre("0 at 0: failure: Input/output error"));
}

TEST(CaptureReader, reports_why_a_file_cannot_be_opened)
{
    EXPECT_THAT(steps("/no/such/file"), ElementsAre("0 at 0: failure: No such file or directory"));
    EXPECT_THAT(steps("/"), ElementsAre("0 at 0: failure: Is a directory"));
}

} // namespace
} // namespace tarnwick::program::capture_reader_test
