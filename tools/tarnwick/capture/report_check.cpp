#include "capture/report_check.h"

#include "print/record_feed.h"
#include "capture/report_parser.h"

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

#include <google/protobuf/arena.h>

#include <string>

namespace tarnwick::program {
namespace {

using capture::v1::Frame;
using namespace pelorin::protobuf;

template <class Message>
bool parses(std::string const &bytes)
{
    google::protobuf::Arena arena;
    return parses_report(*google::protobuf::Arena::Create<Message>(&arena), bytes, RecordFeed::max_depth);
}

} // namespace

bool has_valid_report(Frame const &frame)
{
    switch (frame.report_case()) {
    case Frame::kRpcPhp:
        return parses<rpc::php::v1::NotifyRequest>(frame.rpc_php());
    case Frame::kRpcMonitor:
        return parses<rpc::monitor::v1::NotifyRequest>(frame.rpc_monitor());
    case Frame::kRpcCodetrace:
        return parses<rpc::codetrace::v1::NotifyRequest>(frame.rpc_codetrace());
    case Frame::kRpcGlimmet:
        return parses<rpc::glimmet::v1::NotifyRequest>(frame.rpc_glimmet());
    case Frame::kRinit:
        return parses<PelorinPHP::RInitData>(frame.rinit());
    case Frame::kRshutdown:
        return parses<PelorinPHP::RShutdownData>(frame.rshutdown());
    case Frame::kMonitorEvent:
        return parses<Monitor::Event>(frame.monitor_event());
    case Frame::kMonitorSuperglobals:
        return parses<Monitor::Superglobals>(frame.monitor_superglobals());
    case Frame::kFunctions:
        return parses<Glimmet::Functions>(frame.functions());
    case Frame::kSqlConnections:
        return parses<Glimmet::SqlConnections>(frame.sql_connections());
    case Frame::kSqlTransactions:
        return parses<Glimmet::SqlTransactions>(frame.sql_transactions());
    case Frame::kSqlQueries:
        return parses<Glimmet::SqlQueries>(frame.sql_queries());
    case Frame::kStorage:
        return parses<Glimmet::Storage>(frame.storage());
    case Frame::kError:
        return parses<Glimmet::Error>(frame.error());
    case Frame::kSuperglobals:
        return parses<Glimmet::Superglobals>(frame.superglobals());
    case Frame::kRequestHeaders:
        return parses<Glimmet::RequestHeaders>(frame.request_headers());
    case Frame::kResponseHeaders:
        return parses<Glimmet::ResponseHeaders>(frame.response_headers());
    case Frame::kRawPostData:
        return parses<Glimmet::RawPostData>(frame.raw_post_data());
    case Frame::kResponseBody:
        return parses<Glimmet::ResponseBody>(frame.response_body());
    case Frame::kCtHeader:
        return parses<CT::Header>(frame.ct_header());
    case Frame::kRpcData:
    case Frame::kRpcAddData:
    case Frame::kCtData:
    case Frame::kCtAddData:
        return true;
    case Frame::REPORT_NOT_SET:
        return false;
    }
    return false;
}

} // namespace tarnwick::program
