#include "live/nats_target.h"

#include <fmt/format.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <thread>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::size_t servers_of_replicated_stream = 3;
constexpr std::int64_t milliseconds_until_repeated = 5000;
constexpr std::chrono::milliseconds time_between_attempts{100};
constexpr int attempts_to_create_stream = 400;

using StreamInfo = std::unique_ptr<jsStreamInfo, NatsDestroy<jsStreamInfo_Destroy>>;

StreamInfo find_stream(NatsClient const &client, std::string const &name)
{
    jsStreamInfo *info = nullptr;
    auto const status = js_GetStreamInfo(&info, client.jetstream(), name.c_str(), nullptr, nullptr);
    if (status != NATS_NOT_FOUND)
        check_nats(status);
    return StreamInfo(info);
}

StreamInfo create_stream(NatsClient const &client, NatsAddress const &address)
{
    auto const *name = address.stream().c_str();
    jsStreamConfig config;
    check_nats(jsStreamConfig_Init(&config));
    config.Name = name;
    config.Subjects = &name;
    config.SubjectsLen = 1;
    config.Replicas = address.servers().size() < servers_of_replicated_stream ? 1 : servers_of_replicated_stream;
    jsStreamInfo *info = nullptr;
    auto status = NATS_OK;
    auto error = JSClusterNoPeersErr;
    // Servers that have just started may not know each other for up to ten seconds.
    for (int attempt = 0; attempt < attempts_to_create_stream; ++attempt) {
        status = js_AddStream(&info, client.jetstream(), &config, nullptr, &error);
        if (error != JSClusterNoPeersErr && error != JSClusterNotAvailErr)
            break;
        std::this_thread::sleep_for(time_between_attempts);
    }
    check_nats(status);
    return StreamInfo(info);
}

std::string random_prefix()
{
    std::random_device random;
    return fmt::format("{:08x}{:08x}", random(), random());
}

/// Returns whether the same message can be accepted later, for example when the servers have chosen another leader.
bool is_temporary(jsPubAckErr const &error)
{
    return error.ErrCode == 0 || error.ErrCode == JSClusterNotAvailErr || error.ErrCode == JSClusterNotLeaderErr;
}

} // namespace

/// What the library's threads report about the frames that were sent.
struct NatsTarget::Results {
    /// The threads can call the handler for a moment after the connection is closed, so the results live as long as the
    /// process. Several threads can create them.
    static Results &create()
    {
        static auto &all = *new std::deque<Results>();
        static std::mutex creation;
        std::lock_guard const lock(creation);
        return all.emplace_back();
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::uint64_t pending = 0;          ///< bytes without acknowledgement
    std::uint64_t written = 0;          ///< frames with acknowledgement
    std::deque<NatsMessage> failed;     ///< to be published again
    std::optional<std::string> refusal; ///< why the server does not take a frame
    std::chrono::steady_clock::time_point last_success = std::chrono::steady_clock::now();
};

NatsTarget::NatsTarget(NatsAddress const &address)
    : name_(address.text())
    , results_(Results::create())
    , client_(address, {0, handle_result, &results_, nullptr, nullptr, 0})
    , id_prefix_(random_prefix())
{
    auto stream = find_stream(client_, address.stream());
    if (!stream)
        stream = create_stream(client_, address);
    auto const &config = *stream->Config;
    subject_ = config.SubjectsLen > 0 ? config.Subjects[0] : "";
    if (subject_.empty() || subject_.find_first_of("*>") != std::string::npos)
        throw NatsError(fmt::format("stream {} has no subject without wildcards", address.stream()));
}

void NatsTarget::handle_result(jsCtx * /*context*/, natsMsg *message, jsPubAck * /*acknowledgement*/,
                               jsPubAckErr *error, void *results)
{
    auto &self = *static_cast<Results *>(results);
    NatsMessage owned(message);
    std::lock_guard const lock(self.mutex);
    if (error == nullptr) {
        self.pending -= bytes_of(owned).size();
        ++self.written;
        self.last_success = std::chrono::steady_clock::now();
    } else if (is_temporary(*error)) {
        self.failed.push_back(std::move(owned));
    } else {
        self.refusal = error->ErrText == nullptr ? natsStatus_GetText(error->Err) : error->ErrText;
    }
    self.changed.notify_one();
}

std::uint64_t NatsTarget::max_frame() const
{
    return static_cast<std::uint64_t>(natsConnection_GetMaxPayload(client_.connection()));
}

void NatsTarget::append(std::string_view frame)
{
    wait_until_at_most(max_pending);
    natsMsg *created = nullptr;
    check_nats(natsMsg_Create(&created, subject_.c_str(), nullptr, frame.data(), static_cast<int>(frame.size())));
    NatsMessage message(created);
    check_nats(natsMsgHeader_Set(created, "Nats-Msg-Id", fmt::format("{}-{}", id_prefix_, ++count_).c_str()));
    {
        std::lock_guard const lock(results_.mutex);
        if (results_.pending == 0)
            results_.last_success = std::chrono::steady_clock::now();
        results_.pending += frame.size();
    }
    publish(std::move(message));
}

void NatsTarget::flush()
{
    wait_until_at_most(max_pending);
}

void NatsTarget::sync()
{
    wait_until_at_most(0);
}

std::uint64_t NatsTarget::written() const
{
    std::lock_guard const lock(results_.mutex);
    return results_.written;
}

void NatsTarget::wait_until_at_most(std::uint64_t bytes)
{
    std::unique_lock lock(results_.mutex);
    while (results_.pending > bytes || !results_.failed.empty() || results_.refusal) {
        if (results_.refusal)
            throw NatsError(*results_.refusal);
        if (std::chrono::steady_clock::now() - results_.last_success > max_outage)
            throw NatsError(fmt::format("no server took a frame for {} s", max_outage.count()));
        if (results_.failed.empty()) {
            results_.changed.wait_for(lock, time_between_attempts);
            continue;
        }
        auto message = std::move(results_.failed.front());
        results_.failed.pop_front();
        lock.unlock();
        publish(std::move(message));
        lock.lock();
    }
}

// Fails while the connection is lost and the library's buffer is full.
void NatsTarget::publish(NatsMessage message)
{
    jsPubOptions options;
    check_nats(jsPubOptions_Init(&options));
    options.MaxWait = milliseconds_until_repeated;
    auto *released = message.release();
    auto const status = js_PublishMsgAsync(client_.jetstream(), &released, &options);
    message.reset(released);
    if (status == NATS_OK)
        return;
    if (natsConnection_IsClosed(client_.connection()) || status == NATS_MAX_PAYLOAD)
        check_nats(status);
    std::unique_lock lock(results_.mutex);
    results_.failed.push_back(std::move(message));
    results_.changed.wait_for(lock, time_between_attempts);
}

} // namespace tarnwick::program
