// `tarnwick inspect` with pipes, terminals and outputs that cannot be written.

#include "print/text_width.h"

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>

namespace tarnwick::test::inspect_streams_test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(InspectStreams, prints_records_before_the_next_frame_arrives)
{
    Program program({.arguments = {"inspect"}});
    for (std::uint64_t id = 1; id <= 3; ++id) {
        program.write(request_end(id));
        EXPECT_THAT(program.read_line(), HasSubstr("\"request_id\":" + std::to_string(id) + ","));
    }
    // Even if the next frame has started.
    program.write(request_end(4) + "\x80");
    EXPECT_THAT(program.read_line(), HasSubstr("\"request_id\":4,"));
    program.close_input();
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, EndsWith("the file ends inside the length of this frame\n"));
}

TEST(InspectStreams, keeps_records_and_messages_in_the_order_of_the_capture)
{
    auto const capture = request_end(1) + delimited("\xff") + request_end(2);
    auto const outcome = run({.arguments = {"inspect"}, .err = Sink::output}, capture);
    auto const first = outcome.out.find("\"request_id\":1,");
    auto const message = outcome.out.find("}\n-: frame 2 at byte 9: this is not a frame\n{");
    auto const second = outcome.out.find("\"request_id\":2,");
    ASSERT_NE(second, std::string::npos) << outcome.out;
    EXPECT_LT(first, message);
    EXPECT_LT(message, second);
}

TEST(InspectStreams, reports_that_the_output_cannot_be_written)
{
    struct Case {
        Sink out;
        std::string reason;
    };
    Case const cases[] = {
        {Sink::full_disk, "No space left on device"},
        {Sink::closed, "Bad file descriptor"},
    };
    for (auto const &[out, reason] : cases) {
        auto const outcome = run({.arguments = {"inspect"}, .out = out}, request_end(1));
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.err, "tarnwick: cannot write the output: " + reason + "\n");
    }
}

TEST(InspectStreams, ends_silently_when_the_reader_closes_the_pipe)
{
    Program program({.arguments = {"inspect"}});
    program.write(request_end(1));
    EXPECT_THAT(program.read_line(), HasSubstr("\"request_id\":1,"));
    program.close_output();
    program.write(request_end(2));
    program.close_input();
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.status, 141);
    EXPECT_EQ(outcome.err, "");
}

// Status 141 overrides an earlier fault.
TEST(InspectStreams, reports_faults_before_a_closed_pipe)
{
    auto const outcome = run({.arguments = {"inspect"}, .out = Sink::nobody}, delimited("\xff") + request_end(1));
    EXPECT_EQ(outcome.status, 141);
    EXPECT_EQ(outcome.err, "-: frame 1 at byte 0: this is not a frame\n");
}

TEST(InspectStreams, ignores_failures_to_write_messages)
{
    for (auto const err : {Sink::full_disk, Sink::nobody, Sink::closed}) {
        auto const outcome = run({.arguments = {"inspect"}, .err = err}, delimited("\xff") + request_end(1));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.out, HasSubstr("\"request_id\":1,"));
    }
}

TEST(InspectStreams, chooses_the_format_by_option_and_terminal)
{
    struct Case {
        Sink out;
        std::string format;
        std::string begin;
    };
    Case const cases[] = {
        {Sink::terminal, "auto", "\x1b[1;36mphp.RShutdown"}, {Sink::terminal, "text", "\x1b[1;36mphp.RShutdown"},
        {Sink::terminal, "jsonl", "{\"record\":"},           {Sink::test, "auto", "{\"record\":"},
        {Sink::test, "text", "php.RShutdown  frame 1"},      {Sink::test, "jsonl", "{\"record\":"},
    };
    for (auto const &[out, format, begin] : cases) {
        auto const outcome = run({.arguments = {"inspect", "--format=" + format}, .out = out}, request_end(1));
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.out, StartsWith(begin)) << format;
    }
    EXPECT_THAT(run({.arguments = {"inspect"}, .out = Sink::terminal}, request_end(1)).out, StartsWith("\x1b["));
    EXPECT_THAT(run({.arguments = {"inspect"}}, request_end(1)).out, StartsWith("{"));
}

