// Receives a code trace over ZeroMQ and writes it to a file: the dump header, then the chunks unchanged.
//
//     dump_trace ENDPOINT FILE
//
// A trace is one message of several parts: a report of the rpc dialect with the header, then one chunk in each part.

#include <tarnwick/data/codetrace/data.h>
#include <tarnwick/data/codetrace/header.h>

#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <unistd.h>
#include <utility>

#include <zmq.h>

using namespace tarnwick::data::codetrace;

namespace {

bool write_all(int file, char const *bytes, std::uint64_t size)
{
    while (size > 0) {
        auto const written = ::write(file, bytes, size);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            bytes += written;
            size -= static_cast<std::uint64_t>(written);
        }
    }
    return true;
}

bool receive(void *socket, zeromq::msg_t &message)
{
    int result = 0;
    do
        result = zmq_msg_recv(message.handle(), socket, 0);
    while (result < 0 && errno == EINTR);
    return result >= 0;
}

int say(char const *what)
{
    fmt::print(stderr, "{}: {}\n", what, zmq_strerror(errno));
    return 1;
}

/// Returns the header in a part, if there is one.
std::optional<Header> header_in(zeromq::msg_t const &part)
{
    tarnwick::rpc::codetrace::v1::NotifyRequest message;
    if (!message.ParseFromArray(part.data(), static_cast<int>(part.size())) || !message.has_header())
        return std::nullopt;
    return Header(new detail::Header(message));
}

int dump(void *socket, int file)
{
    zeromq::msg_t part;
    if (!receive(socket, part))
        return say("cannot receive");
    bool more = zmq_msg_more(part.handle()) != 0;
    auto const header = header_in(part);
    if (!header) {
        fmt::print(stderr, "the first part is no header of a trace\n");
        return 1;
    }
    auto const &bytes = (*header)->dump_header();
    if (!write_all(file, bytes.data(), bytes.size()))
        return say("cannot write");

    // A chunk is not copied between the socket and write(). Its bytes stay in the block of memory in which ZeroMQ
    // received them, or in the part if it is small.
    while (more) {
        if (!receive(socket, part))
            return say("cannot receive");
        Data const chunk(new detail::Data(std::move(part), (*header)->request_id()));
        if (!write_all(file, chunk->data(), chunk->size()))
            return say("cannot write");
        more = chunk->more();
    }
    return 0;
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): an exception ends the program, as intended
int main(int argc, char **argv)
{
    if (argc != 3) {
        fmt::print(stderr, "usage: dump_trace ENDPOINT FILE\n");
        return 2;
    }
    std::unique_ptr<void, int (*)(void *)> const context(zmq_ctx_new(), zmq_ctx_term);
    std::unique_ptr<void, int (*)(void *)> const socket(zmq_socket(context.get(), ZMQ_PULL), zmq_close);
    if (!socket || zmq_bind(socket.get(), argv[1]) != 0)
        return say(argv[1]);

    int const file = ::open(argv[2], O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0)
        return say(argv[2]);
    int const status = dump(socket.get(), file);
    return ::close(file) == 0 ? status : say(argv[2]);
}
