#pragma once

// Reports of every kind, as textproto.

#include "captures.h"

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

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace tarnwick::test {

/// A report without its request id.
struct Report {
    std::string field;     ///< of the frame
    std::string textproto; ///< of a chunk, its bytes
};

/// Returns the frame of a report. A chunk of the rpc dialect has the flag for further chunks, a chunk of the protobuf
/// dialect has one byte to skip.
inline Frame frame_of(std::uint64_t request_id, Report const &report)
{
    namespace glimmet = pelorin::protobuf::Glimmet;
    namespace monitor = pelorin::protobuf::Monitor;
    namespace php = pelorin::protobuf::PelorinPHP;
    static std::map<std::string, std::function<std::string(std::string const &)>> const wires{
        {"rpc_php", wire<PhpReport>},
        {"rpc_monitor", wire<rpc::monitor::v1::NotifyRequest>},
        {"rpc_codetrace", wire<rpc::codetrace::v1::NotifyRequest>},
        {"rpc_glimmet", wire<rpc::glimmet::v1::NotifyRequest>},
        {"rinit", wire<php::RInitData>},
        {"rshutdown", wire<php::RShutdownData>},
        {"monitor_event", wire<monitor::Event>},
        {"monitor_superglobals", wire<monitor::Superglobals>},
        {"functions", wire<glimmet::Functions>},
        {"sql_connections", wire<glimmet::SqlConnections>},
        {"sql_transactions", wire<glimmet::SqlTransactions>},
        {"sql_queries", wire<glimmet::SqlQueries>},
        {"storage", wire<glimmet::Storage>},
        {"error", wire<glimmet::Error>},
        {"superglobals", wire<glimmet::Superglobals>},
        {"request_headers", wire<glimmet::RequestHeaders>},
        {"response_headers", wire<glimmet::ResponseHeaders>},
        {"raw_post_data", wire<glimmet::RawPostData>},
        {"response_body", wire<glimmet::ResponseBody>},
        {"ct_header", wire<pelorin::protobuf::CT::Header>},
    };
    Frame frame;
    frame.set_request_id(request_id);
    auto bytes = report.textproto;
    if (auto const found = wires.find(report.field); found != wires.end()) {
        auto const id = "request_id { id: " + std::to_string(request_id) + " } ";
        bytes = found->second((report.field.starts_with("rpc_") ? id : "") + report.textproto);
    } else if (report.field.starts_with("rpc_")) {
        frame.set_more(true);
    } else {
        frame.set_skip(1);
        bytes = '-' + bytes;
    }
    Frame::GetReflection()->SetString(&frame, Frame::GetDescriptor()->FindFieldByName(report.field), bytes);
    return frame;
}

} // namespace tarnwick::test
