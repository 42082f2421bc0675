// Receives reports of the rpc dialect over ZeroMQ, and prints their records:
//
//     receive_reports ENDPOINT COUNT
//
// A message of one part is a report of the php family. A message of several parts is a code trace: its header, then one
// chunk in each part. A message that is neither is reported, and the next one is received. Ends after COUNT messages,
// with status 1 if one was refused.

#include "receive_part.h"

#include <tarnwick/data/codetrace/data.h>
#include <tarnwick/data/codetrace/header.h>
#include <tarnwick/data/php/error_data.h>
#include <tarnwick/data/php/rinit.h>
#include <tarnwick/data/php/rshutdown.h>
#include <tarnwick/data/print.h>

#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <google/protobuf/arena.h>
#include <google/protobuf/io/coded_stream.h>

#include <fmt/format.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include <zmq.h>

using namespace tarnwick;
namespace codetrace = data::codetrace;
namespace php = data::php;

namespace {

class ReportReceiver {
public:
    explicit ReportReceiver(void *socket)
        : socket_(socket)
    {
    }

    /// Receives messages and prints their records. Returns the number of messages that were refused.
    std::uint64_t receive(std::uint64_t count)
    {
        std::uint64_t refused = 0;
        for (; count > 0; --count) {
            zeromq::msg_t part;
            if (!receive_part(socket_, part))
                throw std::runtime_error(zmq_strerror(zmq_errno()));
            try {
                if (has_more(part))
                    print_trace(part);
                else
                    print_report(part);
            } catch (std::exception const &error) {
                fmt::print(stderr, "refused a message: {}\n", error.what());
                ++refused;
            }
            drop_rest(socket_, part); // after a fault
            arena_.Reset();           // records do not refer to messages
        }
        return refused;
    }

private:
    /// Returns a message on the arena. Throws if the part is not one.
    template <class Message>
    Message const &parsed(zeromq::msg_t const &part)
    {
        constexpr int deepest = 1'000; // a PHP array takes three levels of messages
        if (part.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
            throw std::runtime_error("it is too large for protobuf");
        google::protobuf::io::CodedInputStream stream(reinterpret_cast<std::uint8_t const *>(part.data()),
                                                      static_cast<int>(part.size()));
        stream.SetRecursionLimit(deepest);
        auto &message = *google::protobuf::Arena::Create<Message>(&arena_);
        if (!message.ParseFromCodedStream(&stream) || !stream.ConsumedEntireMessage())
            throw std::runtime_error("it is not a report");
        return message;
    }

    void print_report(zeromq::msg_t const &part)
    {
        auto const &message = parsed<rpc::php::v1::NotifyRequest>(part);
        if (message.has_rinit())
            fmt::print("{}\n", php::RInit(new php::detail::RInit(message)));
        else if (message.has_rshutdown())
            fmt::print("{}\n", php::RShutdown(new php::detail::RShutdown(message)));
        else if (message.has_error())
            fmt::print("{}\n", php::ErrorData(new php::detail::ErrorData(message)));
        else
            throw std::runtime_error("its report is of an unknown kind");
    }

    void print_trace(zeromq::msg_t &part)
    {
        auto const &message = parsed<rpc::codetrace::v1::NotifyRequest>(part);
        if (!message.has_header())
            throw std::runtime_error("its first part is no header of a trace");
        codetrace::Header const header(new codetrace::detail::Header(message));
        fmt::print("{}\n", header);
        for (bool more = true; more;) {
            if (!receive_part(socket_, part))
                throw std::runtime_error(zmq_strerror(zmq_errno()));
            // The chunk takes the bytes of the part without a copy.
            codetrace::Data const chunk(new codetrace::detail::Data(std::move(part), header->request_id()));
            fmt::print("{}\n", chunk);
            more = chunk->more();
        }
    }

    static constexpr std::size_t block_size = 65'536; ///< enough for most messages

    void *socket_;
    std::vector<char> block_ = std::vector<char>(block_size); ///< the first memory of the arena, which `Reset` keeps
    google::protobuf::Arena arena_{block_.data(), block_.size()};
};

int run(char const *endpoint, std::uint64_t count)
{
    std::unique_ptr<void, int (*)(void *)> const context(zmq_ctx_new(), zmq_ctx_term);
    std::unique_ptr<void, int (*)(void *)> const socket(zmq_socket(context.get(), ZMQ_PULL), zmq_close);
    // Without a limit, a sender could make ZeroMQ allocate any number of bytes.
    std::int64_t const largest_part = 16'000'000;
    if (!socket || zmq_setsockopt(socket.get(), ZMQ_MAXMSGSIZE, &largest_part, sizeof largest_part) != 0 ||
        zmq_bind(socket.get(), endpoint) != 0) {
        fmt::print(stderr, "{}: {}\n", endpoint, zmq_strerror(zmq_errno()));
        return 1;
    }
    return ReportReceiver(socket.get()).receive(count) == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        fmt::print(stderr, "usage: receive_reports ENDPOINT COUNT\n");
        return 2;
    }
    try {
        return run(argv[1], std::strtoull(argv[2], nullptr, 10));
    } catch (std::exception const &error) {
        fmt::print(stderr, "{}: {}\n", argv[1], error.what());
        return 1;
    }
}
