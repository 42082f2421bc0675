#include <tarnwick/data/glimmet/sql_query.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

namespace tarnwick::data::glimmet::detail {

SqlQuery::SqlQuery(messages::rpc_glimmet::SqlQuery const &message, SqlConnections::Table const &connections,
                   SqlTransactions::Table const &transactions)
    : kind_(classification<messages::rpc_glimmet::SqlQuery::KIND_OTHER>(message.kind()))
    , source_kind_(classification<messages::rpc_glimmet::SqlQuery::SOURCE_KIND_OTHER>(message.source_kind()))
    , text_(data::text(message.text()))
    , status_(classification<messages::rpc_glimmet::SqlQuery::STATUS_OTHER>(message.status()))
    , wide_number_(message.wide_number())
    , time_(time_pair(message.time()))
{
    if (message.has_connection_id())
        connection_ = connections.value(message.connection_id());
    if (message.has_transaction_id())
        transaction_ = transactions.value(message.transaction_id());
    if (message.has_extra_number())
        extra_number_ = message.extra_number();
    if (message.has_error())
        error_.emplace(message.error());
    if (message.has_stack_trace())
        stack_trace_.emplace(message.stack_trace());
}

SqlQuery::SqlQuery(messages::protobuf_glimmet::SqlQuery const &message, SqlConnections::Table const &connections,
                   SqlTransactions::Table const &transactions)
    : kind_(classification<messages::protobuf_glimmet::SqlQuery::KIND_OTHER>(message.kind()))
    , source_kind_(classification<messages::protobuf_glimmet::SqlQuery::SOURCE_KIND_OTHER>(message.source_kind()))
    , text_(data::text(message.text()))
    , status_(classification<messages::protobuf_glimmet::SqlQuery::STATUS_OTHER>(message.status()))
    , wide_number_(message.wide_number())
    , time_(time_pair(message.time()))
    , extra_number_(number_unless_negative(message.extra_number()))
{
    if (message.connection_case() == messages::protobuf_glimmet::SqlQuery::kConnectionId)
        connection_ = connections.value(message.connection_id());
    if (message.transaction_case() == messages::protobuf_glimmet::SqlQuery::kTransactionId)
        transaction_ = transactions.value(message.transaction_id());
    if (message.has_error())
        error_.emplace(message.error());
    if (message.has_stack_trace())
        stack_trace_.emplace(message.stack_trace());
}

} // namespace tarnwick::data::glimmet::detail
