// `tarnwick recover`: the frames that it writes, its messages, and the file that it creates.

#include "support/config_files.h"
#include "support/damage.h"
#include "support/sanitizers.h"
#include "support/table.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"

#include "capture/capture_reader.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace tarnwick::test::recover_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

Outcome recover(std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), "recover");
    return run({.arguments = std::move(arguments)}, input);
}

std::string const first = request_end(1); // 9 bytes
std::string const second = request_end(2);
std::string const third = request_end(3);
std::string const bad = delimited("\xff\xff\xff");
std::string const bad_report = delimited(rpc_php_frame("\xff"));
std::string const unknown_report = delimited("\x08\x05" + field_head(99, 2) + "ab");
/// A frame whose length takes a byte more than necessary, and whose fields are in an unusual order.
std::string const unusual = std::string("\x87\0", 2) + "\xaa\x01\x02\x08\x02" + "\x08\x05";

struct Capture {
    std::string name;
    std::string bytes;
    std::string recovered;
    int status;
    std::string err;
};

class Recovers : public TableTest<Capture> {};

TEST_P(Recovers, whole_frames_unchanged)
{
    auto const outcome = recover({}, GetParam().bytes);
    EXPECT_EQ(outcome.out, GetParam().recovered);
    EXPECT_EQ(outcome.err, GetParam().err);
    EXPECT_EQ(outcome.status, GetParam().status);
}

TEST_P(Recovers, captures_without_a_further_loss)
{
    if (GetParam().recovered.empty())
        return;
    auto const outcome = recover({}, GetParam().recovered);
    EXPECT_EQ(outcome.out, GetParam().recovered);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

std::string const large = [] {
    Frame chunk;
    chunk.set_ct_data(std::string(program::CaptureReader::max_look_ahead, 'x'));
    return delimited(chunk);
}();

// This frame lost its last byte, so its length includes the first byte of the next frame.
std::string const swallows = [] {
    Frame chunk;
    chunk.set_ct_data("0123456789");
    auto bytes = delimited(chunk);
    bytes.pop_back();
    return bytes;
}();

INSTANTIATE_TEST_SUITE_P(
    Captures, Recovers,
    testing::Values(
        Capture{"no_fault", first + second, first + second, 0, ""},
        Capture{"unusual_bytes", unusual + first, unusual + first, 0, ""},
        Capture{"report_that_does_not_parse", first + bad_report + second, first + bad_report + second, 0, ""},
        Capture{"report_of_an_unknown_kind", unknown_report + first, unknown_report + first, 0, ""},
        Capture{"only_reports_of_unknown_kinds", unknown_report, unknown_report, 0, ""},
        Capture{"frame_that_does_not_parse", first + bad + second, first + second, 1,
                "-: frame 2 at byte 9: this is not a frame\n-: frames recovered: 2; bytes lost: 4 of 22\n"},
        Capture{"first_frame_that_does_not_parse", bad + second, second, 1,
                "-: frame 1 at byte 0: this is not a frame\n-: frames recovered: 1; bytes lost: 4 of 13\n"},
        Capture{"garbage", first + "\xff\xff\xff" + first + second + third, first + first + second + third, 1,
                "-: frame 2 at byte 9: this is not a frame; skipped 3 bytes, up to byte 12\n"
                "-: frames recovered: 4; bytes lost: 3 of 39\n"},
        Capture{"truncated_frame", first + second + third.substr(0, 5), first + second, 1,
                "-: frame 3 at byte 18: the file ends inside this frame, after 4 of its 8 bytes\n"
                "-: frames recovered: 2; bytes lost: 5 of 23\n"},
        Capture{"frames_inside_the_previous_frame", swallows + first + second + third,
                swallows + first.substr(0, 1) + first + second + third, 1,
                "-: frame 2 at byte 14: this is not a frame; continues at byte 13, inside the previous frame\n"
                "-: frames recovered: 4; bytes lost: 0 of 40\n"},
        Capture{"frame_longer_than_the_look_ahead", large + first + bad + large + second,
                large + first + large + second, 1,
                fmt::format("-: frame 3 at byte {}: this is not a frame\n-: frames recovered: 4; bytes lost: 4 of {}\n",
                            large.size() + 9, 2 * large.size() + 22)},
        Capture{"empty_file", "", "", 1, "-: not a capture: the file is empty\n"},
        Capture{"plain_text", "To whom it may concern\n", "", 1,
                "-: not a capture: it has no frame with a known report\n"},
        Capture{"gzip", std::string("\x1f\x8b\x08\0\0\0\0\0\x03\0", 10), "", 1,
                "-: not a capture: the file is compressed with gzip; pipe it through `zcat`\n"}),
    by_name);

/// Returns the records without their places.
std::vector<std::string> records(std::string const &jsonl)
{
    std::vector<std::string> found;
    std::istringstream lines(jsonl);
    for (std::string line; std::getline(lines, line);) {
        auto const begin = line.find(R"("frame":)");
        auto const end = line.find(R"("dialect":)");
        EXPECT_NE(end, std::string::npos) << line;
        found.push_back(line.erase(begin, end - begin));
    }
    return found;
}

TEST(Recover, writes_undamaged_captures_unchanged)
{
    for (auto const &entry : std::filesystem::directory_iterator(TARNWICK_CAPTURES)) {
        if (entry.path().extension() != ".tnw")
            continue;
        auto const outcome = recover({entry.path()});
        EXPECT_TRUE(outcome.out == content_of(entry.path())) << entry.path();
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.status, 0);
    }
}

