// Sends frames over ZeroMQ: send_frames ENDPOINT COUNT SIZE [RATE]
//
// Each frame has the end of a request with an id of its own, and SIZE bytes that no record has. They start with the time
// of the steady clock in nanoseconds, for frame_delay. RATE is the number of
// frames per second; without it, frames are sent as fast as possible. Ends when all are delivered to the system.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include <zmq.h>

namespace {

void append_varint(std::string &bytes, std::uint64_t value)
{
    for (; value >= 0x80; value >>= 7U)
        bytes.push_back(static_cast<char>((value & 0x7fU) | 0x80U));
    bytes.push_back(static_cast<char>(value));
}

void append_head(std::string &bytes, unsigned field, unsigned wire_type)
{
    append_varint(bytes, std::uint64_t{field} << 3U | wire_type);
}

std::string frame(std::uint64_t request_id, std::string const &padding)
{
    constexpr unsigned request_id_field = 1;
    constexpr unsigned rshutdown_field = 21;
    constexpr unsigned unknown_field = 10'000;
    std::string report;
    append_head(report, unknown_field, 2);
    append_varint(report, padding.size());
    report += padding;
    std::string bytes;
    append_head(bytes, request_id_field, 0);
    append_varint(bytes, request_id);
    append_head(bytes, rshutdown_field, 2);
    append_varint(bytes, report.size());
    return bytes + report;
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): an exception ends the program, as intended
int main(int argc, char **argv)
{
    if (argc < 4) {
        std::fputs("usage: send_frames ENDPOINT COUNT SIZE [RATE]\n", stderr);
        return 2;
    }
    auto const count = std::strtoull(argv[2], nullptr, 10);
    std::string padding(std::strtoull(argv[3], nullptr, 10), 'x');
    auto const rate = argc > 4 ? std::strtoull(argv[4], nullptr, 10) : 0;
    std::unique_ptr<void, int (*)(void *)> const context(zmq_ctx_new(), zmq_ctx_term);
    std::unique_ptr<void, int (*)(void *)> const socket(zmq_socket(context.get(), ZMQ_PUSH), zmq_close);
    if (!socket || zmq_connect(socket.get(), argv[1]) != 0) {
        std::fprintf(stderr, "%s: %s\n", argv[1], zmq_strerror(zmq_errno()));
        return 1;
    }
    auto const start = std::chrono::steady_clock::now();
    for (std::uint64_t i = 0; i < count; ++i) {
        std::int64_t const now = std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
        std::memcpy(padding.data(), &now, std::min(padding.size(), sizeof now));
        auto const bytes = frame(i + 1, padding);
        if (zmq_send(socket.get(), bytes.data(), bytes.size(), 0) < 0) {
            std::fprintf(stderr, "%s: %s\n", argv[1], zmq_strerror(zmq_errno()));
            return 1;
        }
        if (rate > 0)
            std::this_thread::sleep_until(start + std::chrono::nanoseconds(1'000'000'000 * (i + 1) / rate));
    }
}
