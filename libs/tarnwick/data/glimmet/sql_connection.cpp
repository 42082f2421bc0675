#include <tarnwick/data/glimmet/sql_connection.h>

#include <tarnwick/data/reading.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

namespace tarnwick::data::glimmet::detail {

SqlConnection::SqlConnection(rpc::glimmet::v1::SqlConnection const &message)
    : id_(message.id())
    , kind_(classification<rpc::glimmet::v1::SqlConnection::KIND_OTHER>(message.kind()))
    , name_(text(message.name()))
{
}

SqlConnection::SqlConnection(pelorin::protobuf::Glimmet::SqlConnection const &message)
    : id_(message.id())
    , kind_(classification<pelorin::protobuf::Glimmet::SqlConnection::KIND_OTHER>(message.kind()))
    , name_(text(message.name()))
{
}

} // namespace tarnwick::data::glimmet::detail
