// Streams of NATS as captures.

#include "live/nats_target.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/nats_server.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <regex>
#include <string>

namespace tarnwick::test::nats_source_test {
namespace {

using program::NatsAddress;
using program::NatsTarget;
using testing::HasSubstr;

std::string record_of(std::uint64_t request)
{
    return "\"request_id\":" + std::to_string(request) + ",";
}

Frame end_frame(std::uint64_t request)
{
    Frame frame;
    frame.set_request_id(request);
    frame.set_rshutdown("");
    return frame;
}

class NatsSourceTest : public testing::Test {
protected:
    void publish(std::uint64_t request) { target.append(end_frame(request).SerializeAsString()); }

    NatsServer const server;
    std::string const stream = server.stream("php");
    NatsTarget target{NatsAddress(stream)};
};

TEST_F(NatsSourceTest, is_read_like_a_capture_until_its_last_frame)
{
    std::string capture;
    for (std::uint64_t request = 1; request <= 1000; ++request) {
        publish(request);
        capture += delimited(end_frame(request));
    }
    target.sync();
    auto const from_stream = inspect({stream});
    auto const from_file = inspect({}, capture);
    EXPECT_EQ(from_stream.err, "");
    EXPECT_EQ(from_stream.status, 0);
    // Frames of a stream are longer by their place in it.
    std::regex const offset("\"offset\":[0-9]+,");
    EXPECT_EQ(std::regex_replace(from_stream.out, offset, ""), std::regex_replace(from_file.out, offset, ""));
    EXPECT_THAT(from_stream.out, HasSubstr(record_of(1000)));
}

TEST_F(NatsSourceTest, is_followed_until_ctrl_c)
{
    publish(1);
    target.sync();
    Program program({.arguments = {"inspect", "--follow", stream}});
    EXPECT_THAT(program.read_line(), HasSubstr(record_of(1)));
    for (std::uint64_t const request : {2U, 3U}) {
        publish(request);
        target.sync();
        EXPECT_THAT(program.read_line(), HasSubstr(record_of(request)));
    }
    program.send(SIGINT);
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(NatsSourceTest, is_read_twice_by_show)
{
    publish(7);
    publish(8);
    target.sync();
    auto const outcome = run({.arguments = {"show", "last", stream}});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr(record_of(8)));
}

TEST_F(NatsSourceTest, that_does_not_exist_cannot_be_read)
{
    auto const outcome = inspect({server.stream("other")});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "cannot read " + server.stream("other") + ": the servers have no such stream\n");
}

TEST_F(NatsSourceTest, without_a_server_cannot_be_read)
{
    auto const outcome = inspect({"nats://127.0.0.1:1/php"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("cannot read nats://127.0.0.1:1/php: "));
}

TEST_F(NatsSourceTest, of_another_machine_is_wrong_usage_without_encryption)
{
    auto const outcome = inspect({"nats://192.0.2.1/php"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("use tls:// instead of nats://"));
}

TEST_F(NatsSourceTest, takes_the_output_of_a_closed_pipe_as_the_end)
{
    for (std::uint64_t request = 1; request <= 1000; ++request)
        publish(request);
    target.sync();
    Program program({.arguments = {"inspect", stream}});
    EXPECT_THAT(program.read_line(), HasSubstr(record_of(1)));
    program.close_output();
    EXPECT_EQ(program.finish().status, 141);
}

} // namespace
} // namespace tarnwick::test::nats_source_test
