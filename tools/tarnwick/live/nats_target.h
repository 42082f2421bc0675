#pragma once

#include "live/nats_client.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Publishes frames to a stream of NATS. A stream that does not exist is created, on three servers if the address names
/// three or more, otherwise on one. A frame whose acknowledgement does not arrive is published again with the same id,
/// by which the server recognises it for two minutes.
class NatsTarget {
public:
    /// More bytes are not sent before the server has acknowledged some.
    static constexpr std::uint64_t max_pending = std::uint64_t{32} << 20;
    /// Without any acknowledgement for so long, publishing fails.
    static constexpr std::chrono::seconds max_outage{120};

    /// Throws `NatsError`.
    explicit NatsTarget(NatsAddress const &address);
    ~NatsTarget() = default;
    NatsTarget(NatsTarget const &) = delete;
    NatsTarget &operator=(NatsTarget const &) = delete;

    /// The largest frame that the server takes, in bytes.
    [[nodiscard]] std::uint64_t max_frame() const;
    /// Publishes a frame. Waits while too much is not acknowledged. Throws `NatsError`.
    void write(std::string_view frame);
    /// Waits until all frames are acknowledged. Throws `NatsError`.
    void flush();

private:
    struct Results;

    static void handle_result(jsCtx *context, natsMsg *message, jsPubAck *acknowledgement, jsPubAckErr *error,
                              void *results);
    void wait_until_at_most(std::uint64_t bytes);
    void publish(NatsMessage message);

    Results &results_;
    NatsClient client_;
    std::string subject_;
    std::string id_prefix_;
    std::uint64_t count_ = 0;
};

} // namespace tarnwick::program
