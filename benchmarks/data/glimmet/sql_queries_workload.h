#pragma once

#include "data/glimmet/sql_tables_workload.h"
#include "support/stack_traces.h"
#include "support/workload.h"

#include <tarnwick/data/glimmet/sql_queries.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <utility>

// 500 queries with stack traces of 12 frames without arguments, in 3 connections and 20 transactions. In the protobuf
// dialect connections and transactions are separate reports.

namespace tarnwick::bench {

inline bool has_transaction(rpc::glimmet::v1::SqlQuery const &query)
{
    return query.has_transaction_id();
}

inline bool has_transaction(pelorin::protobuf::Glimmet::SqlQuery const &query)
{
    return query.transaction_case() == pelorin::protobuf::Glimmet::SqlQuery::kTransactionId;
}

struct SqlQueries {
    static constexpr char const *name = "sql_queries";
    static constexpr std::size_t rounds = 1;
    static constexpr int usual_queries = 500;
    static constexpr int frames = 12;
    static constexpr std::uint32_t usual_connections = 3;
    static constexpr std::uint32_t usual_transactions = 20;
    using Record = data::glimmet::SqlQueries;
    using Payload = data::glimmet::detail::SqlQueries;

    template <class Message>
    static void fill_transactions(Message &message)
    {
        for (std::uint32_t id = 0; id < usual_transactions; ++id) {
            auto &transaction = *message.add_transactions();
            transaction.set_id(id);
            transaction.mutable_time()->set_nanos(1'000'000);
            if (id % 2 == 1)
                transaction.set_parent_id(id - 1);
        }
    }

    template <class Message>
    static void fill_queries(Message &message, int number, int queries)
    {
        for (int i = 0; i < queries; ++i) {
            auto &query = *message.add_queries();
            query.set_text(numbered("SELECT id, name, price FROM articles WHERE id = ", number + i));
            query.mutable_time()->set_nanos(100'000 + i);
            query.set_connection_id(static_cast<std::uint32_t>(number + i) % usual_connections);
            if ((number + i) % 3 != 0)
                query.set_transaction_id(static_cast<std::uint32_t>(number + i) % usual_transactions);
            if ((number + i) % 50 == 0)
                query.mutable_error()->set_message("deadlock found when trying to get a lock");
            fill_frames(*query.mutable_stack_trace(), frames, number, 0);
        }
    }

    static std::size_t read(Record const &record)
    {
        std::size_t sum = 0;
        for (auto const &query : record->queries()) {
            sum += static_cast<std::size_t>(query->text().size() + query->time().nanos);
            if (query->connection())
                sum += query->connection()->id();
            if (query->transaction())
                sum += query->transaction()->id();
            if (query->stack_trace())
                sum += bench::read(*query->stack_trace());
        }
        return sum;
    }

    template <class Connections, class Transactions, class Queries>
    static void floor_report(Floor &floor, Connections const &connections, Transactions const &transactions,
                             Queries const &queries)
    {
        floor.block(sizeof(Payload));
        auto const &connection_table = floor_connections(floor, connections);
        auto const &transaction_table = floor_transactions(floor, transactions);
        floor.pointer_list(connections.size());
        floor.pointer_list(transactions.size());
        floor.pointer_list(queries.size());
        for (auto const &query : queries) {
            floor.block(sizeof(data::glimmet::detail::SqlQuery));
            floor.text(query.text());
            floor.link(connection_table, query.connection_id());
            if (has_transaction(query))
                floor.link(transaction_table, query.transaction_id());
            if (query.has_error())
                floor.text(query.error().message());
            floor_frames(floor, query.stack_trace().frames());
        }
    }

    template <class Tree, class Connections, class Transactions, class Queries>
    static Tree::Document tree_of_report(Connections const &all_connections, Transactions const &all_transactions,
                                         Queries const &all_queries)
    {
        typename Tree::Array connections;
        for (auto const &connection : all_connections) {
            typename Tree::Object object;
            Tree::template put<"id">(object, Tree::number(connection.id()));
            Tree::template put<"name">(object, Tree::text(connection.name()));
            Tree::append(connections, std::move(object));
        }
        typename Tree::Array transactions;
        for (auto const &transaction : all_transactions) {
            typename Tree::Object object;
            Tree::template put<"id">(object, Tree::number(transaction.id()));
            Tree::template put<"time">(object, Tree::number(transaction.time().nanos()));
            if (transaction.has_parent_id())
                Tree::template put<"parent">(object, Tree::number(transaction.parent_id()));
            Tree::append(transactions, std::move(object));
        }
        typename Tree::Array queries;
        for (auto const &query : all_queries) {
            typename Tree::Object object;
            Tree::template put<"text">(object, Tree::text(query.text()));
            Tree::template put<"time">(object, Tree::number(query.time().nanos()));
            Tree::template put<"connection">(object, Tree::number(query.connection_id()));
            if (has_transaction(query))
                Tree::template put<"transaction">(object, Tree::number(query.transaction_id()));
            if (query.has_error())
                Tree::template put<"error">(object, Tree::text(query.error().message()));
            Tree::template put<"stack_trace">(object, tree_of_frames<Tree>(query.stack_trace().frames()));
            Tree::append(queries, std::move(object));
        }
        auto report = report_object<Tree>();
        Tree::template put<"connections">(report, std::move(connections));
        Tree::template put<"transactions">(report, std::move(transactions));
        Tree::template put<"queries">(report, std::move(queries));
        return Tree::document(std::move(report));
    }
};

struct SqlQueriesRpc : SqlQueries, RpcReport<rpc::glimmet::v1::NotifyRequest> {
    static Messages messages(int number, int queries = usual_queries)
    {
        auto message = new_message(number);
        auto &payload = *message.mutable_sql_queries();
        fill_connections(payload, usual_connections);
        fill_transactions(payload);
        fill_queries(payload, number, queries);
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message)); }

