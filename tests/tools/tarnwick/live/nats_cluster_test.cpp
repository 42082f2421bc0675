// Three servers, of which one is killed, and a recorder that is killed: no frame is lost, and none is twice in the
// capture.

#include "capture/capture_reader.h"
#include "capture/input_file.h"
#include "live/nats_target.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tarnwick::test::nats_cluster_test {
namespace {

using program::AtEnd;
using program::CaptureReader;
using program::InputFile;
using program::NatsAddress;
using program::NatsTarget;
using testing::EndsWith;
using testing::StartsWith;

constexpr std::uint64_t senders = 4;
constexpr std::uint64_t frames_of_sender = 25'000;

/// The servers of examples/nats.
class Cluster {
public:
    Cluster()
    {
        EXPECT_THAT(address_, EndsWith("/php\n"));
        address_.resize(address_.find('\n'));
    }

    [[nodiscard]] std::string const &address() const { return address_; }
    /// Kills a server. It is started again.
    void kill_server(int number) const
    {
        pid_t pid = 0;
        std::ifstream(folder_.filePath(QString::number(number) + QStringLiteral(".pid")).toStdString()) >> pid;
        EXPECT_EQ(::kill(pid, SIGKILL), 0);
    }
    void stop()
    {
        servers_.send(SIGTERM);
        EXPECT_EQ(servers_.finish().status, 0);
    }

private:
    /// Returns the first of six ports. Tests that run at the same time use others, and the system chooses none of them.
    static std::string first_port() { return std::to_string(20'000 + ::getpid() % 2'000 * 6); }

    QTemporaryDir folder_;
    Program servers_{{.arguments = {folder_.path().toStdString(), first_port()},
                      .program = TARNWICK_SOURCES "/examples/nats/start"}};
    std::string address_ = servers_.read_line();
};

void send_frames(std::string const &address, std::uint64_t sender)
{
    NatsTarget target{NatsAddress(address)};
    for (std::uint64_t i = 0; i < frames_of_sender; ++i) {
        Frame frame;
        frame.set_request_id(sender * frames_of_sender + i);
        frame.set_rshutdown("");
        target.append(frame.SerializeAsString());
    }
    target.sync();
}

/// How often each request id occurs in a capture that grows.
class FollowedCapture {
public:
    explicit FollowedCapture(std::string const &name)
        : input_(name, {}, AtEnd::follow)
    {
    }

    /// Reads until there are so many different ids.
    void read_until(std::size_t count)
    {
        while (requests_.size() < count) {
            ASSERT_EQ(reader_.next(), CaptureReader::Step::frame) << reader_.problem();
            ++requests_[reader_.frame().request_id()];
        }
    }

private:
    InputFile input_;
    CaptureReader reader_{input_};
    std::map<std::uint64_t, int> requests_;
};

/// Returns how often each request id occurs in a capture.
std::map<std::uint64_t, int> requests_in(std::string const &name)
{
    std::map<std::uint64_t, int> requests;
    InputFile input(name);
    CaptureReader reader(input);
    auto step = reader.next();
    for (; step == CaptureReader::Step::frame; step = reader.next())
        ++requests[reader.frame().request_id()];
    EXPECT_EQ(step, CaptureReader::Step::end) << reader.problem();
    return requests;
}

TEST(NatsCluster, loses_no_frame_and_repeats_none_when_a_server_and_the_recorder_are_killed)
{
    Cluster cluster;
    TemporaryFile const capture("");
    FollowedCapture followed(capture.name());
    test::Setup const record{.arguments = {"record", cluster.address(), "-o", capture.name()}, .err = Sink::output};

    // The first sender creates the stream.
    send_frames(cluster.address(), 0);
    std::vector<std::jthread> threads;
    for (std::uint64_t sender = 1; sender < senders; ++sender)
        threads.emplace_back([&, sender] { send_frames(cluster.address(), sender); });
    {
        Program recorder(record);
        ASSERT_THAT(recorder.read_line(), StartsWith("receiving from "));
        followed.read_until(frames_of_sender / 2);
        cluster.kill_server(1);
        recorder.send(SIGKILL);
        EXPECT_EQ(recorder.finish().status, -1);
    }
    Program recorder(record);
    ASSERT_THAT(recorder.read_line(), StartsWith("receiving from "));
    followed.read_until(senders * frames_of_sender);
    for (auto &thread : threads)
        thread.join();
    recorder.send(SIGINT);
    auto const outcome = recorder.finish();
    EXPECT_EQ(outcome.status, 0) << outcome.out;

    auto const requests = requests_in(capture.name());
    EXPECT_EQ(requests.size(), senders * frames_of_sender);
    for (auto const &[request, count] : requests)
        ASSERT_EQ(count, 1) << request;
    cluster.stop();
}

} // namespace
} // namespace tarnwick::test::nats_cluster_test
