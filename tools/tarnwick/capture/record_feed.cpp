#include "capture/record_feed.h"

#include "capture/report_parser.h"
#include "live/frame_choice.h"
#include "print/record_selection.h"
#include "requests/activity_sink.h"
#include "requests/dialect_differences.h"
#include "requests/records_sink.h"
#include "requests/statement_sink.h"
#include "requests/summary_sink.h"
#include "requests/whole_request.h"

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

constexpr std::string_view only_view;
constexpr std::string_view at_start = "init";
constexpr std::string_view what_changed = "change";
constexpr std::string_view all_entries = "all";

} // namespace

template <class Sink>
std::optional<std::string> RecordFeed<Sink>::feed(Frame const &frame)
{
    switch (frame.report_case()) {
    case Frame::kRpcPhp:
        return read_rpc<PhpReport>(frame.rpc_php(),
                                   [&](auto const &message, auto const &source) { feed_php(message, source); });
    case Frame::kRpcMonitor:
        return feed_rpc<messages::rpc_monitor::NotifyRequest>(frame.rpc_monitor());
    case Frame::kRpcCodetrace:
        return feed_rpc<messages::rpc_codetrace::NotifyRequest>(frame.rpc_codetrace());
    case Frame::kRpcGlimmet:
        return read_rpc<ProfilerReport>(
            frame.rpc_glimmet(), [&](auto const &message, auto const &source) { feed_glimmet(message, source); });
    case Frame::kRpcData:
        feed_rpc_chunk<codetrace::Data>(frame.rpc_data(), frame);
        return std::nullopt;
    case Frame::kRpcAddData:
        feed_rpc_chunk<codetrace::AddData>(frame.rpc_add_data(), frame);
        return std::nullopt;
    case Frame::kRinit:
        return feed_protobuf<messages::protobuf_php::RInitData>(frame.rinit(), frame);
    case Frame::kRshutdown:
        return feed_protobuf<messages::protobuf_php::RShutdownData>(frame.rshutdown(), frame);
    case Frame::kError:
        return feed_protobuf<messages::protobuf_glimmet::Error>(frame.error(), frame);
    case Frame::kRequestHeaders:
        return feed_protobuf<messages::protobuf_glimmet::RequestHeaders>(frame.request_headers(), frame);
    case Frame::kResponseHeaders:
        return feed_protobuf<messages::protobuf_glimmet::ResponseHeaders>(frame.response_headers(), frame);
    case Frame::kRawPostData:
        return feed_protobuf<messages::protobuf_glimmet::RawPostData>(frame.raw_post_data(), frame);
    case Frame::kResponseBody:
        return feed_protobuf<messages::protobuf_glimmet::ResponseBody>(frame.response_body(), frame);
    case Frame::kMonitorEvent:
        return feed_protobuf<messages::protobuf_monitor::Event>(frame.monitor_event(), frame);
    case Frame::kFunctions:
        return feed_protobuf<messages::protobuf_glimmet::Functions>(frame.functions(), frame);
    case Frame::kStorage:
        return feed_protobuf<messages::protobuf_glimmet::Storage>(frame.storage(), frame);
    case Frame::kCtHeader:
        return feed_protobuf<messages::protobuf_codetrace::Header>(frame.ct_header(), frame);
    case Frame::kCtData:
        feed_protobuf_chunk<codetrace::Data>(frame.ct_data(), frame);
        return std::nullopt;
    case Frame::kCtAddData:
        feed_protobuf_chunk<codetrace::AddData>(frame.ct_add_data(), frame);
        return std::nullopt;
    case Frame::kMonitorSuperglobals:
        return read_protobuf<messages::protobuf_monitor::Superglobals>(
            frame.monitor_superglobals(), frame, [&](auto const &message, auto const &source) {
                build<Superglobals>(source, all_entries, message, source.request_id);
            });
    case Frame::kSuperglobals:
        return read_protobuf<messages::protobuf_glimmet::Superglobals>(
            frame.superglobals(), frame, [&](auto const &message, auto const &source) {
                build<Superglobals>(source, at_start, message, source.request_id, Superglobals::init_t());
                build<Superglobals>(source, what_changed, message, source.request_id, Superglobals::change_t());
            });
    // Queries refer to the connections and the transactions of earlier reports.
    case Frame::kSqlConnections:
        return read_protobuf<messages::protobuf_glimmet::SqlConnections>(
            frame.sql_connections(), frame, [&](auto const &message, auto const &source) {
                if (!sink_.template wants<glimmet::SqlConnections>() && !sink_.template wants<glimmet::SqlQueries>())
                    return;
                auto &connections = sql_tables_.of(source.request_id).connections;
                connections = glimmet::SqlConnections(message);
                if (sink_.template wants<glimmet::SqlConnections>())
                    sink_.take(connections, source, only_view);
            });
    case Frame::kSqlTransactions:
        return read_protobuf<messages::protobuf_glimmet::SqlTransactions>(
            frame.sql_transactions(), frame, [&](auto const &message, auto const &source) {
                if (!sink_.template wants<glimmet::SqlTransactions>() && !sink_.template wants<glimmet::SqlQueries>())
                    return;
                auto &transactions = sql_tables_.of(source.request_id).transactions;
                transactions = glimmet::SqlTransactions(message);
                if (sink_.template wants<glimmet::SqlTransactions>())
                    sink_.take(transactions, source, only_view);
            });
    case Frame::kSqlQueries:
        return read_protobuf<messages::protobuf_glimmet::SqlQueries>(
            frame.sql_queries(), frame, [&](auto const &message, auto const &source) {
                if (!sink_.template wants<glimmet::SqlQueries>())
                    return;
                auto const &[connections, transactions] = sql_tables_.of(source.request_id);
                build<glimmet::SqlQueries>(source, only_view, message, source.request_id, connections, transactions);
            });
    case Frame::REPORT_NOT_SET:
        return std::nullopt;
    }
    return std::nullopt;
}

