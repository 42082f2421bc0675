#pragma once

#include "live/nats_client.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Receives the frames of a stream from a position that the servers keep under a name. Each frame is sent until it is
/// acknowledged, so a frame can come twice, and after others that follow it in the stream.
class NatsConsumer {
public:
    /// A call of `receive` waits at most so long.
    static constexpr std::chrono::milliseconds longest_wait{200};
    /// The most frames and bytes that a call of `receive` returns. No server takes a larger frame.
    static constexpr int max_messages = 1000;
    static constexpr std::int64_t max_bytes = std::int64_t{64} << 20;

    /// Continues at the position of this name, which starts before the first frame. Throws `NatsError`.
    NatsConsumer(NatsAddress const &address, std::string const &name);

    [[nodiscard]] std::uint32_t stream_id() const { return stream_id_; }

    /// Returns the frames that have arrived; waits if there are none. Throws `NatsError`, not for an outage that can
    /// end.
    std::vector<NatsMessage> receive();
    /// Throws `NatsError`. Returns when the servers have all acknowledgements.
    void acknowledge(std::vector<NatsMessage> const &messages);

private:
    std::vector<NatsMessage> fetch(int count, std::chrono::milliseconds wait);

    NatsClient client_;
    std::uint32_t stream_id_;
    NatsSubscription subscription_;
    std::chrono::steady_clock::time_point last_answer_;
};

} // namespace tarnwick::program
