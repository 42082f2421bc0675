#include "live/nats_source.h"

#include "capture/varint.h"
#include "live/nats_client.h"
#include "live/stream_frame.h"
#include "print/output.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>

namespace tarnwick::program {
namespace {

constexpr std::int64_t milliseconds_between_checks = 200;

/// The server sends the messages of an ordered consumer again from the first one that is missing.
NatsSubscription subscribe_in_order(NatsClient const &client, std::string const &stream)
{
    jsSubOptions options;
    check_nats(jsSubOptions_Init(&options));
    options.Stream = stream.c_str();
    options.Ordered = true;
    natsSubscription *subscription = nullptr;
    check_nats(js_SubscribeSync(&subscription, client.jetstream(), ">", nullptr, &options, nullptr));
    return NatsSubscription(subscription);
}

/// Returns null if none comes.
NatsMessage next_message(NatsSubscription const &subscription)
{
    natsMsg *message = nullptr;
    auto const status = natsSubscription_NextMsg(&message, subscription.get(), milliseconds_between_checks);
    // The client library asks for what is missing.
    if (status != NATS_TIMEOUT && status != NATS_MISSED_HEARTBEAT && status != NATS_MISMATCH)
        check_nats(status);
    return NatsMessage(message);
}

} // namespace

void NatsSource::check(std::string const &address)
{
    (void)NatsAddress(address);
}

NatsSource::NatsSource(std::string const &address, bool follows)
    : address_(address)
    , follows_(follows)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category());
    reading_end_ = ends[0];
    writing_end_ = ends[1];
    thread_ = std::thread([this] { run(); });
}

NatsSource::~NatsSource()
{
    is_stopped_ = true;
    if (thread_.joinable())
        thread_.join();
}

std::string const &NatsSource::problem()
{
    // The end of the pipe does not order the accesses to memory.
    if (thread_.joinable())
        thread_.join();
    return problem_;
}

void NatsSource::run()
{
    try {
        receive();
    } catch (BrokenPipe const &) { // NOLINT(bugprone-empty-catch): nobody reads any more
    } catch (std::exception const &error) {
        problem_ = error.what();
    }
    ::close(writing_end_);
}

void NatsSource::receive()
{
    NatsClient const client(address_);
    auto const state = state_of(client, address_.stream());
    if (!follows_ && state.messages == 0)
        return;
    auto const subscription = subscribe_in_order(client, address_.stream());
    Output output(writing_end_);
    while (!is_stopped_) {
        auto const message = next_message(subscription);
        if (!message) {
            output.flush();
            continue;
        }
        auto const [sequence, pending] = place_of(message);
        auto const frame = stream_frame(bytes_of(message), {.stream = state.id, .sequence = sequence});
        std::string length;
        append_varint(length, frame.size());
        output.write(length);
        output.write(frame);
        if (pending == 0)
            output.flush();
        if (!follows_ && (sequence >= state.last_sequence || pending == 0))
            break;
    }
    output.flush();
}

} // namespace tarnwick::program
