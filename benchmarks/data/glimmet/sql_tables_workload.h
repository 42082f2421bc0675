#pragma once

#include "support/workload.h"

#include <tarnwick/data/glimmet/sql_connections.h>
#include <tarnwick/data/glimmet/sql_transactions.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <utility>

// A connection and 100 transactions, each nested in the previous one.

namespace tarnwick::bench {

template <class Message>
void fill_connections(Message &message, std::uint32_t connections)
{
    for (std::uint32_t id = 0; id < connections; ++id) {
        auto &connection = *message.add_connections();
        connection.set_id(id);
        connection.set_name("mysql:host=db.example;dbname=application");
    }
}

/// Each returns the table of a report's links for look-ups.
template <class Connections>
Floor::Table const &floor_connections(Floor &floor, Connections const &connections)
{
    auto &table = floor.table();
    for (auto const &connection : connections) {
        floor.block(sizeof(data::glimmet::detail::SqlConnection));
        floor.text(connection.name());
        table[connection.id()] = nullptr;
    }
    return table;
}

inline bool has_parent(rpc::glimmet::v1::SqlTransaction const &transaction)
{
    return transaction.has_parent_id();
}

inline bool has_parent(pelorin::protobuf::Glimmet::SqlTransaction const &transaction)
{
    return transaction.parent_case() == pelorin::protobuf::Glimmet::SqlTransaction::kParentId;
}

template <class Transactions>
Floor::Table const &floor_transactions(Floor &floor, Transactions const &transactions)
{
    auto &table = floor.table();
    for (auto const &transaction : transactions) {
        floor.block(sizeof(data::glimmet::detail::SqlTransaction));
        auto const parent = has_parent(transaction) ? table.find(transaction.parent_id()) : table.end();
        table[transaction.id()] = parent == table.end() ? nullptr : parent->second;
    }
    return table;
}

struct SqlTables {
    static constexpr char const *name = "sql_tables";
    static constexpr int usual_transactions = 100;
    using Records = std::tuple<data::glimmet::SqlConnections, data::glimmet::SqlTransactions>;

    template <class Message>
    static void fill_chain(Message &message, int number, int transactions)
    {
        for (int i = 0; i < transactions; ++i) {
            auto &transaction = *message.add_transactions();
            auto const id = static_cast<std::uint32_t>(number + i);
            transaction.set_id(id);
            transaction.set_parent_id(id - 1);
            transaction.mutable_time()->set_nanos(i);
        }
    }

    static std::size_t read(Records const &records)
    {
        std::size_t sum = 0;
        for (auto const &connection : std::get<0>(records))
            sum += static_cast<std::size_t>(connection->name().size());
        for (auto const &transaction : std::get<1>(records))
            sum += transaction->parent() ? transaction->parent()->id() : 0;
        return sum;
    }
};

struct SqlTablesRpc : SqlTables, RpcReport<rpc::glimmet::v1::SqlQueries> {
    static Messages messages(int number, int transactions = usual_transactions)
    {
        Message message;
        fill_connections(message, 1);
        fill_chain(message, number, transactions);
        return {std::move(message)};
    }

    static Records build(Message const &message)
    {
        return {data::glimmet::SqlConnections(message), data::glimmet::SqlTransactions(message)};
    }

    static void floor(Floor &floor, Message const &message)
    {
        floor_connections(floor, message.connections());
        floor_transactions(floor, message.transactions());
    }
};

struct SqlTablesProtobuf : SqlTables {
    static constexpr char const *dialect = "protobuf";
    using Connections = pelorin::protobuf::Glimmet::SqlConnections;
    using Transactions = pelorin::protobuf::Glimmet::SqlTransactions;
    using Messages = std::tuple<Connections, Transactions>;

    static Messages messages(int number, int transactions = usual_transactions)
    {
        Messages messages;
        fill_connections(std::get<Connections>(messages), 1);
        fill_chain(std::get<Transactions>(messages), number, transactions);
        return messages;
    }

    static Records build(Connections const &connections, Transactions const &transactions)
    {
        return {data::glimmet::SqlConnections(connections), data::glimmet::SqlTransactions(transactions)};
    }

    static void floor(Floor &floor, Connections const &connections, Transactions const &transactions)
    {
        floor_connections(floor, connections.connections());
        floor_transactions(floor, transactions.transactions());
    }
};

} // namespace tarnwick::bench
