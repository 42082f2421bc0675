#include "live/nats_consumer.h"

#include <fmt/format.h>

#include <cstddef>
#include <span>
#include <thread>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::chrono::seconds longest_outage{120};
/// After it, the servers send a frame again. Frames that a killed recorder had taken come after this time.
constexpr std::chrono::seconds time_to_acknowledge{10};

/// Returns whether a later call can succeed, for example when the servers have chosen another leader.
bool is_outage(natsStatus status)
{
    return status == NATS_NO_RESPONDERS || status == NATS_CONNECTION_DISCONNECTED || status == NATS_ERR ||
           status == NATS_MISSED_HEARTBEAT;
}

/// Repeats a call while the servers cannot answer, for example when they choose a leader.
template <class Call>
natsStatus repeat_in_outage(Call call)
{
    auto const start = std::chrono::steady_clock::now();
    auto status = call();
    while ((status == NATS_TIMEOUT || is_outage(status)) && std::chrono::steady_clock::now() - start < longest_outage) {
        std::this_thread::sleep_for(NatsConsumer::longest_wait);
        status = call();
    }
    return status;
}

std::uint32_t stream_id_of(NatsClient const &client, std::string const &stream)
{
    // The error is that of `state_of`.
    (void)repeat_in_outage([&] {
        jsStreamInfo *info = nullptr;
        auto const status = js_GetStreamInfo(&info, client.jetstream(), stream.c_str(), nullptr, nullptr);
        jsStreamInfo_Destroy(info);
        return status;
    });
    return state_of(client, stream).id;
}

NatsSubscription subscribe_durably(NatsClient const &client, std::string const &stream, std::string const &name)
{
    jsSubOptions options;
    check_nats(jsSubOptions_Init(&options));
    options.Stream = stream.c_str();
    options.Config.AckPolicy = js_AckExplicit;
    options.Config.AckWait = std::chrono::nanoseconds(time_to_acknowledge).count();
    natsSubscription *subscription = nullptr;
    check_nats(repeat_in_outage([&] {
        return js_PullSubscribe(&subscription, client.jetstream(), ">", name.c_str(), nullptr, &options, nullptr);
    }));
    return NatsSubscription(subscription);
}

} // namespace

NatsConsumer::NatsConsumer(NatsAddress const &address, std::string const &name)
    : client_(address)
    , stream_id_(stream_id_of(client_, address.stream()))
    , subscription_(subscribe_durably(client_, address.stream(), name))
    , last_answer_(std::chrono::steady_clock::now())
{
}

std::vector<NatsMessage> NatsConsumer::receive()
{
    auto messages = fetch(max_messages, {});
    return messages.empty() ? fetch(1, longest_wait) : std::move(messages);
}

/// Without time to wait, returns what the server has.
std::vector<NatsMessage> NatsConsumer::fetch(int count, std::chrono::milliseconds wait)
{
    jsFetchRequest request;
    check_nats(jsFetchRequest_Init(&request));
    request.Batch = count;
    request.MaxBytes = max_bytes;
    request.NoWait = wait == wait.zero();
    request.Expires = std::chrono::nanoseconds(request.NoWait ? longest_wait : wait).count();
    natsMsgList list{};
    auto const status = natsSubscription_FetchRequest(&list, subscription_.get(), &request);
    std::vector<NatsMessage> messages;
    for (auto *&message : std::span(list.Msgs, static_cast<std::size_t>(list.Count)))
        messages.emplace_back(std::exchange(message, nullptr));
    natsMsgList_Destroy(&list);

    auto const now = std::chrono::steady_clock::now();
    if (!is_outage(status) || !messages.empty()) {
        last_answer_ = now;
        if (status != NATS_TIMEOUT && messages.empty())
            check_nats(status);
    } else if (now - last_answer_ > longest_outage) {
        check_nats(status);
    } else {
        std::this_thread::sleep_for(longest_wait);
    }
    return messages;
}

void NatsConsumer::acknowledge(std::vector<NatsMessage> const &messages)
{
    for (auto const &message : messages)
        check_nats(natsMsg_Ack(message.get(), nullptr));
    auto const status = natsConnection_FlushTimeout(client_.connection(), longest_wait.count());
    // Acknowledgements that are lost make the servers send the frames again.
    if (natsConnection_IsClosed(client_.connection()))
        check_nats(status);
}

} // namespace tarnwick::program
