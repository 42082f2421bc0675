#pragma once

#include "live/nats_address.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <nats/nats.h>

namespace tarnwick::program {

/// Failure of the client library or of the server.
class NatsError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

template <auto destroy>
struct NatsDestroy {
    void operator()(auto *object) const noexcept { destroy(object); }
};
using NatsMessage = std::unique_ptr<natsMsg, NatsDestroy<natsMsg_Destroy>>;
using NatsSubscription = std::unique_ptr<natsSubscription, NatsDestroy<natsSubscription_Destroy>>;

/// Throws `NatsError` with what the server or the library reports, unless the status is success.
void check_nats(natsStatus status);

/// The place of a message in its stream.
struct NatsPlace {
    std::uint64_t sequence = 0; ///< its number in the stream, from 1
    std::uint64_t pending = 0;  ///< messages that the consumer gets after it
};

/// Returns the place of a message of a stream. Throws `NatsError`.
NatsPlace place_of(NatsMessage const &message);
std::string_view bytes_of(NatsMessage const &message);

/// A connection to the servers of a stream, encrypted and authenticated with the files that the environment variables
/// `NATS_CA`, `NATS_CERT`, `NATS_KEY` and `NATS_CREDS` name. After a loss of the connection it connects to any of the
/// servers, and gives up after two minutes. The library has threads of its own.
class NatsClient {
public:
    /// Throws `NatsError`. `async`: what to do with acknowledgements of asynchronous publishing.
    explicit NatsClient(NatsAddress const &address, jsOptionsPublishAsync const &async = {});

    [[nodiscard]] natsConnection *connection() const { return connection_.get(); }
    [[nodiscard]] jsCtx *jetstream() const { return jetstream_.get(); }

private:
    std::unique_ptr<natsConnection, NatsDestroy<natsConnection_Destroy>> connection_;
    std::unique_ptr<jsCtx, NatsDestroy<jsCtx_Destroy>> jetstream_;
};

struct NatsStreamState {
    std::uint32_t id = 0; ///< from the stream's name and the time of its creation
    std::uint64_t messages = 0;
    std::uint64_t last_sequence = 0;
};

/// Throws `NatsError`.
NatsStreamState state_of(NatsClient const &client, std::string const &stream);

} // namespace tarnwick::program
