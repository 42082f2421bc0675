// `tarnwick record` to and from streams of NATS.

#include "live/nats_target.h"
#include "support/config_files.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/live.h"
#include "tools/tarnwick/support/nats_server.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::test::nats_record_test {
namespace {

using program::NatsAddress;
using program::NatsTarget;
using testing::AllOf;
using testing::HasSubstr;

std::string end_frame(std::uint64_t request)
{
    return rshutdown_frame_of(request, "response_status: 200").SerializeAsString();
}

std::string record_of(std::uint64_t request)
{
    return "\"request_id\":" + std::to_string(request) + ",";
}

class NatsRecord : public testing::Test {
protected:
    /// Returns the lines of `inspect --follow` from now on.
    [[nodiscard]] static Program follow(std::string const &capture)
    {
        return Program({.arguments = {"inspect", "--follow", capture}});
    }
    static Outcome end(Program &program)
    {
        program.send(SIGTERM);
        return program.finish();
    }
    /// Deletes the position that a recorder of the stream has printed.
    static void delete_position(std::string const &stream, std::string const &line)
    {
        program::NatsClient const client{NatsAddress(stream)};
        auto const name = line.substr(line.rfind(' ') + 1, 25);
        EXPECT_EQ(js_DeleteConsumer(client.jetstream(), "php", name.c_str(), nullptr, nullptr), NATS_OK) << line;
    }

    NatsServer const server;
    ConfigFolder const folder;
    std::string const stream = server.stream("php");
    std::string const file = folder.path() + "/capture.tnw";
};

TEST_F(NatsRecord, publishes_frames_to_a_stream_that_it_creates)
{
    Program recorder({.arguments = {"record", "tcp://127.0.0.1:*", "-o", stream}, .err = Sink::output});
    auto const address = address_from(recorder);
    send_all(address, {end_frame(1), "", end_frame(2)});
    auto reader = follow(stream);
    EXPECT_THAT(reader.read_line(), HasSubstr(record_of(1)));
    EXPECT_THAT(reader.read_line(), HasSubstr(record_of(2)));
    auto const outcome = end(recorder);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("received: 3; written: 2; refused: 1; dropped: 0; requests: 0\n"));
}

TEST_F(NatsRecord, refuses_a_frame_that_the_servers_do_not_take)
{
    Program recorder({.arguments = {"record", "tcp://127.0.0.1:*", "-o", stream}, .err = Sink::output});
    Frame large;
    large.set_raw_post_data(std::string(1'048'576, 'x'));
    send_all(address_from(recorder), {large.SerializeAsString(), end_frame(1)});
    EXPECT_EQ(recorder.read_line(), "refused a frame of " + std::to_string(large.ByteSizeLong()) + " bytes: " + stream +
                                        " takes at most 1048576\n");
    EXPECT_EQ(end(recorder).status, 0);
}

TEST_F(NatsRecord, continues_a_capture_after_the_frames_that_it_has)
{
    NatsTarget target{NatsAddress(stream)};
    auto const record = [&](std::uint64_t first, std::uint64_t last, std::uint64_t written) {
        for (auto request = first; request <= last; ++request)
            target.append(end_frame(request));
        target.sync();
        Program recorder({.arguments = {"record", stream, "-o", file}, .err = Sink::output});
        auto line = recorder.read_line();
        auto reader = follow(file);
        for (std::uint64_t request = 1; request <= last; ++request)
            EXPECT_THAT(reader.read_line(), HasSubstr(record_of(request)));
        auto const outcome = end(recorder);
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        EXPECT_THAT(outcome.out, HasSubstr("written: " + std::to_string(written) + ";"));
        return line;
    };
    auto const line = record(1, 3, 3);
    record(4, 5, 2);
    // Without its position, the recorder receives all frames again.
    delete_position(stream, line);
    record(6, 6, 1);
    EXPECT_EQ(inspect({file}).out, inspect({stream}).out);
}

TEST_F(NatsRecord, takes_frames_of_another_stream_with_the_same_numbers)
{
    auto const other = server.stream("other");
    for (auto const &name : {stream, other}) {
        NatsTarget target{NatsAddress(name)};
        target.append(end_frame(1));
        target.sync();
        Program recorder({.arguments = {"record", name, "-o", file}, .err = Sink::output});
        ASSERT_THAT(recorder.read_line(), HasSubstr("receiving from " + name));
        auto reader = follow(file);
        for (int i = 0; i < (name == other ? 2 : 1); ++i)
            EXPECT_THAT(reader.read_line(), HasSubstr(record_of(1)));
        EXPECT_EQ(end(recorder).status, 0);
    }
}

TEST_F(NatsRecord, refuses_arguments_that_do_not_suit_a_stream)
{
    struct Case {
        std::vector<std::string> arguments;
        std::string message;
    };
    for (auto const &[arguments, message] : {
             Case{{stream, stream, "-o", file}, "a stream is recorded alone"},
             Case{{stream, "-o", server.stream("other")}, "a stream is recorded to a file"},
             Case{{"ipc:///tmp/s", "-o", stream, "--rotate=1h"}, "--rotate: only for a file"},
             Case{{"ipc:///tmp/s", "-o", "nats://192.0.2.1/php"}, "use tls:// instead"},
         }) {
        auto all = arguments;
        all.insert(all.begin(), "record");
        auto const outcome = run({.arguments = all});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr(message));
    }
}

TEST_F(NatsRecord, ends_if_there_is_no_server_or_no_stream)
{
    for (auto const &[arguments, message] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"record", server.stream("other"), "-o", file}, "tarnwick: the servers have no such stream\n"},
             {{"record", "ipc://" + folder.path() + "/s", "-o", "nats://127.0.0.1:1/php"},
              "tarnwick: cannot connect to nats://127.0.0.1:1/php: "}}) {
        auto const outcome = run({.arguments = arguments});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_THAT(outcome.err, HasSubstr(message));
    }
}

} // namespace
} // namespace tarnwick::test::nats_record_test
