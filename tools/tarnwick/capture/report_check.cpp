#include "capture/report_check.h"

#include "capture/report_parser.h"

#include <tarnwick/data/record_messages.h>
#include <tarnwick/messages.h>

#include <google/protobuf/arena.h>

#include <string>

namespace tarnwick::program {
namespace {

using capture::v1::Frame;

template <class Message>
bool parses(std::string const &bytes)
{
    google::protobuf::Arena arena;
    return try_parse_report(*google::protobuf::Arena::Create<Message>(&arena), bytes);
}

} // namespace

bool has_valid_report(Frame const &frame)
{
    switch (frame.report_case()) {
    case Frame::kRpcPhp:
        return parses<messages::rpc_php::NotifyRequest>(frame.rpc_php());
    case Frame::kRpcMonitor:
        return parses<messages::rpc_monitor::NotifyRequest>(frame.rpc_monitor());
    case Frame::kRpcCodetrace:
        return parses<messages::rpc_codetrace::NotifyRequest>(frame.rpc_codetrace());
    case Frame::kRpcGlimmet:
        return parses<messages::rpc_glimmet::NotifyRequest>(frame.rpc_glimmet());
    case Frame::kRinit:
        return parses<messages::protobuf_php::RInitData>(frame.rinit());
    case Frame::kRshutdown:
        return parses<messages::protobuf_php::RShutdownData>(frame.rshutdown());
    case Frame::kMonitorEvent:
        return parses<messages::protobuf_monitor::Event>(frame.monitor_event());
    case Frame::kMonitorSuperglobals:
        return parses<messages::protobuf_monitor::Superglobals>(frame.monitor_superglobals());
    case Frame::kFunctions:
        return parses<messages::protobuf_glimmet::Functions>(frame.functions());
    case Frame::kSqlConnections:
        return parses<messages::protobuf_glimmet::SqlConnections>(frame.sql_connections());
    case Frame::kSqlTransactions:
        return parses<messages::protobuf_glimmet::SqlTransactions>(frame.sql_transactions());
    case Frame::kSqlQueries:
        return parses<messages::protobuf_glimmet::SqlQueries>(frame.sql_queries());
    case Frame::kStorage:
        return parses<messages::protobuf_glimmet::Storage>(frame.storage());
    case Frame::kError:
        return parses<messages::protobuf_glimmet::Error>(frame.error());
    case Frame::kSuperglobals:
        return parses<messages::protobuf_glimmet::Superglobals>(frame.superglobals());
    case Frame::kRequestHeaders:
        return parses<messages::protobuf_glimmet::RequestHeaders>(frame.request_headers());
    case Frame::kResponseHeaders:
        return parses<messages::protobuf_glimmet::ResponseHeaders>(frame.response_headers());
    case Frame::kRawPostData:
        return parses<messages::protobuf_glimmet::RawPostData>(frame.raw_post_data());
    case Frame::kResponseBody:
        return parses<messages::protobuf_glimmet::ResponseBody>(frame.response_body());
    case Frame::kCtHeader:
        return parses<messages::protobuf_codetrace::Header>(frame.ct_header());
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
