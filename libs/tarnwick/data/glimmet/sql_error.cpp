#include <tarnwick/data/glimmet/sql_error.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

namespace tarnwick::data::glimmet {

SqlError::SqlError(messages::rpc_glimmet::SqlError const &message)
    : message_(text(message.message()))
{
}

SqlError::SqlError(messages::protobuf_glimmet::SqlError const &message)
    : message_(text(message.message()))
{
}

} // namespace tarnwick::data::glimmet
