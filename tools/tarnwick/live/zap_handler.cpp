#include "live/zap_handler.h"

#include "live/key_files.h"
#include "print/readable_text.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <zeromq/msg.h>

namespace tarnwick::program {
namespace {

// The parts of a request.
enum ZapPart : std::size_t { version, request_id, domain, address, identity, mechanism, client_key, part_count };

constexpr std::size_t key_size = 32;
constexpr auto const *version_1 = "1.0";

// A client that receives the status `refused` does not try again. It tries again after `cannot_decide`.
constexpr auto const *admitted = "200";
constexpr auto const *cannot_decide = "300";
constexpr auto const *refused_status = "400";

std::string z85_of(std::string const &key)
{
    std::array<char, key_size * 5 / 4 + 1> text{};
    std::array<std::uint8_t, key_size> bytes{};
    key.copy(reinterpret_cast<char *>(bytes.data()), bytes.size());
    zmq_z85_encode(text.data(), bytes.data(), bytes.size());
    return text.data();
}

} // namespace

ZapHandler::ZapHandler(ContextHandle const &context, std::string allow)
    : allow_(std::move(allow))
    , socket_(open_socket(context, ZMQ_REP))
{
    // A fault of the list ends the program at the start, not at the first client.
    (void)has_public_key(allow_, {});
    check_zeromq(zmq_bind(socket_.get(), "inproc://zeromq.zap.01"));
}

std::vector<std::string> ZapHandler::receive() const
{
    std::vector<std::string> parts;
    int has_more = 1;
    while (has_more != 0) {
        zeromq::msg_t message;
        if (zmq_msg_recv(message.handle(), socket_.get(), ZMQ_DONTWAIT) < 0) {
            if (zmq_errno() == EINTR)
                continue;
            if (zmq_errno() == EAGAIN)
                return {};
            check_zeromq(-1);
        }
        parts.emplace_back(static_cast<char const *>(zmq_msg_data(message.handle())), zmq_msg_size(message.handle()));
        has_more = zmq_msg_more(message.handle());
    }
    return parts;
}

ZapHandler::Answer ZapHandler::answer(std::vector<std::string> const &request) const
{
    if (request.size() != part_count || request[version] != version_1 || request[mechanism] != "CURVE" ||
        request[client_key].size() != key_size)
        return {.status = refused_status, .problem = "refused a client: the request to admit it is not valid"};
    auto const key = z85_of(request[client_key]);
    auto const from = request[address].empty() ? "" : fmt::format(" at {}", escaped_text(request[address]));
    try {
        if (has_public_key(allow_, key))
            return {.status = admitted, .problem = {}};
    } catch (KeyFileError const &error) {
        return {.status = cannot_decide, .problem = fmt::format("refused a client{}: {}", from, error.what())};
    }
    return {.status = refused_status,
            .problem = fmt::format("refused a client{}: its key {} is not in {}", from, key, escaped_text(allow_))};
}

std::string ZapHandler::handle()
{
    auto const request = receive();
    if (request.empty())
        return {};
    auto [status, problem] = answer(request);
    // The reply ends with a text about the status, the name of the user and metadata.
    std::array const reply{std::string(version_1), request.size() > request_id ? request[request_id] : std::string(),
                           std::string(status),    std::string(),
                           std::string(),          std::string()};
    for (auto const &part : reply) {
        auto const flags = &part == &reply.back() ? 0 : ZMQ_SNDMORE;
        check_uninterrupted([&] { return zmq_send(socket_.get(), part.data(), part.size(), flags); });
    }
    if (problem.empty())
        return {};
    ++refused_;
    return std::exchange(last_problem_, problem) == problem ? std::string() : problem;
}

} // namespace tarnwick::program
