#include "support/record_benchmark.h"

#include <tarnwick/data/glimmet/sql_queries.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <string>

// 3 connections, 20 transactions, and 500 queries with stack traces of 12 frames without arguments. And the release of a
// chain of 10,000 transactions.

namespace tarnwick::data::glimmet {
namespace {

using ProtobufConnections = pelorin::protobuf::Glimmet::SqlConnections;
using ProtobufQueries = pelorin::protobuf::Glimmet::SqlQueries;
using ProtobufTransactions = pelorin::protobuf::Glimmet::SqlTransactions;
using RpcReport = rpc::glimmet::v1::NotifyRequest;

constexpr std::uint32_t connections = 3;
constexpr std::uint32_t transactions = 20;
constexpr int queries = 500;
constexpr int frames = 12;
constexpr std::uint32_t chain_links = 10'000;

std::string numbered(char const *stem, int number)
{
    return stem + std::to_string(number);
}

template <class Message>
void fill_connections(Message &message)
{
    for (std::uint32_t id = 0; id < connections; ++id) {
        auto &connection = *message.add_connections();
        connection.set_id(id);
        connection.set_name("mysql:host=db.example;dbname=application");
    }
}

template <class Message>
void fill_transactions(Message &message)
{
    for (std::uint32_t id = 0; id < transactions; ++id) {
        auto &transaction = *message.add_transactions();
        transaction.set_id(id);
        transaction.mutable_time()->set_nanos(1'000'000);
        if (id % 2 == 1)
            transaction.set_parent_id(id - 1);
    }
}

void fill_frame(rpc::php::v1::StackTraceFrame &frame, int number)
{
    auto &function = *frame.mutable_function();
    function.set_name(numbered("App\\Repository\\Index::find", number));
    function.mutable_location()->set_file(numbered("/srv/app/src/Repository/Index", number));
    function.mutable_location()->set_line(static_cast<std::uint32_t>(number));
}

void fill_frame(pelorin::protobuf::PelorinPHP::StackTraceFrame &frame, int number)
{
    frame.set_name(numbered("App\\Repository\\Index::find", number));
    frame.set_file(numbered("/srv/app/src/Repository/Index", number));
    frame.set_line(static_cast<std::uint32_t>(number));
}

template <class Message>
void fill_queries(Message &message, int number)
{
    for (int i = 0; i < queries; ++i) {
        auto &query = *message.add_queries();
        query.set_text(numbered("SELECT id, name, price FROM articles WHERE id = ", number + i));
        query.mutable_time()->set_nanos(100'000 + i);
        query.set_connection_id(static_cast<std::uint32_t>(number + i) % connections);
        if ((number + i) % 3 != 0)
            query.set_transaction_id(static_cast<std::uint32_t>(number + i) % transactions);
        if ((number + i) % 50 == 0)
            query.mutable_error()->set_message("deadlock found when trying to get a lock");
        for (int frame = 0; frame < frames; ++frame)
            fill_frame(*query.mutable_stack_trace()->add_frames(), number + frame);
    }
}

void fill(RpcReport &message, int number)
{
    message.mutable_request_id()->set_id(static_cast<std::uint64_t>(number));
    auto &payload = *message.mutable_sql_queries();
    fill_connections(payload);
    fill_transactions(payload);
    fill_queries(payload, number);
}

void fill(ProtobufQueries &message, int number)
{
    fill_queries(message, number);
}

void fill_chain(ProtobufTransactions &message, int /*number*/)
{
    for (std::uint32_t id = 0; id < chain_links; ++id) {
        auto &transaction = *message.add_transactions();
        transaction.set_id(id);
        transaction.set_parent_id(id - 1);
    }
}

/// A walk over all queries and frames that touches each.
std::size_t read(SqlQueries const &record)
{
    std::size_t sum = 0;
    for (auto const &query : record->queries()) {
        sum += static_cast<std::size_t>(query->text().size());
        if (query->connection())
            sum += query->connection()->id();
        if (query->transaction())
            sum += query->transaction()->id();
        if (!query->stack_trace())
            continue;
        for (auto const &frame : query->stack_trace()->frames())
            sum += frame.location() ? frame.location()->line() : 0;
    }
    return sum;
}

[[maybe_unused]] bool const registered = [] {
    auto const from_rpc = [](RpcReport const &message) { return SqlQueries(new detail::SqlQueries(message)); };
    bench::add_record<RpcReport>("SqlQueries/rpc", fill, from_rpc);
    bench::add_read<RpcReport>("SqlQueries/rpc", fill, from_rpc, read);

    ProtobufConnections connection_message;
    fill_connections(connection_message);
    ProtobufTransactions transaction_message;
    fill_transactions(transaction_message);
    auto const from_protobuf = [connection_table = SqlConnections(connection_message),
                                transaction_table =
                                    SqlTransactions(transaction_message)](ProtobufQueries const &message) {
        return SqlQueries(new detail::SqlQueries(message, php::RequestId(7), connection_table, transaction_table));
    };
    bench::add_record<ProtobufQueries>("SqlQueries/protobuf", fill, from_protobuf);
    bench::add_read<ProtobufQueries>("SqlQueries/protobuf", fill, from_protobuf, read);

    // The child alone is kept, so that its release is that of the chain.
    auto const chain = [](ProtobufTransactions const &message) { return SqlTransactions(message).last(); };
    benchmark::RegisterBenchmark("SqlTransactions/chain_of_10000/build",
                                 bench::build<ProtobufTransactions, decltype(chain)>, fill_chain, chain);
    benchmark::RegisterBenchmark("SqlTransactions/chain_of_10000/release",
                                 bench::release<ProtobufTransactions, decltype(chain)>, fill_chain, chain);
    return true;
}();

} // namespace
} // namespace tarnwick::data::glimmet
