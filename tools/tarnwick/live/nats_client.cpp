#include "live/nats_client.h"

#include <fmt/format.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QtEndian>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <pthread.h>
#include <vector>

namespace tarnwick::program {
namespace {

using Options = std::unique_ptr<natsOptions, NatsDestroy<natsOptions_Destroy>>;

/// Blocks all signals while threads are started that inherit this: signals are for the main thread.
class WithoutSignals {
public:
    WithoutSignals()
    {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~WithoutSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    WithoutSignals(WithoutSignals const &) = delete;
    WithoutSignals &operator=(WithoutSignals const &) = delete;

private:
    sigset_t before_{};
};

/// Returns a variable of the environment that is not empty, or null.
char const *setting(char const *name)
{
    auto const *value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing changes the environment
    return value == nullptr || *value == '\0' ? nullptr : value;
}

Options options_for(NatsAddress const &address)
{
    natsOptions *created = nullptr;
    check_nats(natsOptions_Create(&created));
    Options options(created);
    std::vector<char const *> servers;
    for (auto const &server : address.servers())
        servers.push_back(server.c_str());
    check_nats(natsOptions_SetServers(created, servers.data(), static_cast<int>(servers.size())));
    check_nats(natsOptions_SetName(created, "tarnwick"));
    check_nats(natsOptions_SetSecure(created, address.is_encrypted()));
    if (auto const *file = setting("NATS_CA"))
        check_nats(natsOptions_LoadCATrustedCertificates(created, file));
    if (auto const *file = setting("NATS_CERT"))
        check_nats(natsOptions_LoadCertificatesChain(created, file, setting("NATS_KEY")));
    if (auto const *file = setting("NATS_CREDS"))
        check_nats(natsOptions_SetUserCredentialsFromFiles(created, file, nullptr));
    return options;
}

/// Returns what the library or the server reports, without the library's line of code: `(conn.c:2143): text`.
std::string status_text(natsStatus status)
{
    auto const *const last = nats_GetLastError(nullptr);
    std::string const detail = last == nullptr ? "" : last;
    auto const end = detail.starts_with('(') ? detail.find("): ") : std::string::npos;
    if (detail.empty())
        return natsStatus_GetText(status);
    return end == std::string::npos ? detail : detail.substr(end + 3);
}

} // namespace

void check_nats(natsStatus status)
{
    if (status == NATS_OK)
        return;
    throw NatsError(status_text(status));
}

NatsPlace place_of(NatsMessage const &message)
{
    jsMsgMetaData *data = nullptr;
    check_nats(natsMsg_GetMetaData(&data, message.get()));
    NatsPlace const place{.sequence = data->Sequence.Stream, .pending = data->NumPending};
    jsMsgMetaData_Destroy(data);
    return place;
}

std::string_view bytes_of(NatsMessage const &message)
{
    return {natsMsg_GetData(message.get()), static_cast<std::size_t>(natsMsg_GetDataLength(message.get()))};
}

NatsClient::NatsClient(NatsAddress const &address, jsOptionsPublishAsync const &async)
{
    WithoutSignals const without_signals;
    auto const options = options_for(address);
    natsConnection *connection = nullptr;
    if (auto const status = natsConnection_Connect(&connection, options.get()); status != NATS_OK)
        throw NatsError(fmt::format("cannot connect to {}: {}", address.text(), status_text(status)));
    connection_.reset(connection);
    jsOptions stream_options;
    check_nats(jsOptions_Init(&stream_options));
    stream_options.PublishAsync = async;
    jsCtx *jetstream = nullptr;
    check_nats(natsConnection_JetStream(&jetstream, connection, &stream_options));
    jetstream_.reset(jetstream);
}

NatsStreamState state_of(NatsClient const &client, std::string const &stream)
{
    jsStreamInfo *info = nullptr;
    auto const status = js_GetStreamInfo(&info, client.jetstream(), stream.c_str(), nullptr, nullptr);
    if (status == NATS_NOT_FOUND)
        throw NatsError("the servers have no such stream");
    check_nats(status);
    std::unique_ptr<jsStreamInfo, NatsDestroy<jsStreamInfo_Destroy>> const owned(info);
    auto const identity = fmt::format("{} {}", stream, info->Created);
    auto const hash = QCryptographicHash::hash(QByteArrayView(identity), QCryptographicHash::Sha256);
    return {.id = qFromLittleEndian<std::uint32_t>(hash.constData()),
            .messages = info->State.Msgs,
            .last_sequence = info->State.LastSeq};
}

} // namespace tarnwick::program
