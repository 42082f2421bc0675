#include <tarnwick/data/glimmet/sql_connections.h>

#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

namespace tarnwick::data::glimmet {
namespace {

template <class Messages>
void fill(SqlConnections &table, Messages const &messages)
{
    for (auto const &message : messages) {
        SqlConnections::mapped_type const connection(new detail::SqlConnection(message));
        table.insert(connection->id(), connection);
    }
}

} // namespace

SqlConnections::SqlConnections(messages::rpc_glimmet::SqlQueries const &message)
{
    fill(*this, message.connections());
}

SqlConnections::SqlConnections(messages::protobuf_glimmet::SqlConnections const &message)
{
    fill(*this, message.connections());
}

} // namespace tarnwick::data::glimmet
