#pragma once

#include <tarnwick/data/glimmet/sql_connections.h>
#include <tarnwick/data/glimmet/sql_transactions.h>
#include <tarnwick/data/php/request_id.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>

namespace tarnwick::program {

/// Latest connections and transactions of the protobuf dialect, which are in other reports than the queries. Keeps
/// those of the `max_requests` requests that were used most recently.
class SqlTables {
public:
    static constexpr std::size_t max_requests = 4096;

    struct Tables {
        data::glimmet::SqlConnections connections;
        data::glimmet::SqlTransactions transactions;
    };

    /// Returns the tables of a request, and makes it the most recent one. They are empty for an unknown request, and
    /// valid until the next call.
    Tables &of(data::php::RequestId request_id);

private:
    struct Request {
        std::uint64_t id = 0;
        Tables tables;
    };

    std::list<Request> requests_; ///< most recent first
    std::unordered_map<std::uint64_t, std::list<Request>::iterator> places_;
};

} // namespace tarnwick::program
