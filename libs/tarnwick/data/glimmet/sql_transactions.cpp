#include <tarnwick/data/glimmet/sql_transactions.h>

#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

namespace tarnwick::data::glimmet {
namespace {

// A transaction is constructed before it is in the table. Its parent can be an earlier transaction with the same id,
// but never the transaction itself.
template <class Messages>
void fill(SqlTransactions &table, Messages const &messages)
{
    for (auto const &message : messages) {
        SqlTransactions::mapped_type const transaction(new detail::SqlTransaction(message, table));
        table.insert(transaction->id(), transaction);
    }
}

} // namespace

SqlTransactions::SqlTransactions(messages::rpc_glimmet::SqlQueries const &message)
{
    fill(*this, message.transactions());
}

SqlTransactions::SqlTransactions(messages::protobuf_glimmet::SqlTransactions const &message)
{
    fill(*this, message.transactions());
}

} // namespace tarnwick::data::glimmet
