#pragma once

// All constructors of records from messages, for who wants to try what holds for each.

#include "support/records/make_record.h"
#include "support/records/message_filler.h"

#include <tarnwick/data/codetrace/add_data.h>
#include <tarnwick/data/codetrace/data.h>
#include <tarnwick/data/codetrace/header.h>
#include <tarnwick/data/glimmet/functions.h>
#include <tarnwick/data/glimmet/sql_queries.h>
#include <tarnwick/data/glimmet/storage.h>
#include <tarnwick/data/monitor/event.h>
#include <tarnwick/data/php/error_data.h>
#include <tarnwick/data/php/post_data.h>
#include <tarnwick/data/php/request_headers.h>
#include <tarnwick/data/php/response_body.h>
#include <tarnwick/data/php/response_headers.h>
#include <tarnwick/data/php/rinit.h>
#include <tarnwick/data/php/rshutdown.h>
#include <tarnwick/data/php/superglobals.h>

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

#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace tarnwick::test {

inline void fill(zmq_msg_t *message, std::string_view bytes)
{
    zmq_msg_close(message);
    zmq_msg_init_size(message, bytes.size());
    if (!bytes.empty())
        std::memcpy(zmq_msg_data(message), bytes.data(), bytes.size());
}

/// The constructor of a record from a message: a record is a handle, or the class itself where it has none.
template <class Record, class Message>
struct Of {};

/// What records take along instead of reading it.
template <class Message>
concept TransportMessage = std::is_same_v<Message, zeromq::msg_t> || std::is_same_v<Message, ZMQ::Message>;

/// All that is in a `PelorinPHP::StackTrace`.
using FrameList = google::protobuf::RepeatedPtrField<pelorin::protobuf::PelorinPHP::StackTraceFrame>;

