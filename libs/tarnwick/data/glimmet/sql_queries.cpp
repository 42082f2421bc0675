#include <tarnwick/data/glimmet/sql_queries.h>

#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

namespace tarnwick::data::glimmet::detail {
namespace {

template <class Messages>
QList<QExplicitlySharedDataPointer<SqlQuery>> linked(Messages const &messages, SqlConnections::Table const &connections,
                                                     SqlTransactions::Table const &transactions)
{
    using Pointer = QExplicitlySharedDataPointer<SqlQuery>;
    QList<Pointer> queries;
    queries.reserve(messages.size());
    for (auto const &message : messages)
        queries.append(Pointer(new SqlQuery(message, connections, transactions)));
    return queries;
}

} // namespace

SqlQueries::SqlQueries(messages::rpc_glimmet::NotifyRequest const &message)
    : request_id_(message.request_id())
{
    auto const &payload = message.sql_queries();
    SqlConnections const connections(payload);
    SqlTransactions const transactions(payload);
    connections_ = connections.values();
    transactions_ = transactions.values();
    queries_ = linked(payload.queries(), connections, transactions);
}

SqlQueries::SqlQueries(messages::protobuf_glimmet::SqlQueries const &message, php::RequestId request_id,
                       SqlConnections::Table const &connections, SqlTransactions::Table const &transactions)
    : request_id_(request_id)
    , connections_(connections.values())
    , transactions_(transactions.values())
    , queries_(linked(message.queries(), connections, transactions))
{
}

} // namespace tarnwick::data::glimmet::detail