template <class Sink>
void RecordFeed<Sink>::feed_php(PhpReport const &message, ReportSource const &source)
{
    auto const feeds = [&](PhpReport::PayloadCase payload) {
        return all_records_ || message.payload_case() == payload;
    };
    if (feeds(PhpReport::kRinit)) {
        build<RInit>(source, only_view, message);
        build<RequestHeaders>(source, only_view, message);
        build<Superglobals>(source, at_start, message, Superglobals::init_t());
        build<PostData>(source, only_view, message);
    }
    if (feeds(PhpReport::kRshutdown)) {
        build<RShutdown>(source, only_view, message);
        build<ResponseHeaders>(source, only_view, message);
        build<Superglobals>(source, what_changed, message, Superglobals::change_t());
        build<ResponseBody>(source, only_view, message);
    }
    if (feeds(PhpReport::kError))
        build<ErrorData>(source, only_view, message);
}

template <class Sink>
void RecordFeed<Sink>::feed_glimmet(ProfilerReport const &message, ReportSource const &source)
{
    auto const feeds = [&](ProfilerReport::PayloadCase payload) {
        return all_records_ || message.payload_case() == payload;
    };
    if (feeds(ProfilerReport::kFunctions))
        build<glimmet::Functions>(source, only_view, message);
    if (feeds(ProfilerReport::kStorage))
        build<glimmet::Storage>(source, only_view, message);
    if (feeds(ProfilerReport::kSqlQueries))
        build<glimmet::SqlQueries>(source, only_view, message);
}

template <class Sink>
template <class Message, class Build>
std::optional<std::string> RecordFeed<Sink>::read_rpc(std::string const &bytes, Build &&build)
{
    if (!sink_.accepts(Dialect::rpc))
        return std::nullopt;
    return parsed<Message>(bytes, [&](Message const &message) {
        ReportSource const source{Dialect::rpc, RequestId(message.request_id())};
        if (!sink_.accepts(source.request_id))
            return;
        sink_.begin(source, message);
        build(message, source);
    });
}

