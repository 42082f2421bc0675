#include "record_feed.h"

#include "report_parser.h"

#include <tarnwick/data/php/rshutdown.h>

#include <pelorin/protobuf/CT/header.pb.h>
#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <pelorin/protobuf/Monitor/event.pb.h>
#include <pelorin/protobuf/Monitor/superglobals.pb.h>
#include <pelorin/protobuf/PelorinPHP/rinit_data.pb.h>
#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::program {
namespace {

using capture::v1::Frame;
using data::php::RequestId;
using data::php::RShutdown;
using namespace pelorin::protobuf;
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
        return parsed_into<PelorinPHP::RShutdownData, RShutdown>(frame.rshutdown(), request_id);
    // Feeding no record by now, they are read all the same: what is no report of its kind is said.
    case Frame::kRpcMonitor:
        return checked<rpc::monitor::v1::NotifyRequest>(frame.rpc_monitor());
    case Frame::kRpcCodetrace:
        return checked<rpc::codetrace::v1::NotifyRequest>(frame.rpc_codetrace());
    case Frame::kRpcGlimmet:
        return checked<rpc::glimmet::v1::NotifyRequest>(frame.rpc_glimmet());
    case Frame::kRinit:
        return checked<PelorinPHP::RInitData>(frame.rinit());
    case Frame::kMonitorEvent:
        return checked<Monitor::Event>(frame.monitor_event());
    case Frame::kMonitorSuperglobals:
        return checked<Monitor::Superglobals>(frame.monitor_superglobals());
    case Frame::kFunctions:
        return checked<Glimmet::Functions>(frame.functions());
    case Frame::kSqlConnections:
        return checked<Glimmet::SqlConnections>(frame.sql_connections());
    case Frame::kSqlTransactions:
        return checked<Glimmet::SqlTransactions>(frame.sql_transactions());
    case Frame::kSqlQueries:
        return checked<Glimmet::SqlQueries>(frame.sql_queries());
    case Frame::kStorage:
        return checked<Glimmet::Storage>(frame.storage());
    case Frame::kError:
        return checked<Glimmet::Error>(frame.error());
    case Frame::kSuperglobals:
        return checked<Glimmet::Superglobals>(frame.superglobals());
    case Frame::kRequestHeaders:
        return checked<Glimmet::RequestHeaders>(frame.request_headers());
    case Frame::kResponseHeaders:
        return checked<Glimmet::ResponseHeaders>(frame.response_headers());
    case Frame::kRawPostData:
        return checked<Glimmet::RawPostData>(frame.raw_post_data());
    case Frame::kResponseBody:
        return checked<Glimmet::ResponseBody>(frame.response_body());
    case Frame::kCtHeader:
        return checked<CT::Header>(frame.ct_header());
    default: // chunks, which are opaque
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

template <class Message>
std::string RecordFeed::checked(std::string const &bytes)
{
    return parsed<Message>(bytes, [](Message const &) {});
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
