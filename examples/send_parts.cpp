// Sends files over ZeroMQ as the parts of one message, for dump_trace to receive.
//
//     send_parts ENDPOINT FILE...
//
// Ends when the message has been delivered.

#include <fmt/format.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <zmq.h>

// NOLINTNEXTLINE(bugprone-exception-escape): an exception ends the program, as intended
int main(int argc, char **argv)
{
    if (argc < 3) {
        fmt::print(stderr, "usage: send_parts ENDPOINT FILE...\n");
        return 2;
    }
    std::unique_ptr<void, int (*)(void *)> const context(zmq_ctx_new(), zmq_ctx_term);
    std::unique_ptr<void, int (*)(void *)> const socket(zmq_socket(context.get(), ZMQ_PUSH), zmq_close);
    if (!socket || zmq_connect(socket.get(), argv[1]) != 0) {
        fmt::print(stderr, "{}: {}\n", argv[1], zmq_strerror(errno));
        return 1;
    }
    for (int i = 2; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        if (!file) {
            fmt::print(stderr, "{}: cannot be read\n", argv[i]);
            return 1;
        }
        std::string const bytes(std::istreambuf_iterator<char>(file), {});
        int const further = i + 1 < argc ? ZMQ_SNDMORE : 0;
        if (zmq_send(socket.get(), bytes.data(), bytes.size(), further) < 0) {
            fmt::print(stderr, "{}: {}\n", argv[i], zmq_strerror(errno));
            return 1;
        }
    }
}
