#include "faults/constructors.h"

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

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace tarnwick::test {
namespace {

namespace codetrace = data::codetrace;
namespace glimmet = data::glimmet;
namespace monitor = data::monitor;
namespace php = data::php;
namespace rpc = tarnwick::rpc;
namespace CT = pelorin::protobuf::CT;
namespace Glimmet = pelorin::protobuf::Glimmet;
namespace Monitor = pelorin::protobuf::Monitor;
namespace PelorinPHP = pelorin::protobuf::PelorinPHP;

Constructor taking_no_memory(Constructor constructor)
{
    constructor.takes_memory = false;
    return constructor;
}

Constructor stack_trace_of_a_list(std::string name)
{
    return {.name = std::move(name),
            .signature = signature<php::StackTrace, google::protobuf::RepeatedPtrField<PelorinPHP::StackTraceFrame>>(),
            .fail_each_allocation =
                [](std::uint32_t shape, FieldCoverage &coverage) {
                    auto const message = shaped<PelorinPHP::StackTrace>(shape);
                    coverage.see(message);
                    return fail_each_allocation(Operation{[&]() -> auto const & { return message.frames(); },
                                                          [](auto const &frames) { return php::StackTrace(frames); },
                                                          told});
                },
            .prototype = &PelorinPHP::StackTrace::default_instance(),
            .tell =
                [](google::protobuf::Message const &message, Told &all) {
                    tell(php::StackTrace(static_cast<PelorinPHP::StackTrace const &>(message).frames()), all);
                }};
}

void fill(zmq_msg_t *message, std::string_view bytes)
{
    zmq_msg_close(message);
    zmq_msg_init_size(message, bytes.size());
    if (!bytes.empty())
        std::memcpy(zmq_msg_data(message), bytes.data(), bytes.size());
}

/// A chunk takes its transport message along, so that each run needs another.
template <class Record, class Message, class... Arguments>
Constructor constructor_of_chunk(std::string name, Arguments const &...arguments)
{
    return {.name = std::move(name),
            .signature = signature<Record, Message>(),
            .fail_each_allocation =
                [arguments...](std::uint32_t shape, FieldCoverage &) {
                    auto const bytes = MessageFiller(shape).text();
                    return fail_each_allocation(Operation{
                        [&] {
                            auto message = std::make_unique<Message>();
                            fill(message->handle(), bytes);
                            return message;
                        },
                        [&](auto const &message) { return made<Record>(std::move(*message), arguments...); }, told});
                },
            .tell_of_bytes =
                [arguments...](std::string_view bytes, Told &all) {
                    Message message;
                    fill(message.handle(), bytes);
                    tell(made<Record>(std::move(message), arguments...), all);
                }};
}

constexpr php::RequestId id(7);
constexpr php::detail::Superglobals::init_t init;
constexpr php::detail::Superglobals::change_t change;

constexpr std::uint32_t shape_with_links = 11;

} // namespace

std::vector<Constructor> constructors()
{
    glimmet::SqlConnections::Table const connections =
        glimmet::SqlConnections(shaped<Glimmet::SqlConnections>(shape_with_links));
    glimmet::SqlTransactions::Table const transactions =
        glimmet::SqlTransactions(shaped<Glimmet::SqlTransactions>(shape_with_links));

    using CodetraceReport = rpc::codetrace::v1::NotifyRequest;
    using GlimmetReport = rpc::glimmet::v1::NotifyRequest;
    using MonitorReport = rpc::monitor::v1::NotifyRequest;
    using PhpReport = rpc::php::v1::NotifyRequest;
    return {
        taking_no_memory(constructor_of<php::RequestId, rpc::php::v1::RequestId>("RequestId_rpc")),
        constructor_of<php::SourceLocation, rpc::php::v1::SourceLocation>("SourceLocation_rpc"),
        constructor_of<php::RInit, PhpReport>("RInit_rpc"),
        constructor_of<php::RInit, PelorinPHP::RInitData>("RInit_protobuf", id),
        constructor_of<php::RShutdown, PhpReport>("RShutdown_rpc"),
        constructor_of<php::RShutdown, PelorinPHP::RShutdownData>("RShutdown_protobuf", id),
        constructor_of<php::RequestHeaders, PhpReport>("RequestHeaders_rpc"),
        constructor_of<php::RequestHeaders, Glimmet::RequestHeaders>("RequestHeaders_protobuf", id),
        constructor_of<php::ResponseHeaders, PhpReport>("ResponseHeaders_rpc"),
        constructor_of<php::ResponseHeaders, Glimmet::ResponseHeaders>("ResponseHeaders_protobuf", id),
        constructor_of<php::PostData, PhpReport>("PostData_rpc"),
        constructor_of<php::PostData, Glimmet::RawPostData>("PostData_protobuf", id),
        constructor_of<php::ResponseBody, PhpReport>("ResponseBody_rpc"),
        constructor_of<php::ResponseBody, Glimmet::ResponseBody>("ResponseBody_protobuf", id),
        constructor_of<php::Superglobals, PhpReport>("Superglobals_rpc_init", init),
        constructor_of<php::Superglobals, PhpReport>("Superglobals_rpc_change", change),
        constructor_of<php::Superglobals, Monitor::Superglobals>("Superglobals_monitor", id),
        constructor_of<php::Superglobals, Glimmet::Superglobals>("Superglobals_glimmet_init", id, init),
        constructor_of<php::Superglobals, Glimmet::Superglobals>("Superglobals_glimmet_change", id, change),
        constructor_of<php::ErrorData, PhpReport>("ErrorData_rpc"),
        constructor_of<php::ErrorData, Glimmet::Error>("ErrorData_protobuf", id),
        constructor_of<php::Error, rpc::php::v1::Error>("Error_rpc"),
        constructor_of<php::Error, Glimmet::Error>("Error_protobuf"),
        constructor_of<php::Exception, rpc::php::v1::Exception>("Exception_rpc"),
        constructor_of<php::Exception, Glimmet::Error>("Exception_protobuf"),
        constructor_of<php::Function, rpc::php::v1::Function>("Function_rpc"),
        constructor_of<php::Function, rpc::php::v1::StackTraceFrame>("Function_rpc_frame"),
        constructor_of<php::Function, Monitor::FunctionData>("Function_protobuf"),
        constructor_of<php::Function, PelorinPHP::StackTraceFrame>("Function_protobuf_frame"),
        constructor_of<php::StackTrace, rpc::php::v1::StackTrace>("StackTrace_rpc"),
        constructor_of<php::StackTrace, PelorinPHP::StackTrace>("StackTrace_protobuf"),
        stack_trace_of_a_list("StackTrace_protobuf_list"),
        constructor_of<php::ZVal, rpc::php::v1::ZVal>("ZVal_rpc"),
        constructor_of<php::ZVal, PelorinPHP::ZVal>("ZVal_protobuf"),
        constructor_of<php::PelorinArray, rpc::php::v1::PelorinArray>("PelorinArray_rpc"),
        constructor_of<php::PelorinArray, PelorinPHP::PelorinArray>("PelorinArray_protobuf"),
        constructor_of<php::PelorinObject, rpc::php::v1::PelorinObject>("PelorinObject_rpc"),
        constructor_of<php::PelorinResource, rpc::php::v1::PelorinResource>("PelorinResource_rpc"),
        constructor_of<monitor::Event, MonitorReport>("Event_rpc"),
        constructor_of<monitor::Event, Monitor::Event>("Event_protobuf", id),
        constructor_of<codetrace::Header, CodetraceReport>("Header_rpc"),
        constructor_of<codetrace::Header, CT::Header>("Header_protobuf", id),
        constructor_of_chunk<codetrace::Data, zeromq::msg_t>("Data_rpc", id),
        constructor_of_chunk<codetrace::Data, ZMQ::Message>("Data_protobuf", id, 3L),
        constructor_of_chunk<codetrace::AddData, zeromq::msg_t>("AddData_rpc", id),
        constructor_of_chunk<codetrace::AddData, ZMQ::Message>("AddData_protobuf", id, 3L),
        constructor_of<glimmet::Functions, GlimmetReport>("Functions_rpc"),
        constructor_of<glimmet::Functions, Glimmet::Functions>("Functions_protobuf", id),
        constructor_of<glimmet::FunctionStats, rpc::glimmet::v1::Function>("FunctionStats_rpc"),
        constructor_of<glimmet::FunctionStats, Glimmet::Function>("FunctionStats_protobuf"),
        constructor_of<glimmet::Storage, GlimmetReport>("Storage_rpc"),
        constructor_of<glimmet::Storage, Glimmet::Storage>("Storage_protobuf", id),
        constructor_of<glimmet::SqlQueries, GlimmetReport>("SqlQueries_rpc"),
        constructor_of<glimmet::SqlQueries, Glimmet::SqlQueries>("SqlQueries_protobuf", id, connections, transactions),
        constructor_of<glimmet::SqlQuery, rpc::glimmet::v1::SqlQuery>("SqlQuery_rpc", connections, transactions),
        constructor_of<glimmet::SqlQuery, Glimmet::SqlQuery>("SqlQuery_protobuf", connections, transactions),
        constructor_of<glimmet::SqlConnections, rpc::glimmet::v1::SqlQueries>("SqlConnections_rpc"),
        constructor_of<glimmet::SqlConnections, Glimmet::SqlConnections>("SqlConnections_protobuf"),
        constructor_of<glimmet::SqlConnection, rpc::glimmet::v1::SqlConnection>("SqlConnection_rpc"),
        constructor_of<glimmet::SqlConnection, Glimmet::SqlConnection>("SqlConnection_protobuf"),
        constructor_of<glimmet::SqlTransactions, rpc::glimmet::v1::SqlQueries>("SqlTransactions_rpc"),
        constructor_of<glimmet::SqlTransactions, Glimmet::SqlTransactions>("SqlTransactions_protobuf"),
        constructor_of<glimmet::SqlTransaction, rpc::glimmet::v1::SqlTransaction>("SqlTransaction_rpc", transactions),
        constructor_of<glimmet::SqlTransaction, Glimmet::SqlTransaction>("SqlTransaction_protobuf", transactions),
        constructor_of<glimmet::SqlError, rpc::glimmet::v1::SqlError>("SqlError_rpc"),
        constructor_of<glimmet::SqlError, Glimmet::SqlError>("SqlError_protobuf"),
    };
}

} // namespace tarnwick::test
