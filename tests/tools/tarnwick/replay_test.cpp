// `tarnwick replay`: the frames that a receiver gets, messages, and the exit status.

#include "support/table.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>
#include <zmq.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwick::test::replay_test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

using Frames = std::vector<std::string>;

/// A socket that receives frames.
class Receiver {
public:
    explicit Receiver(std::string const &address = "tcp://127.0.0.1:*")
        : context_(zmq_ctx_new())
        , socket_(zmq_socket(context_, ZMQ_PULL))
    {
        // The queue is short, so that the program waits for the test. A program that sends nothing fails the test.
        for (auto const &[option, value] : {std::pair{ZMQ_RCVHWM, 1}, {ZMQ_RCVTIMEO, 60'000}, {ZMQ_LINGER, 0}})
            EXPECT_EQ(zmq_setsockopt(socket_, option, &value, sizeof value), 0);
        EXPECT_EQ(zmq_bind(socket_, address.c_str()), 0) << address;
        std::array<char, 256> text{};
        auto size = text.size();
        EXPECT_EQ(zmq_getsockopt(socket_, ZMQ_LAST_ENDPOINT, text.data(), &size), 0);
        endpoint_ = text.data();
    }
    ~Receiver()
    {
        zmq_close(socket_);
        zmq_ctx_term(context_);
    }
    Receiver(Receiver const &) = delete;
    Receiver &operator=(Receiver const &) = delete;

    [[nodiscard]] std::string const &endpoint() const { return endpoint_; }

    std::string receive()
    {
        zmq_msg_t message;
        zmq_msg_init(&message);
        EXPECT_GE(zmq_msg_recv(&message, socket_, 0), 0) << zmq_strerror(zmq_errno());
        EXPECT_EQ(zmq_msg_more(&message), 0);
        std::string bytes(static_cast<char const *>(zmq_msg_data(&message)), zmq_msg_size(&message));
        zmq_msg_close(&message);
        return bytes;
    }
    Frames receive(std::size_t count)
    {
        Frames frames;
        while (frames.size() < count && !testing::Test::HasFailure())
            frames.push_back(receive());
        return frames;
    }

private:
    void *context_;
    void *socket_;
    std::string endpoint_;
};

Frame received_at(std::int64_t seconds)
{
    auto frame = rshutdown_frame_of(1, "response_status: 200");
    frame.mutable_received()->set_seconds(seconds);
    return frame;
}

/// An `ipc` address that no other test uses.
class Address {
public:
    [[nodiscard]] std::string text() const { return "ipc://" + file_.name() + ".sock"; }

private:
    TemporaryFile file_{""};
};

std::string const first = rshutdown_frame_of(1, "response_status: 200").SerializeAsString();
std::string const second = rshutdown_frame_of(2, "response_status: 500").SerializeAsString();
std::string const rpc = rpc_php_frame_of("request_id { id: 2 } rshutdown {}").SerializeAsString();
std::string const bad_report = rpc_php_frame("\xff").SerializeAsString();
/// Fields in an unusual order, and a field that is unknown.
std::string const unusual = std::string("\xaa\x01\x02\x08\x02") + "\x08\x05" + padding(3);

struct Sending {
    std::string name;
    std::string capture;
    std::vector<std::string> options;
    Frames frames;
    int status;
    std::string err;
};

class Replays : public TableTest<Sending> {
protected:
    /// Runs the program with a capture, and returns the frames that arrive.
    static void expect_frames(std::string const &file, std::string_view input)
    {
        Receiver receiver;
        std::vector<std::string> arguments{"replay"};
        arguments.insert(arguments.end(), GetParam().options.begin(), GetParam().options.end());
        arguments.insert(arguments.end(), {file, receiver.endpoint()});
        Program program({.arguments = arguments});
        program.write(input);
        program.close_input();
        EXPECT_EQ(receiver.receive(GetParam().frames.size()), GetParam().frames);
        auto const outcome = program.finish();
        EXPECT_EQ(outcome.status, GetParam().status);
        EXPECT_EQ(outcome.out, "");
        auto const expected = GetParam().err.empty() && !GetParam().frames.empty()
                                  ? "frames sent: " + std::to_string(GetParam().frames.size()) + "\n"
                                  : GetParam().err;
        EXPECT_THAT(outcome.err, testing::EndsWith(expected));
    }
};

TEST_P(Replays, frames_of_a_file)
{
    TemporaryFile const file(GetParam().capture);
    expect_frames(file.name(), {});
}

TEST_P(Replays, frames_of_standard_input)
{
    expect_frames("-", GetParam().capture);
}

std::string const dialects = delimited(first) + delimited(rpc) + delimited(second);

INSTANTIATE_TEST_SUITE_P(
    Captures, Replays,
    testing::Values(
        Sending{"in_order", delimited(first) + delimited(second), {}, {first, second}, 0, ""},
        Sending{"unusual_bytes", delimited(unusual), {}, {unusual}, 0, ""},
        Sending{"length_of_unusual_size", std::string("\x88\0", 2) + first, {}, {first}, 0, ""},
        Sending{"report_that_does_not_parse", delimited(bad_report) + delimited(first), {}, {bad_report, first}, 0, ""},
        Sending{"report_of_an_unknown_kind",
                delimited("\x08\x05" + field_head(99, 2) + "ab") + delimited(first),
                {},
                {first},
                0,
                "frame 1 at byte 0: skipped: no report of a known kind\nframes sent: 1\n"},
        Sending{"damage",
                delimited(first) + delimited("\xff\xff\xff") + delimited(second),
                {},
                {first, second},
                1,
                "frame 2 at byte 9: this is not a frame\nframes sent: 2\n"},
        Sending{"no_frame_of_the_request",
                dialects,
                {"--request=3"},
                {},
                2,
                "no frame to send\ntarnwick: no request has the id 3; the ids of requests are 1, 2\n"},
        Sending{"no_frame_in_a_loop",
                dialects,
                {"--request=3", "--loop"},
                {},
                2,
                "no frame to send\ntarnwick: no request has the id 3; the ids of requests are 1, 2\n"},
        Sending{"no_capture", "text", {"--loop"}, {}, 1, "no frame to send\n"},
        Sending{"request", dialects, {"--request=2"}, {rpc, second}, 0, ""},
        Sending{"requests", dialects, {"--request=2", "--request=1"}, {first, rpc, second}, 0, ""},
        Sending{"dialect", dialects, {"--dialect=protobuf"}, {first, second}, 0, ""},
        Sending{"request_and_dialect", dialects, {"--request=2", "--dialect=protobuf"}, {second}, 0, ""},
        Sending{"condition", dialects, {"--where=status=200"}, {first}, 0, ""},
        Sending{"conditions", dialects, {"--where=status<200", "--where=request_id!=1"}, {rpc, second}, 0, ""},
        Sending{"record", dialects, {"--record=RShutdown", "--dialect=rpc"}, {rpc}, 0, ""},
        Sending{"first_request", dialects, {"--top=1"}, {first}, 0, ""},
        Sending{"first_request_of_an_order", dialects, {"--top=1", "--sort=request_id:desc"}, {rpc, second}, 0, ""},
        Sending{"chosen_report_that_does_not_parse",
                delimited(bad_report) + delimited(first),
                {"--request=1"},
                {first},
                1,
                "the report is not a valid tarnwick.rpc.php.v1.NotifyRequest\nframes sent: 1\n"},
        Sending{"times_that_are_far_apart_at_a_rate",
                delimited(received_at(0)) + delimited(received_at(1'000'000'000)),
                {"--rate=1e6"},
                {received_at(0).SerializeAsString(), received_at(1'000'000'000).SerializeAsString()},
                0,
                ""},
        Sending{"times_that_are_far_apart_at_a_speed",
                delimited(received_at(0)) + delimited(received_at(1'000'000'000)),
                {"--speed=1e15"},
                {received_at(0).SerializeAsString(), received_at(1'000'000'000).SerializeAsString()},
                0,
                ""}),
    by_name);

std::string delimited_all(Frames const &frames)
{
    std::string all;
    for (auto const &frame : frames)
        all += delimited(frame);
    return all;
}

TEST(Replay, sends_a_real_capture_byte_for_byte)
{
    std::string const name = TARNWICK_CAPTURES "/errors.tnw";
    std::ifstream file(name, std::ios::binary);
    std::string const capture{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    Receiver receiver;
    Program program({.arguments = {"replay", "--rate=1e9", name, receiver.endpoint()}});
    std::string copy;
    while (copy.size() < capture.size() && !HasFailure())
        copy += delimited(receiver.receive());
    EXPECT_EQ(copy, capture);
    EXPECT_EQ(program.finish().status, 0);
}

TEST(Replay, sends_all_frames_to_a_slow_receiver)
{
    Frames frames;
    for (std::uint64_t id = 0; id < 100; ++id) {
        Frame frame;
        frame.set_request_id(id);
        frame.set_ct_data(std::string(200'000, 'x'));
        frames.push_back(frame.SerializeAsString());
    }
    Receiver receiver;
    TemporaryFile const file(delimited_all(frames));
    Program program({.arguments = {"replay", file.name(), receiver.endpoint()}});
    EXPECT_EQ(receiver.receive(frames.size()), frames);
    EXPECT_EQ(program.finish().err, "frames sent: 100\n");
}

TEST(Replay, waits_for_the_time_of_a_frame)
{
    Receiver receiver;
    Program program({.arguments = {"replay", "-", receiver.endpoint()}});
    program.write(delimited(received_at(0)) + delimited(received_at(1'000'000'000)));
    program.close_input();
    EXPECT_EQ(receiver.receive(), received_at(0).SerializeAsString());
    program.send(SIGINT);
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.err, "frames sent: 1; interrupted before the end\n");
    EXPECT_EQ(outcome.status, 3);
}

TEST(Replay, ends_at_ctrl_c_while_it_waits_for_input)
{
    Receiver receiver;
    Program program({.arguments = {"replay", receiver.endpoint()}});
    program.write(delimited(first));
    EXPECT_EQ(receiver.receive(), first);
    program.send(SIGINT);
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.err, "frames sent: 1; interrupted before the end\n");
    EXPECT_EQ(outcome.status, 3);
}

TEST(Replay, repeats_captures_until_ctrl_c)
{
    TemporaryFile const file(delimited(first));
    Receiver receiver;
    Program program({.arguments = {"replay", "--loop", file.name(), "-", receiver.endpoint()}});
    program.write(delimited(second));
    program.close_input();
    EXPECT_THAT(receiver.receive(5), ElementsAre(first, second, first, second, first));
    program.send(SIGINT);
    auto const outcome = program.finish();
    EXPECT_THAT(outcome.err, MatchesRegex("frames sent: [0-9]+\n"));
    EXPECT_EQ(outcome.status, 0);
}

TEST(Replay, shows_progress_on_a_terminal)
{
    TemporaryFile const file(delimited(first));
    Receiver receiver;
    Program program({.arguments = {"replay", file.name(), receiver.endpoint()},
                     .err = Sink::terminal,
                     .environment = {"TERM=xterm"}});
    EXPECT_THAT(receiver.receive(1), ElementsAre(first));
    auto const outcome = program.finish();
    EXPECT_THAT(outcome.err, HasSubstr("\r\x1b[K" + receiver.endpoint() + ": 1 frames sent, "));
    EXPECT_THAT(outcome.err, EndsWith("\r\x1b[Kframes sent: 1\n"));
}

TEST(Replay, reports_faults_once_in_a_loop)
{
    Receiver receiver;
    Program program({.arguments = {"replay", "--loop", "-", receiver.endpoint()}});
    program.write(delimited(first) + delimited("\xff\xff\xff") + delimited(second));
    program.close_input();
    EXPECT_THAT(receiver.receive(4), ElementsAre(first, second, first, second));
    program.send(SIGINT);
    auto const outcome = program.finish();
    EXPECT_THAT(outcome.err, MatchesRegex("-: frame 2 at byte 9: this is not a frame\nframes sent: [0-9]+\n"));
    EXPECT_EQ(outcome.status, 1);
}

TEST(Replay, waits_for_a_receiver)
{
    Address const address;
    Program program({.arguments = {"replay", address.text()}, .err = Sink::output});
    program.write(delimited(first));
    program.close_input();
    EXPECT_EQ(program.read_line(), "waiting for a program that listens at " + address.text() + "\n");
    Receiver receiver(address.text());
    EXPECT_EQ(receiver.receive(), first);
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.out, "frames sent: 1\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST(Replay, ends_at_ctrl_c_while_it_waits_for_a_receiver)
{
    Address const address;
    Program program({.arguments = {"replay", address.text()}, .err = Sink::output});
    program.write(delimited(first));
    program.close_input();
    EXPECT_THAT(program.read_line(), HasSubstr("waiting for a program"));
    program.send(SIGINT);
    auto const outcome = program.finish();
    EXPECT_EQ(outcome.out, "frames sent: 0; interrupted before the end\n");
    EXPECT_EQ(outcome.status, 3);
}

TEST(Replay, continues_with_the_next_receiver)
{
    Address const address;
    TemporaryFile const file(delimited(first));
    Program program({.arguments = {"replay", "--loop", file.name(), address.text()}});
    for (int i = 0; i < 2; ++i) {
        Receiver receiver(address.text());
        EXPECT_EQ(receiver.receive(), first);
    }
    program.send(SIGINT);
    EXPECT_EQ(program.finish().status, 0);
}

TEST(Replay, reports_a_file_that_does_not_exist)
{
    Receiver const receiver;
    auto const outcome = run({.arguments = {"replay", "/no/such/file", receiver.endpoint()}});
    EXPECT_EQ(outcome.err, "cannot read /no/such/file: No such file or directory\nno frame to send\n");
    EXPECT_EQ(outcome.status, 3);
}

struct Usage {
    std::string name;
    std::vector<std::string> arguments;
    std::string message;
};

class ReplayUsage : public TableTest<Usage> {};

TEST_P(ReplayUsage, is_refused)
{
    auto arguments = GetParam().arguments;
    arguments.insert(arguments.begin(), "replay");
    auto const outcome = run({.arguments = arguments});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, ReplayUsage,
    testing::Values(Usage{"no_endpoint", {}, "the address of the receiver is required"},
                    Usage{"file_as_endpoint", {"a.tnw"}, "'a.tnw' is neither tcp://HOST:PORT nor ipc://PATH"},
                    Usage{"other_machine", {"tcp://192.0.2.1:5555"}, "use --curve-keys"},
                    Usage{"standard_input_twice", {"-", "-", "tcp://127.0.0.1:1"}, "can be read only once"},
                    Usage{"speed_of_zero", {"--speed=0", "tcp://127.0.0.1:1"}, "--speed: '0' is not a number above 0"},
                    Usage{"negative_rate", {"--rate=-1", "tcp://127.0.0.1:1"}, "--rate: '-1' is not a number above 0"},
                    Usage{"infinite_speed", {"--speed=inf", "tcp://127.0.0.1:1"}, "--speed: 'inf' is not a number"},
                    Usage{"no_number", {"--speed=fast", "tcp://127.0.0.1:1"}, "--speed: 'fast' is not a number"},
                    Usage{"speed_and_rate", {"--speed=2", "--rate=1", "tcp://127.0.0.1:1"}, "--speed: not with --rate"},
                    Usage{"unknown_column", {"--where=statu=5", "tcp://127.0.0.1:1"}, "status"}),
    by_name);

} // namespace
} // namespace tarnwick::test::replay_test