    static void floor(Floor &floor, Message const &message)
    {
        auto const &payload = message.sql_queries();
        floor_report(floor, payload.connections(), payload.transactions(), payload.queries());
    }

    template <class Tree>
    static Tree::Document tree(Message const &message)
    {
        auto const &payload = message.sql_queries();
        return tree_of_report<Tree>(payload.connections(), payload.transactions(), payload.queries());
    }
};

struct SqlQueriesProtobuf : SqlQueries {
    static constexpr char const *dialect = "protobuf";
    using Connections = pelorin::protobuf::Glimmet::SqlConnections;
    using Transactions = pelorin::protobuf::Glimmet::SqlTransactions;
    using Queries = pelorin::protobuf::Glimmet::SqlQueries;
    using Messages = std::tuple<Connections, Transactions, Queries>;

    static Messages messages(int number, int queries = usual_queries)
    {
        Messages messages;
        fill_connections(std::get<Connections>(messages), usual_connections);
        fill_transactions(std::get<Transactions>(messages));
        fill_queries(std::get<Queries>(messages), number, queries);
        return messages;
    }

    static Record build(Connections const &connections, Transactions const &transactions, Queries const &queries)
    {
        return Record(new Payload(queries, data::php::RequestId(7), data::glimmet::SqlConnections(connections),
                                  data::glimmet::SqlTransactions(transactions)));
    }

    static void floor(Floor &floor, Connections const &connections, Transactions const &transactions,
                      Queries const &queries)
    {
        floor_report(floor, connections.connections(), transactions.transactions(), queries.queries());
    }

    template <class Tree>
    static Tree::Document tree(Connections const &connections, Transactions const &transactions, Queries const &queries)
    {
        return tree_of_report<Tree>(connections.connections(), transactions.transactions(), queries.queries());
    }
};

} // namespace tarnwick::bench