class RecoverDamaged : public testing::TestWithParam<DamageKind> {};

TEST_P(RecoverDamaged, captures_have_the_same_records_and_no_fault)
{
    auto const real_capture = content_of(TARNWICK_CAPTURES "/adminer.tnw");
    fuzz::Random random{static_cast<std::uint32_t>(GetParam())};
    constexpr int copies = is_sanitized ? 1 : 3;
    for (int copy = 0; copy < copies; ++copy) {
        SCOPED_TRACE(copy);
        auto const damage = random_damage(GetParam(), real_capture, random.below(real_capture.size()), random);
        auto const damaged = damage.apply(real_capture);
        auto const recovered = recover({}, damaged).out;
        EXPECT_EQ(recover({}, recovered).status, 0);
        EXPECT_EQ(records(inspect({}, recovered).out), records(inspect({}, damaged).out));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, RecoverDamaged, testing::ValuesIn(damage_kinds));

/// Runs the program in a folder.
class RecoverToFile : public testing::Test {
protected:
    [[nodiscard]] std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (auto const &entry : std::filesystem::directory_iterator(folder.path()))
            names.push_back(entry.path().filename());
        return names;
    }

    ConfigFolder folder;
    std::string const output = folder.path("out.tnw");
    /// Prints a message when it has created its file. Then waits for standard input.
    test::Setup const waiting{.arguments = {"recover", "-o", output, "/no/such/file", "-"}, .err = Sink::output};
};

TEST_F(RecoverToFile, creates_the_file)
{
    for (auto const &options : {std::vector<std::string>{"-o", output}, {"--output=" + output}, {"--output", output}}) {
        auto const outcome = recover(options, fmt::format("{}{}{}", first, bad, second));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr("frames recovered: 2"));
        EXPECT_EQ(content_of(output), first + second);
        EXPECT_THAT(names(), ElementsAre("out.tnw"));
        std::filesystem::remove(output);
    }
}

TEST_F(RecoverToFile, obeys_the_umask)
{
    auto const before = ::umask(027);
    recover({"-o", output}, first);
    ::umask(before);
    struct stat status = {};
    ASSERT_EQ(::stat(output.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(RecoverToFile, joins_several_captures)
{
    auto const one = folder.write("1.tnw", first + bad);
    auto const two = folder.write("2.tnw", second);
    auto const outcome = recover({"-o", output, one, "/no/such/file", two});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, one + ": frame 2 at byte 9: this is not a frame\n" + one +
                               ": frames recovered: 1; bytes lost: 4 of 13\n"
                               "cannot read /no/such/file: No such file or directory\n");
    EXPECT_EQ(content_of(output), first + second);
}

TEST_F(RecoverToFile, replaces_no_file)
{
    auto const existing = folder.write("out.tnw", "precious");
    folder.link("nowhere", "link");
    folder.write("new.part", "precious");
    struct Case {
        std::string output;
        std::string existing;
    };
    for (auto const &[name, found] : {Case{"out.tnw", "out.tnw"}, Case{"link", "link"}, Case{"new", "new.part"}}) {
        auto const outcome = recover({"-o", folder.path(name)}, first);
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.err, "tarnwick: cannot write " + folder.path(found) + ": File exists\n");
    }
    // The most likely mistake: `-o *.tnw`.
    auto const outcome = recover({"-o", existing, existing, folder.write("other.tnw", first)});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(names(), UnorderedElementsAre("out.tnw", "link", "new.part", "other.tnw"));
    EXPECT_EQ(content_of(existing), "precious");
    EXPECT_EQ(content_of(folder.path("new.part")), "precious");
}

TEST_F(RecoverToFile, does_not_replace_a_file_that_appears_in_the_meantime)
{
    Program program(waiting);
    EXPECT_EQ(program.read_line(), "cannot read /no/such/file: No such file or directory\n");
    program.write(first);
    folder.write("out.tnw", "precious");
    program.close_input();
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out, HasSubstr("tarnwick: cannot write " + output + ": File exists\n"));
    EXPECT_EQ(content_of(output), "precious");
    EXPECT_THAT(names(), ElementsAre("out.tnw"));
}

