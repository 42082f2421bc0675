#pragma once

#include "live/frame_target.h"
#include "live/nats_client.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Publishes frames to a stream of NATS. A stream that does not exist is created, on three servers if the address names
/// three or more, otherwise on one. A frame whose acknowledgement does not arrive is published again with the same id,
/// by which the server recognises it for two minutes.
class NatsTarget final : public FrameTarget {
public:
    /// More bytes are not sent before the server has acknowledged some.
    static constexpr std::uint64_t max_pending = std::uint64_t{32} << 20;
    /// Without any acknowledgement for so long, publishing fails.
    static constexpr std::chrono::seconds max_outage{120};

    /// Throws `NatsError`.
    explicit NatsTarget(NatsAddress const &address);

    /// Waits while too much is not acknowledged. These throw `NatsError`.
    void append(std::string_view frame) override;
    /// Resends what failed.
    void flush() override;
    /// Waits until all frames are acknowledged.
    void sync() override;

    [[nodiscard]] std::string const &name() const override { return name_; }
    [[nodiscard]] std::uint64_t written() const override;
    [[nodiscard]] std::uint64_t max_frame() const override;

private:
    struct Results;

    static void handle_result(jsCtx *context, natsMsg *message, jsPubAck *acknowledgement, jsPubAckErr *error,
                              void *results);
    void wait_until_at_most(std::uint64_t bytes);
    void publish(NatsMessage message);

    std::string name_;
    Results &results_;
    NatsClient client_;
    std::string subject_;
    std::string id_prefix_;
    std::uint64_t count_ = 0;
};

} // namespace tarnwick::program