TEST(InspectStreams, colours_text_by_option_and_terminal)
{
    struct Case {
        Sink out;
        std::string color;
        std::string environment;
        bool coloured;
    };
    Case const cases[] = {
        {Sink::terminal, "auto", "ANY=", true},        {Sink::terminal, "auto", "NO_COLOR=1", false},
        {Sink::terminal, "auto", "NO_COLOR=", true}, // empty means unset
        {Sink::terminal, "auto", "TERM=dumb", false},  {Sink::terminal, "auto", "TERM=xterm", true},
        {Sink::terminal, "always", "TERM=dumb", true}, {Sink::terminal, "always", "NO_COLOR=1", true},
        {Sink::terminal, "never", "ANY=", false},      {Sink::test, "auto", "ANY=", false},
        {Sink::test, "always", "ANY=", true},          {Sink::test, "always", "NO_COLOR=1", true},
        {Sink::test, "never", "ANY=", false},
    };
    for (auto const &[out, color, environment, coloured] : cases) {
        auto const outcome = run(
            {.arguments = {"inspect", "--format=text", "--color=" + color}, .out = out, .environment = {environment}},
            request_end(1));
        EXPECT_THAT(outcome.out, StartsWith(coloured ? "\x1b[1;36mphp.RShutdown" : "php.RShutdown"))
            << color << ' ' << environment;
    }
}

/// Returns a frame whose record has lines of 27, 36 and more than 80 columns.
Frame frame_with_a_long_line()
{
    return rpc_php_frame_of("error { error { message: '" + std::string(100, 'm') + "' } }");
}

std::size_t longest_line(std::string const &text)
{
    std::size_t longest = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        longest = std::max(longest, program::text_width(line));
    return longest;
}

TEST(InspectStreams, cuts_long_lines_of_text_at_the_width_of_the_terminal)
{
    struct Case {
        Sink out;
        std::uint16_t terminal_columns;
        std::string environment;
        std::string arguments;
        std::size_t longest;
    };
    constexpr std::size_t whole = 2 + 17 + 102; // the indent, the name of the field, the text in quotes
    Case const cases[] = {
        {Sink::terminal, 80, "ANY=", "--format=text", 80},
        {Sink::terminal, 40, "ANY=", "--format=text", 40},
        {Sink::terminal, 40, "ANY=", "--color=never", 40},
        {Sink::terminal, 0, "ANY=", "--format=text", whole}, // the terminal does not report its width
        {Sink::terminal, 80, "COLUMNS=50", "--format=text", 50},
        {Sink::terminal, 0, "COLUMNS=50", "--format=text", 50},
        {Sink::terminal, 80, "COLUMNS=", "--format=text", 80},
        {Sink::terminal, 80, "COLUMNS=0", "--format=text", 80},
        {Sink::terminal, 80, "COLUMNS=-1", "--format=text", 80},
        {Sink::terminal, 80, "COLUMNS=50x", "--format=text", 80},
        {Sink::terminal, 80, "COLUMNS=18446744073709551616", "--format=text", 80},
        {Sink::terminal, 80, "TERM=dumb", "--format=text", 80},
        {Sink::test, 0, "COLUMNS=50", "--format=text", whole},
    };
    for (auto const &[out, terminal_columns, environment, argument, longest] : cases) {
        SCOPED_TRACE(fmt::format("{} {} {}", terminal_columns, environment, argument));
        auto const outcome = run({.arguments = {"inspect", argument},
                                  .out = out,
                                  .environment = {environment},
                                  .terminal_columns = terminal_columns},
                                 delimited(frame_with_a_long_line()));
        EXPECT_EQ(longest_line(outcome.out), longest) << outcome.out;
        EXPECT_EQ(outcome.out.find("…") != std::string::npos, longest < whole);
    }
}

TEST(InspectStreams, does_not_cut_json)
{
    auto const capture = delimited(frame_with_a_long_line());
    auto const outcome =
        run({.arguments = {"inspect", "--format=jsonl"}, .out = Sink::terminal, .terminal_columns = 40}, capture);
    EXPECT_EQ(outcome.out, inspect({}, capture).out);
}