TEST_F(RecoverToFile, creates_no_file_without_a_capture)
{
    auto const outcome = recover({"-o", output}, "To whom it may concern\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(RecoverToFile, reports_a_file_that_cannot_be_created)
{
    auto const missing = folder.path("missing/out.tnw");
    auto const outcome = recover({"-o", missing}, first);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "tarnwick: cannot write " + missing + ".part: No such file or directory\n");
}

TEST_F(RecoverToFile, removes_the_file_when_a_write_fails)
{
    std::string const capture = TARNWICK_CAPTURES "/adminer.tnw";
    for (auto const size : {std::uintmax_t{1}, std::filesystem::file_size(capture) - 1}) {
        auto const outcome = run({.arguments = {"recover", "-o", output, capture}, .largest_file = size});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.err, "tarnwick: cannot write the output: File too large\n");
        EXPECT_THAT(names(), IsEmpty());
    }
}

TEST_F(RecoverToFile, removes_the_file_when_a_signal_ends_the_program)
{
    for (auto const signal : {SIGHUP, SIGINT, SIGTERM}) {
        Program program(waiting);
        EXPECT_EQ(program.read_line(), "cannot read /no/such/file: No such file or directory\n");
        EXPECT_THAT(names(), ElementsAre("out.tnw.part"));
        program.send(signal);
        EXPECT_EQ(program.finish().status, -1);
        EXPECT_THAT(names(), IsEmpty());
    }
}

TEST_F(RecoverToFile, writes_the_start_of_a_capture_that_cannot_be_read_to_its_end)
{
    // Reading from a terminal whose other side is closed returns the bytes written to it, then an error.
    detail::Terminal terminal;
    write_all(terminal.slave, first + second.substr(0, 5));
    terminal.slave.reset();
    auto const outcome = run({.arguments = {"recover", "-o", output}, .in = terminal.master});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "cannot read -: Input/output error\n");
    EXPECT_EQ(content_of(output), first);
}

TEST(Recover, writes_frames_before_the_next_frame_arrives)
{
    Program program({.arguments = {"recover"}});
    for (auto const &frame : {first, second}) {
        program.write(frame + "\x08");
        EXPECT_EQ(program.read(100), frame);
        program.write(frame.substr(1));
        EXPECT_EQ(program.read(100), frame);
    }
    program.close_input();
    EXPECT_EQ(program.finish().status, 0);
}

TEST(Recover, rejects_a_terminal)
{
    for (auto const &arguments : {std::vector<std::string>{"recover"}, {"recover", "-o", "-"}}) {
        auto const outcome = run({.arguments = arguments, .out = Sink::terminal}, first);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "tarnwick: cannot write a capture to a terminal: use --output=FILE\n"
                               "usage: tarnwick recover [OPTION...] [FILE...]\nUse --help for more information.\n");
    }
}

TEST(Recover, rejects_an_input_that_is_its_output)
{
    TemporaryFile const capture(first);
    Descriptor const out(::open(capture.name().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    auto const outcome = run({.arguments = {"recover", capture.name()}, .out_file = out});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "cannot read " + capture.name() + ": standard output is the same file\n");
    EXPECT_EQ(content_of(capture.name()), first);
}

TEST_F(RecoverToFile, works_as_in_the_manual)
{
    folder.write("capture.tnw", first + second + third.substr(0, 5));
    WorkingFolder const here(folder.path());
    auto const manual = content_of(TARNWICK_MANUAL "/tarnwick-recover.1");
    auto const outcome = recover({"--output=whole.tnw", "capture.tnw"});
    EXPECT_THAT(manual, HasSubstr("\n$ tarnwick recover --output=whole.tnw capture.tnw\n" + outcome.err + ".Ed\n"));
    EXPECT_EQ(content_of("whole.tnw"), first + second);
}

} // namespace
} // namespace tarnwick::test::recover_test
