// `tarnwick inspect --follow`: output while the program waits, messages, and exit status.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace tarnwick::test::inspect_follow_test {
namespace {

using testing::HasSubstr;

class InspectFollow : public testing::Test {
protected:
    static std::string record_of(std::uint64_t request) { return "\"request_id\":" + std::to_string(request) + ","; }

    /// Expects that Ctrl-C ends the program without further output.
    static void expect_end(Program &program, int status, std::string const &err = {})
    {
        program.send(SIGINT);
        auto const outcome = program.finish();
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, err);
    }

    TemporaryFile const capture{request_end(1)};
    Descriptor const writer{::open(capture.name().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC)};
    test::Setup const follow{.arguments = {"inspect", "--follow", capture.name()}};
};

TEST_F(InspectFollow, prints_records_as_the_capture_grows)
{
    Program program(follow);
    EXPECT_THAT(program.read_line(), HasSubstr(record_of(1)));
    for (std::uint64_t const request : {2U, 3U}) {
        write_all(writer, request_end(request));
        EXPECT_THAT(program.read_line(), HasSubstr(record_of(request)));
    }
    expect_end(program, 0);
}

TEST_F(InspectFollow, prints_a_message_about_the_last_frame_before_it_waits)
{
    auto setup = follow;
    setup.err = Sink::output;
    write_all(writer, delimited(rpc_php_frame("\xff")));
    Program program(setup);
    EXPECT_THAT(program.read_line(), HasSubstr(record_of(1)));
    EXPECT_THAT(program.read_line(), HasSubstr("frame 2 at byte 9: the report is not a valid"));
    expect_end(program, 1);
}

TEST_F(InspectFollow, reports_half_a_frame_when_it_ends)
{
    write_all(writer, request_end(2).substr(0, 5));
    Program program(follow);
    EXPECT_THAT(program.read_line(), HasSubstr(record_of(1)));
    expect_end(program, 1,
               capture.name() + ": frame 2 at byte 9: the file ends inside this frame, after 4 of its 8 bytes\n");
}

TEST_F(InspectFollow, accepts_a_file_that_is_empty)
{
    Program program(follow);
    EXPECT_THAT(program.read_line(), HasSubstr(record_of(1)));
    ASSERT_EQ(::ftruncate(writer, 0), 0);
    expect_end(program, 0);
}

TEST_F(InspectFollow, follows_a_file_on_standard_input)
{
    Descriptor const in(::open(capture.name().c_str(), O_RDONLY | O_CLOEXEC));
    for (auto const &arguments : {std::vector<std::string>{"inspect", "--follow"}, {"inspect", "--follow", "-"}}) {
        ASSERT_EQ(::lseek(in, 0, SEEK_SET), 0);
        Program program({.arguments = arguments, .in = in});
        EXPECT_THAT(program.read_line(), HasSubstr(record_of(1)));
        write_all(writer, request_end(2));
        EXPECT_THAT(program.read_line(), HasSubstr(record_of(2)));
        ASSERT_EQ(::ftruncate(writer, 9), 0);
        write_all(writer, request_end(3));
        EXPECT_THAT(program.read_line(), HasSubstr(record_of(3)));
        expect_end(program, 0);
        ASSERT_EQ(::ftruncate(writer, 9), 0);
    }
}

TEST_F(InspectFollow, ends_at_the_end_of_a_pipe_or_when_interrupted)
{
    for (bool const closed : {true, false}) {
        Program program({.arguments = {"inspect", "--follow"}});
        program.write(request_end(1));
        EXPECT_THAT(program.read_line(), HasSubstr(record_of(1)));
        if (closed) {
            program.close_input();
            EXPECT_EQ(program.finish().status, 0);
        } else {
            expect_end(program, 0);
        }
    }
}

TEST_F(InspectFollow, ends_silently_when_the_reader_closes_the_pipe)
{
    Program program(follow);
    EXPECT_THAT(program.read_line(), HasSubstr(record_of(1)));
    program.close_output();
    write_all(writer, request_end(2));
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.status, 141);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(InspectFollow, reports_a_file_that_does_not_exist)
{
    auto const outcome = inspect({"--follow", "/no/such/file"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "cannot read /no/such/file: No such file or directory\n");
}

} // namespace
} // namespace tarnwick::test::inspect_follow_test
