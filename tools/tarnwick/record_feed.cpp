#include "record_feed.h"

#include "report_parser.h"

#include <tarnwick/data/php/rshutdown.h>

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::program {
namespace {

using capture::v1::Frame;
using data::php::RequestId;
using data::php::RShutdown;
using pelorin::protobuf::PelorinPHP::RShutdownData;
using PhpReport = rpc::php::v1::NotifyRequest;

constexpr std::string_view rpc_dialect = "rpc";
constexpr std::string_view protobuf_dialect = "protobuf";

} // namespace

std::string RecordFeed::feed(Frame const &frame)
{
    RequestId const request_id(frame.request_id());
    switch (frame.report_case()) {
    case Frame::kRpcPhp:
        return parsed<PhpReport>(frame.rpc_php(), [&](PhpReport const &message) { print_php(message); });
    case Frame::kRshutdown:
        return parsed_into<RShutdownData, RShutdown>(frame.rshutdown(), request_id);
    default: // a report that feeds none of the records built here
        return {};
    }
}

void RecordFeed::print_php(PhpReport const &message)
{
    auto const feeds = [&](PhpReport::PayloadCase payload) {
        return all_records_ || message.payload_case() == payload;
    };
    if (feeds(PhpReport::kRshutdown))
        print<RShutdown>(rpc_dialect, message);
}

// A message on the arena is dropped with it at once: a deep one is not torn down level by level.
template <class Message, class Build>
std::string RecordFeed::parsed(std::string const &bytes, Build &&build)
{
    auto &message = *google::protobuf::Arena::Create<Message>(&arena_);
    auto problem = parse_report(message, bytes, max_depth);
    if (problem.empty())
        build(message);
    arena_.Reset();
    return problem;
}

template <class Message, class Record>
std::string RecordFeed::parsed_into(std::string const &bytes, RequestId request_id)
{
    return parsed<Message>(bytes,
                           [&](Message const &message) { print<Record>(protobuf_dialect, message, request_id); });
}

template <class Record, class... Parts>
void RecordFeed::print(std::string_view dialect, Parts const &...parts)
{
    Record const record(new Record::Pointer::Type(parts...));
    printer_.print(*record, dialect);
}

} // namespace tarnwick::program