template <class Sink>
template <class Message, class Build>
std::optional<std::string> RecordFeed<Sink>::read_protobuf(std::string const &bytes, Frame const &frame, Build &&build)
{
    ReportSource const source{Dialect::protobuf, RequestId(frame.request_id())};
    if (!sink_.accepts(source.dialect) || !sink_.accepts(source.request_id))
        return std::nullopt;
    return parsed<Message>(bytes, [&](Message const &message) {
        sink_.begin(source, message);
        build(message, source);
    });
}

// A message on the arena is dropped with it at once: a deep one is not torn down level by level.
template <class Sink>
template <class Message, class Use>
std::optional<std::string> RecordFeed<Sink>::parsed(std::string const &bytes, Use &&use)
{
    auto &message = *google::protobuf::Arena::Create<Message>(&arena_);
    auto fault = parse_report(message, bytes);
    if (!fault)
        use(message);
    arena_.Reset();
    return fault;
}

template <class Sink>
template <class Message>
std::optional<std::string> RecordFeed<Sink>::feed_rpc(std::string const &bytes)
{
    return read_rpc<Message>(bytes, [&](Message const &message, ReportSource const &source) {
        data::for_each_type(data::ReportRecords(), [&]<class Record> {
            if constexpr (data::is_built_from<Record, Message>)
                build<Record>(source, only_view, message);
        });
    });
}

template <class Sink>
template <class Message>
std::optional<std::string> RecordFeed<Sink>::feed_protobuf(std::string const &bytes, Frame const &frame)
{
    return read_protobuf<Message>(bytes, frame, [&](Message const &message, ReportSource const &source) {
        data::for_each_type(data::ReportRecords(), [&]<class Record> {
            if constexpr (data::is_built_from<Record, Message, RequestId>)
                build<Record>(source, only_view, message, source.request_id);
        });
    });
}

template <class Sink>
bool RecordFeed<Sink>::begin_chunk(ReportSource const &source)
{
    if (!sink_.accepts(source.dialect) || !sink_.accepts(source.request_id))
        return false;
    sink_.begin(source, TraceChunk());
    return true;
}

template <class Sink>
template <class Record>
void RecordFeed<Sink>::feed_rpc_chunk(std::string const &bytes, Frame const &frame)
{
    ReportSource const source{Dialect::rpc, RequestId(frame.request_id())};
    if (begin_chunk(source) && sink_.template wants<Record>())
        build<Record>(source, only_view, loopback_.transfer(bytes, frame.more()), source.request_id);
}

template <class Sink>
template <class Record>
void RecordFeed<Sink>::feed_protobuf_chunk(std::string const &bytes, Frame const &frame)
{
    ReportSource const source{Dialect::protobuf, RequestId(frame.request_id())};
    if (begin_chunk(source) && sink_.template wants<Record>())
        build<Record>(source, only_view, ZMQ::Message(bytes), source.request_id, frame.skip());
}

template <class Sink>
template <class Record, class... Parts>
void RecordFeed<Sink>::build(ReportSource const &source, std::string_view view, Parts &&...parts)
{
    if (sink_.template wants<Record>())
        sink_.take(Record(new Record::Pointer::Type(std::forward<Parts>(parts)...)), source, view);
}

template class RecordFeed<ActivitySink>;
template class RecordFeed<DialectDifferences>;
template class RecordFeed<FrameChoice>;
template class RecordFeed<RecordSelection>;
template class RecordFeed<RecordsSink>;
template class RecordFeed<StatementSink>;
template class RecordFeed<SummarySink>;
template class RecordFeed<WholeRequestSink>;

} // namespace tarnwick::program
