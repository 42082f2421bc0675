// Receives messages over ZeroMQ and writes their bytes to a file, nothing else: bare_pull ENDPOINT COUNT FILE [WAITING]
//
// Ends after COUNT messages. WAITING is the number of messages that wait for each sender, by default that of ZeroMQ.

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <zmq.h>

int main(int argc, char **argv)
{
    if (argc < 4) {
        std::fputs("usage: bare_pull ENDPOINT COUNT FILE [WAITING]\n", stderr);
        return 2;
    }
    std::unique_ptr<void, int (*)(void *)> const context(zmq_ctx_new(), zmq_ctx_term);
    std::unique_ptr<void, int (*)(void *)> const socket(zmq_socket(context.get(), ZMQ_PULL), zmq_close);
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> const file(std::fopen(argv[3], "wb"), std::fclose);
    int const waiting = argc > 4 ? static_cast<int>(std::strtol(argv[4], nullptr, 10)) : 1000;
    if (!socket || !file || zmq_setsockopt(socket.get(), ZMQ_RCVHWM, &waiting, sizeof waiting) != 0 ||
        zmq_bind(socket.get(), argv[1]) != 0) {
        std::fprintf(stderr, "%s: %s\n", argv[1], zmq_strerror(zmq_errno()));
        return 1;
    }
    zmq_msg_t message;
    zmq_msg_init(&message);
    for (auto left = std::strtoull(argv[2], nullptr, 10); left > 0; --left) {
        if (zmq_msg_recv(&message, socket.get(), 0) < 0 ||
            std::fwrite(zmq_msg_data(&message), 1, zmq_msg_size(&message), file.get()) != zmq_msg_size(&message)) {
            std::perror(argv[3]);
            return 1;
        }
    }
    return zmq_msg_close(&message) == 0 && std::fflush(file.get()) == 0 ? 0 : 1;
}
