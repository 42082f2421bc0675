#pragma once

#include <tarnwick/data/glimmet/sql_connections.h>
#include <tarnwick/data/glimmet/sql_transactions.h>
#include <tarnwick/data/php/request_id.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>

namespace tarnwick::program {

/// The connections and transactions of the protobuf dialect, which travel in reports of their own: the latest of each, for
/// the requests that were heard of most recently.
class SqlTables {
public:
    static constexpr std::size_t max_requests = 4096;

    struct Tables {
        data::glimmet::SqlConnections connections;
        data::glimmet::SqlTransactions transactions;
    };

    /// The tables of a request, which becomes the most recent one; those of a request not known, or no longer, are empty.
    /// They stay until the next call.
    Tables &of(data::php::RequestId request_id);

private:
    struct Request {
        std::uint64_t id = 0;
        Tables tables;
    };

    std::list<Request> requests_; ///< the most recent one first
    std::unordered_map<std::uint64_t, std::list<Request>::iterator> places_;
};

} // namespace tarnwick::program
