#pragma once

// Senders of frames, and programs that receive them.

#include "files.h"
#include "program.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <sys/inotify.h>
#include <unistd.h>
#include <vector>

#include <zmq.h>

namespace tarnwick::test {

/// PUSH socket. Its end waits until the messages are delivered to the system.
class Sender {
public:
    explicit Sender(std::string const &endpoint)
        : context_(zmq_ctx_new(), zmq_ctx_term)
        , socket_(zmq_socket(context_.get(), ZMQ_PUSH), zmq_close)
    {
        EXPECT_EQ(zmq_connect(socket_.get(), endpoint.c_str()), 0) << endpoint;
    }

    void set(int option, int value) { EXPECT_EQ(zmq_setsockopt(socket_.get(), option, &value, sizeof value), 0); }
    /// Returns false if the time of ZMQ_SNDTIMEO has passed.
    bool send(std::string_view bytes, int flags = 0)
    {
        return zmq_send(socket_.get(), bytes.data(), bytes.size(), flags) >= 0;
    }

private:
    std::unique_ptr<void, int (*)(void *)> context_;
    std::unique_ptr<void, int (*)(void *)> socket_;
};

inline void send_all(std::string const &endpoint, std::vector<std::string> const &messages)
{
    Sender sender(endpoint);
    for (auto const &message : messages)
        EXPECT_TRUE(sender.send(message));
}

/// Waits until a condition on the files of a folder is true.
inline void wait_for(std::filesystem::path const &folder, std::function<bool()> const &condition)
{
    Descriptor const inotify(::inotify_init1(IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(inotify, folder.c_str(), IN_MODIFY | IN_CREATE | IN_MOVED_TO), 0);
    std::array<char, sizeof(inotify_event) + NAME_MAX + 1> events{};
    while (!condition())
        ASSERT_GT(::read(inotify, events.data(), events.size()), 0);
}

inline void wait_for_size(std::filesystem::path const &file, std::uintmax_t size)
{
    wait_for(file.parent_path(), [&] {
        std::error_code error;
        auto const reached = std::filesystem::file_size(file, error);
        return !error && reached >= size;
    });
}

/// Returns the next address that a program prints, whose outputs both go to the test.
inline std::string address_from(Program &program)
{
    auto const line = program.read_line();
    auto const begin = line.find("://");
    EXPECT_NE(begin, std::string::npos) << line;
    auto const start = line.rfind(' ', begin) + 1;
    return line.substr(start, line.size() - start - 1);
}

} // namespace tarnwick::test
