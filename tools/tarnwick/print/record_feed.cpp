#include "print/record_feed.h"

#include "capture/report_parser.h"

#include <tarnwick/data/record_messages.h>
#include <tarnwick/data/records.h>
#include <tarnwick/messages.h>

#include <utility>

namespace tarnwick::program {
namespace {

using capture::v1::Frame;
using namespace data::php;
namespace codetrace = data::codetrace;
namespace glimmet = data::glimmet;
using ProfilerReport = messages::rpc_glimmet::NotifyRequest;
using PhpReport = messages::rpc_php::NotifyRequest;

constexpr std::string_view rpc_dialect = "rpc";
constexpr std::string_view protobuf_dialect = "protobuf";

constexpr std::string_view at_start = "init";
constexpr std::string_view what_changed = "change";
constexpr std::string_view all_entries = "all";

} // namespace

std::optional<std::string> RecordFeed::feed(Frame const &frame)
{
    RequestId const request_id(frame.request_id());
    switch (frame.report_case()) {
    case Frame::kRpcPhp:
        return parsed<PhpReport>(frame.rpc_php(), [&](auto const &message) { print_php(message); });
    case Frame::kRinit:
        return parsed_into<messages::protobuf_php::RInitData>(frame.rinit(), protobuf_dialect, request_id);
    case Frame::kRshutdown:
        return parsed_into<messages::protobuf_php::RShutdownData>(frame.rshutdown(), protobuf_dialect, request_id);
    case Frame::kError:
        return parsed_into<messages::protobuf_glimmet::Error>(frame.error(), protobuf_dialect, request_id);
    case Frame::kRequestHeaders:
        return parsed_into<messages::protobuf_glimmet::RequestHeaders>(frame.request_headers(), protobuf_dialect,
                                                                       request_id);
    case Frame::kResponseHeaders:
        return parsed_into<messages::protobuf_glimmet::ResponseHeaders>(frame.response_headers(), protobuf_dialect,
                                                                        request_id);
    case Frame::kRawPostData:
        return parsed_into<messages::protobuf_glimmet::RawPostData>(frame.raw_post_data(), protobuf_dialect,
                                                                    request_id);
    case Frame::kResponseBody:
        return parsed_into<messages::protobuf_glimmet::ResponseBody>(frame.response_body(), protobuf_dialect,
                                                                     request_id);
    case Frame::kMonitorSuperglobals:
        return parsed<messages::protobuf_monitor::Superglobals>(frame.monitor_superglobals(), [&](auto const &message) {
            print_superglobals(protobuf_dialect, all_entries, message, request_id);
        });
    case Frame::kSuperglobals:
        return parsed<messages::protobuf_glimmet::Superglobals>(frame.superglobals(), [&](auto const &message) {
            print_superglobals(protobuf_dialect, at_start, message, request_id, Superglobals::init_t());
            print_superglobals(protobuf_dialect, what_changed, message, request_id, Superglobals::change_t());
        });
    case Frame::kRpcMonitor:
        return parsed_into<messages::rpc_monitor::NotifyRequest>(frame.rpc_monitor(), rpc_dialect);
    case Frame::kMonitorEvent:
        return parsed_into<messages::protobuf_monitor::Event>(frame.monitor_event(), protobuf_dialect, request_id);
    case Frame::kRpcCodetrace:
        return parsed_into<messages::rpc_codetrace::NotifyRequest>(frame.rpc_codetrace(), rpc_dialect);
    case Frame::kCtHeader:
        return parsed_into<messages::protobuf_codetrace::Header>(frame.ct_header(), protobuf_dialect, request_id);
    case Frame::kRpcData:
        print_rpc_chunk<codetrace::Data>(frame.rpc_data(), frame);
        return std::nullopt;
    case Frame::kRpcAddData:
        print_rpc_chunk<codetrace::AddData>(frame.rpc_add_data(), frame);
        return std::nullopt;
    case Frame::kCtData:
        print_protobuf_chunk<codetrace::Data>(frame.ct_data(), frame);
        return std::nullopt;
    case Frame::kCtAddData:
        print_protobuf_chunk<codetrace::AddData>(frame.ct_add_data(), frame);
        return std::nullopt;
    case Frame::kRpcGlimmet:
        return parsed<ProfilerReport>(frame.rpc_glimmet(), [&](auto const &message) { print_glimmet(message); });
    case Frame::kFunctions:
        return parsed_into<messages::protobuf_glimmet::Functions>(frame.functions(), protobuf_dialect, request_id);
    case Frame::kStorage:
        return parsed_into<messages::protobuf_glimmet::Storage>(frame.storage(), protobuf_dialect, request_id);
    case Frame::kSqlConnections:
        return parsed<messages::protobuf_glimmet::SqlConnections>(frame.sql_connections(), [&](auto const &message) {
            auto &connections = sql_tables_.of(request_id).connections;
            connections = glimmet::SqlConnections(message);
            printer_.print(connections, protobuf_dialect, {}, request_id);
        });
    case Frame::kSqlTransactions:
        return parsed<messages::protobuf_glimmet::SqlTransactions>(frame.sql_transactions(), [&](auto const &message) {
            auto &transactions = sql_tables_.of(request_id).transactions;
            transactions = glimmet::SqlTransactions(message);
            printer_.print(transactions, protobuf_dialect, {}, request_id);
        });
    case Frame::kSqlQueries:
        return parsed<messages::protobuf_glimmet::SqlQueries>(frame.sql_queries(), [&](auto const &message) {
            auto const &[connections, transactions] = sql_tables_.of(request_id);
            print<glimmet::SqlQueries>(protobuf_dialect, message, request_id, connections, transactions);
        });
    case Frame::REPORT_NOT_SET:
        return std::nullopt;
    }
    return std::nullopt;
}

void RecordFeed::print_php(PhpReport const &message)
{
    auto const feeds = [&](PhpReport::PayloadCase payload) {
        return all_records_ || message.payload_case() == payload;
    };
    if (feeds(PhpReport::kRinit)) {
        print<RInit>(rpc_dialect, message);
        print<RequestHeaders>(rpc_dialect, message);
        print_superglobals(rpc_dialect, at_start, message, Superglobals::init_t());
        print<PostData>(rpc_dialect, message);
    }
    if (feeds(PhpReport::kRshutdown)) {
        print<RShutdown>(rpc_dialect, message);
        print<ResponseHeaders>(rpc_dialect, message);
        print_superglobals(rpc_dialect, what_changed, message, Superglobals::change_t());
        print<ResponseBody>(rpc_dialect, message);
    }
    if (feeds(PhpReport::kError))
        print<ErrorData>(rpc_dialect, message);
}

void RecordFeed::print_glimmet(ProfilerReport const &message)
{
    auto const feeds = [&](ProfilerReport::PayloadCase payload) {
        return all_records_ || message.payload_case() == payload;
    };
    if (feeds(ProfilerReport::kFunctions))
        print<glimmet::Functions>(rpc_dialect, message);
    if (feeds(ProfilerReport::kStorage))
        print<glimmet::Storage>(rpc_dialect, message);
    if (feeds(ProfilerReport::kSqlQueries))
        print<glimmet::SqlQueries>(rpc_dialect, message);
}

// A message on the arena is dropped with it at once: a deep one is not torn down level by level.
template <class Message, class Build>
std::optional<std::string> RecordFeed::parsed(std::string const &bytes, Build &&build)
{
    auto &message = *google::protobuf::Arena::Create<Message>(&arena_);
    auto fault = parse_report(message, bytes, max_depth);
    if (!fault)
        build(message);
    arena_.Reset();
    return fault;
}

template <class Message, class... Arguments>
std::optional<std::string> RecordFeed::parsed_into(std::string const &bytes, std::string_view dialect,
                                                   Arguments... arguments)
{
    return parsed<Message>(bytes, [&](Message const &message) {
        data::for_each_type(data::ReportRecords(), [&]<class Record> {
            if constexpr (data::is_built_from<Record, Message, Arguments...>)
                print<Record>(dialect, message, arguments...);
        });
    });
}

template <class Record>
void RecordFeed::print_rpc_chunk(std::string const &bytes, Frame const &frame)
{
    print<Record>(rpc_dialect, loopback_.transfer(bytes, frame.more()), RequestId(frame.request_id()));
}

template <class Record>
void RecordFeed::print_protobuf_chunk(std::string const &bytes, Frame const &frame)
{
    print<Record>(protobuf_dialect, ZMQ::Message(bytes), RequestId(frame.request_id()), frame.skip());
}

template <class Record, class... Parts>
void RecordFeed::print(std::string_view dialect, Parts &&...parts)
{
    Record const record(new Record::Pointer::Type(std::forward<Parts>(parts)...));
    printer_.print(*record, dialect);
}

template <class... Parts>
void RecordFeed::print_superglobals(std::string_view dialect, std::string_view view, Parts const &...parts)
{
    Superglobals const record(new Superglobals::Pointer::Type(parts...));
    printer_.print(*record, dialect, view);
}

} // namespace tarnwick::program
