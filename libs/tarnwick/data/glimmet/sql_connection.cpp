#include <tarnwick/data/glimmet/sql_connection.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

namespace tarnwick::data::glimmet::detail {

SqlConnection::SqlConnection(messages::rpc_glimmet::SqlConnection const &message)
    : id_(message.id())
    , kind_(classification<messages::rpc_glimmet::SqlConnection::KIND_OTHER>(message.kind()))
    , name_(text(message.name()))
{
}

SqlConnection::SqlConnection(messages::protobuf_glimmet::SqlConnection const &message)
    : id_(message.id())
    , kind_(classification<messages::protobuf_glimmet::SqlConnection::KIND_OTHER>(message.kind()))
    , name_(text(message.name()))
{
}

} // namespace tarnwick::data::glimmet::detail
