// `tarnwick ls --follow`: output while the program waits, and exit status.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <string>
#include <vector>

namespace tarnwick::test::ls_follow_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

std::string start(std::uint64_t id, std::string const &uri)
{
    return delimited(rpc_php_frame_of("request_id { id: " + std::to_string(id) +
                                      " } timestamp { seconds: 1700000000 } rinit { request { text_0: 'GET' text_1: '" +
                                      uri + "' } }"));
}

std::string end(std::uint64_t id)
{
    return delimited(
        rpc_php_frame_of("request_id { id: " + std::to_string(id) + " } rshutdown { response { status: 200 } }"));
}

class LsFollow : public testing::Test {
protected:
    /// Returns the arguments of the program, with further options.
    std::vector<std::string> arguments(std::vector<std::string> const &options)
    {
        std::vector<std::string> all{"ls", "--follow", capture.name()};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    TemporaryFile const capture{start(1, "/a") + start(2, "/b")};
    Descriptor const writer{::open(capture.name().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC)};
};

TEST_F(LsFollow, prints_a_request_when_it_closes)
{
    Program program({.arguments = arguments({"--columns=uri,complete", "--format=csv"})});
    EXPECT_EQ(program.read_line(), "uri,complete\r\n");
    write_all(writer, end(2) + start(2, "/c"));
    EXPECT_EQ(program.read_line(), "/b,true\r\n");
    // Nothing more is written, so the request closes because of its end.
    write_all(writer, end(1));
    EXPECT_EQ(program.read_line(), "/a,true\r\n");
    program.send(SIGINT);
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.out, "/c,false\r\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(LsFollow, prints_a_request_of_a_pipe_that_stays_open)
{
    Program program({.arguments = {"ls", "--follow"}});
    program.write(start(1, "/a") + end(1));
    EXPECT_THAT(program.read_line(), HasSubstr("\"uri\":\"/a\""));
    program.close_input();
    EXPECT_EQ(program.finish().status, 0);
}

TEST_F(LsFollow, prints_rows_of_a_table_with_fixed_widths)
{
    Program program({.arguments = arguments({"--format=text"})});
    std::string const long_uri(40, 'c');
    write_all(writer, start(2, "/" + long_uri) + start(2, "/d"));
    auto const titles = program.read_line();
    auto const first = program.read_line();
    auto const second = program.read_line();
    EXPECT_THAT(titles, AllOf(StartsWith("   @  start (UTC)              method  uri "), HasSubstr("statements\n")));
    EXPECT_EQ(first.size(), titles.size());
    EXPECT_THAT(first, StartsWith("  @2  2023-11-14 22:13:20.000  GET     /b "));
    EXPECT_THAT(second, StartsWith("  @3  2023-11-14 22:13:20.000  GET     /" + long_uri + "  "));
    program.send(SIGINT);
    EXPECT_EQ(program.finish().status, 0);
}

TEST_F(LsFollow, ends_after_the_first_requests)
{
    Program program({.arguments = arguments({"--top=1"})});
    write_all(writer, start(2, "/c"));
    auto const outcome = program.finish();
    EXPECT_THAT(outcome.out, HasSubstr("\"uri\":\"/b\""));
    EXPECT_EQ(outcome.status, 0);
}

} // namespace
} // namespace tarnwick::test::ls_follow_test
