#include "record_feed.h"

#include <tarnwick/data/php/rshutdown.h>

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <google/protobuf/io/coded_stream.h>

#include <fmt/format.h>

#include <cstdint>
#include <string_view>

namespace tarnwick::program {
namespace {

using capture::v1::Frame;
using data::php::RequestId;
using data::php::RShutdown;
using pelorin::protobuf::PelorinPHP::RShutdownData;
using PhpReport = rpc::php::v1::NotifyRequest;

constexpr std::string_view rpc_dialect = "rpc";
constexpr std::string_view protobuf_dialect = "protobuf";

bool parse(google::protobuf::MessageLite &message, std::string const &bytes, int max_depth)
{
    google::protobuf::io::CodedInputStream stream(reinterpret_cast<std::uint8_t const *>(bytes.data()),
                                                  static_cast<int>(bytes.size()));
    stream.SetRecursionLimit(max_depth);
    return message.ParseFromCodedStream(&stream) && stream.ConsumedEntireMessage();
}

} // namespace

// A message on the arena is dropped with it at once: a deep one is not torn down level by level.
template <class Message, class Build>
std::string RecordFeed::parsed(std::string const &bytes, Build &&build)
{
    std::string problem;
    auto &message = *google::protobuf::Arena::Create<Message>(&arena_);
    if (parse(message, bytes, max_depth)) {
        build(message);
    } else {
        // The parser does not say why it stopped; that a roomier limit lets it through does.
        constexpr int roomy_depth = 4 * max_depth;
        bool const too_deep = parse(*google::protobuf::Arena::Create<Message>(&arena_), bytes, roomy_depth);
        auto const name = std::string_view(Message::descriptor()->full_name());
        problem = too_deep ? fmt::format("its {} is nested deeper than {} messages", name, max_depth)
                           : fmt::format("its report is not a {}", name);
    }
    arena_.Reset();
    return problem;
}

std::string RecordFeed::feed(Frame const &frame)
{
    RequestId const request_id(frame.request_id());
    switch (frame.report_case()) {
    case Frame::kRpcPhp:
        return parsed<PhpReport>(frame.rpc_php(), [&](PhpReport const &message) {
            if (all_records_ || message.payload_case() == PhpReport::kRshutdown)
                printer_.print(*RShutdown(new data::php::detail::RShutdown(message)), rpc_dialect);
        });
    case Frame::kRshutdown:
        return parsed<RShutdownData>(frame.rshutdown(), [&](RShutdownData const &message) {
            printer_.print(*RShutdown(new data::php::detail::RShutdown(message, request_id)), protobuf_dialect);
        });
    default:
        return {};
    }
}

} // namespace tarnwick::program