/// Returns a capture of `size` bytes: frames without records, then one with a record.
std::string capture_of_size(std::size_t size)
{
    auto const end = request_end(1);
    std::string capture;
    for (constexpr std::size_t part = 1'000'000; size - capture.size() > 2 * part;)
        capture += delimited(rpc_php_frame(padding(part)));
    // The overhead of the last padding equals that of a padding of about its size.
    auto const rest = size - capture.size() - end.size();
    auto const around = delimited(rpc_php_frame(padding(rest - 20))).size() - (rest - 20);
    return capture + delimited(rpc_php_frame(padding(rest - around))) + end;
}

TEST(InspectStreams, shows_progress_on_a_terminal_for_files_over_10_mb)
{
    TemporaryFile const large(capture_of_size(10'000'001));
    std::string const clear = "\r\x1b[K";

    auto const outcome = run({.arguments = {"inspect", large.name()}, .err = Sink::terminal});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, StartsWith("{\"record\":"));
    EXPECT_THAT(outcome.err, testing::MatchesRegex("(\r\x1b\\[K[^\r\n]*: [0-9]+ of 10 MB \\([0-9]+%\\))+\r\x1b\\[K"));
    EXPECT_THAT(outcome.err, StartsWith(clear + large.name() + ": "));
}

TEST(InspectStreams, keeps_the_progress_line_within_the_terminal)
{
    TemporaryFile const large(capture_of_size(10'000'001));
    for (auto const columns : {std::uint16_t{30}, std::uint16_t{20}, std::uint16_t{5}}) {
        auto const err =
            run({.arguments = {"inspect", large.name()}, .err = Sink::terminal, .terminal_columns = columns}).err;
        for (std::size_t at = 0, end = 0; (end = err.find('\r', at)) != std::string::npos; at = end + 1)
            EXPECT_LE(program::text_width(err.substr(at, end - at)), columns) << err;
        EXPECT_THAT(err, HasSubstr("…"));
        if (columns == 30) {
            EXPECT_THAT(err, testing::ContainsRegex("…: [0-9]+ of 10 MB"));
        }
    }
}

TEST(InspectStreams, shows_no_progress_elsewhere)
{
    TemporaryFile const large(capture_of_size(10'000'001));
    TemporaryFile const small(capture_of_size(10'000'000));
    EXPECT_EQ(run({.arguments = {"inspect", large.name()}}).err, "");
    EXPECT_EQ(run({.arguments = {"inspect", small.name()}, .err = Sink::terminal}).err, "");
    EXPECT_EQ(run({.arguments = {"inspect", large.name()}, .err = Sink::terminal, .environment = {"TERM=dumb"}}).err,
              "");
    EXPECT_EQ(run({.arguments = {"inspect"}, .err = Sink::terminal}, capture_of_size(10'000'001)).err, "");
}

TEST(InspectStreams, erases_the_progress_line_before_other_output)
{
    TemporaryFile const large(capture_of_size(11'000'000) + delimited("\xff"));
    auto const outcome =
        run({.arguments = {"inspect", "--color=never", large.name()}, .out = Sink::terminal, .err = Sink::output});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, HasSubstr("%)\r\x1b[Kphp.RShutdown  frame "));
    EXPECT_THAT(outcome.out, EndsWith(": this is not a frame\n"));
    EXPECT_THAT(outcome.out, Not(testing::ContainsRegex("%\\)[^\r]")));
}

TEST(InspectStreams, memory_depends_on_bytes_read_not_on_the_claimed_length)
{
    auto const peak_memory = [](std::string const &rest) {
        Program program({.arguments = {"inspect"}});
        program.write(request_end(1) + rest);
        // The program flushes when no more input is available.
        EXPECT_THAT(program.read_line(), StartsWith("{"));
        auto const memory = program.memory("VmPeak");
        program.close_input();
        program.finish();
        return memory;
    };
    constexpr std::int64_t half_a_gib = 524'288;
    EXPECT_LT(peak_memory(varint(std::uint64_t{1} << 30) + "abc"), peak_memory({}) + half_a_gib);
}

} // namespace
} // namespace tarnwick::test::inspect_streams_test