/// Calls `visit(Of<Record, Message>(), name, arguments...)` for each constructor, in both dialects, with the arguments
/// that stand behind the message.
template <class Visit>
void visit_constructors(Visit const &visit)
{
    namespace codetrace = data::codetrace;
    namespace glimmet = data::glimmet;
    namespace monitor = data::monitor;
    namespace php = data::php;
    namespace rpc = tarnwick::rpc;
    namespace CT = pelorin::protobuf::CT;
    namespace Glimmet = pelorin::protobuf::Glimmet;
    namespace Monitor = pelorin::protobuf::Monitor;
    namespace PelorinPHP = pelorin::protobuf::PelorinPHP;
    using CodetraceReport = rpc::codetrace::v1::NotifyRequest;
    using GlimmetReport = rpc::glimmet::v1::NotifyRequest;
    using MonitorReport = rpc::monitor::v1::NotifyRequest;
    using PhpReport = rpc::php::v1::NotifyRequest;

    constexpr php::RequestId id(7);
    constexpr php::detail::Superglobals::init_t init;
    constexpr php::detail::Superglobals::change_t change;

    constexpr std::uint32_t shape_with_links = 11;
    glimmet::SqlConnections::Table const connections =
        glimmet::SqlConnections(shaped<Glimmet::SqlConnections>(shape_with_links));
    glimmet::SqlTransactions::Table const transactions =
        glimmet::SqlTransactions(shaped<Glimmet::SqlTransactions>(shape_with_links));

    visit(Of<php::RequestId, rpc::php::v1::RequestId>(), "RequestId_rpc");
    visit(Of<php::SourceLocation, rpc::php::v1::SourceLocation>(), "SourceLocation_rpc");
    visit(Of<php::RInit, PhpReport>(), "RInit_rpc");
    visit(Of<php::RInit, PelorinPHP::RInitData>(), "RInit_protobuf", id);
    visit(Of<php::RShutdown, PhpReport>(), "RShutdown_rpc");
    visit(Of<php::RShutdown, PelorinPHP::RShutdownData>(), "RShutdown_protobuf", id);
    visit(Of<php::RequestHeaders, PhpReport>(), "RequestHeaders_rpc");
    visit(Of<php::RequestHeaders, Glimmet::RequestHeaders>(), "RequestHeaders_protobuf", id);
    visit(Of<php::ResponseHeaders, PhpReport>(), "ResponseHeaders_rpc");
    visit(Of<php::ResponseHeaders, Glimmet::ResponseHeaders>(), "ResponseHeaders_protobuf", id);
    visit(Of<php::PostData, PhpReport>(), "PostData_rpc");
    visit(Of<php::PostData, Glimmet::RawPostData>(), "PostData_protobuf", id);
    visit(Of<php::ResponseBody, PhpReport>(), "ResponseBody_rpc");
    visit(Of<php::ResponseBody, Glimmet::ResponseBody>(), "ResponseBody_protobuf", id);
    visit(Of<php::Superglobals, PhpReport>(), "Superglobals_rpc_init", init);
    visit(Of<php::Superglobals, PhpReport>(), "Superglobals_rpc_change", change);
    visit(Of<php::Superglobals, Monitor::Superglobals>(), "Superglobals_monitor", id);
    visit(Of<php::Superglobals, Glimmet::Superglobals>(), "Superglobals_glimmet_init", id, init);
    visit(Of<php::Superglobals, Glimmet::Superglobals>(), "Superglobals_glimmet_change", id, change);
    visit(Of<php::ErrorData, PhpReport>(), "ErrorData_rpc");
    visit(Of<php::ErrorData, Glimmet::Error>(), "ErrorData_protobuf", id);
    visit(Of<php::Error, rpc::php::v1::Error>(), "Error_rpc");
    visit(Of<php::Error, Glimmet::Error>(), "Error_protobuf");
    visit(Of<php::Exception, rpc::php::v1::Exception>(), "Exception_rpc");
    visit(Of<php::Exception, Glimmet::Error>(), "Exception_protobuf");
    visit(Of<php::Function, rpc::php::v1::Function>(), "Function_rpc");
    visit(Of<php::Function, rpc::php::v1::StackTraceFrame>(), "Function_rpc_frame");
    visit(Of<php::Function, Monitor::FunctionData>(), "Function_protobuf");
    visit(Of<php::Function, PelorinPHP::StackTraceFrame>(), "Function_protobuf_frame");
    visit(Of<php::StackTrace, rpc::php::v1::StackTrace>(), "StackTrace_rpc");
    visit(Of<php::StackTrace, PelorinPHP::StackTrace>(), "StackTrace_protobuf");
    visit(Of<php::StackTrace, FrameList>(), "StackTrace_protobuf_list");
    visit(Of<php::ZVal, rpc::php::v1::ZVal>(), "ZVal_rpc");
    visit(Of<php::ZVal, PelorinPHP::ZVal>(), "ZVal_protobuf");
    visit(Of<php::PelorinArray, rpc::php::v1::PelorinArray>(), "PelorinArray_rpc");
    visit(Of<php::PelorinArray, PelorinPHP::PelorinArray>(), "PelorinArray_protobuf");
    visit(Of<php::PelorinObject, rpc::php::v1::PelorinObject>(), "PelorinObject_rpc");
    visit(Of<php::PelorinResource, rpc::php::v1::PelorinResource>(), "PelorinResource_rpc");
    visit(Of<monitor::Event, MonitorReport>(), "Event_rpc");
    visit(Of<monitor::Event, Monitor::Event>(), "Event_protobuf", id);
    visit(Of<codetrace::Header, CodetraceReport>(), "Header_rpc");
    visit(Of<codetrace::Header, CT::Header>(), "Header_protobuf", id);
    visit(Of<codetrace::Data, zeromq::msg_t>(), "Data_rpc", id);
    visit(Of<codetrace::Data, ZMQ::Message>(), "Data_protobuf", id, chunk_skip);
    visit(Of<codetrace::AddData, zeromq::msg_t>(), "AddData_rpc", id);
    visit(Of<codetrace::AddData, ZMQ::Message>(), "AddData_protobuf", id, chunk_skip);
    visit(Of<glimmet::Functions, GlimmetReport>(), "Functions_rpc");
    visit(Of<glimmet::Functions, Glimmet::Functions>(), "Functions_protobuf", id);
    visit(Of<glimmet::FunctionStats, rpc::glimmet::v1::Function>(), "FunctionStats_rpc");
    visit(Of<glimmet::FunctionStats, Glimmet::Function>(), "FunctionStats_protobuf");
    visit(Of<glimmet::Storage, GlimmetReport>(), "Storage_rpc");
    visit(Of<glimmet::Storage, Glimmet::Storage>(), "Storage_protobuf", id);
    visit(Of<glimmet::SqlQueries, GlimmetReport>(), "SqlQueries_rpc");
    visit(Of<glimmet::SqlQueries, Glimmet::SqlQueries>(), "SqlQueries_protobuf", id, connections, transactions);
    visit(Of<glimmet::SqlQuery, rpc::glimmet::v1::SqlQuery>(), "SqlQuery_rpc", connections, transactions);
    visit(Of<glimmet::SqlQuery, Glimmet::SqlQuery>(), "SqlQuery_protobuf", connections, transactions);
    visit(Of<glimmet::SqlConnections, rpc::glimmet::v1::SqlQueries>(), "SqlConnections_rpc");
    visit(Of<glimmet::SqlConnections, Glimmet::SqlConnections>(), "SqlConnections_protobuf");
    visit(Of<glimmet::SqlConnection, rpc::glimmet::v1::SqlConnection>(), "SqlConnection_rpc");
    visit(Of<glimmet::SqlConnection, Glimmet::SqlConnection>(), "SqlConnection_protobuf");
    visit(Of<glimmet::SqlTransactions, rpc::glimmet::v1::SqlQueries>(), "SqlTransactions_rpc");
    visit(Of<glimmet::SqlTransactions, Glimmet::SqlTransactions>(), "SqlTransactions_protobuf");
    visit(Of<glimmet::SqlTransaction, rpc::glimmet::v1::SqlTransaction>(), "SqlTransaction_rpc", transactions);
    visit(Of<glimmet::SqlTransaction, Glimmet::SqlTransaction>(), "SqlTransaction_protobuf", transactions);
    visit(Of<glimmet::SqlError, rpc::glimmet::v1::SqlError>(), "SqlError_rpc");
    visit(Of<glimmet::SqlError, Glimmet::SqlError>(), "SqlError_protobuf");
}

} // namespace tarnwick::test
