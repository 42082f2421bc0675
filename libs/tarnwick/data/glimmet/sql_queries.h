#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/glimmet/sql_connections.h>
#include <tarnwick/data/glimmet/sql_query.h>
#include <tarnwick/data/glimmet/sql_transactions.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/export.h>

#include <QtCore/QExplicitlySharedDataPointer>
#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QSharedData>

namespace pelorin::protobuf::Glimmet {
class SqlQueries;
}
namespace tarnwick::rpc::glimmet::v1 {
class NotifyRequest;
}

namespace tarnwick::data::glimmet {
namespace detail {

/// The SQL activity of one request: its queries, connections and transactions. No pointer in the lists is null.
///
/// | Accessor         | Meaning                              | rpc                              | protobuf               |
/// |------------------|--------------------------------------|----------------------------------|------------------------|
/// | `request_id()`   | request that was measured            | envelope, 0 when absent          | constructor argument   |
/// | `connections()`  | by ascending id, used or not         | from the same report             | the whole argument     |
/// | `transactions()` | by ascending id, used or not         | from the same report             | the whole argument     |
/// | `queries()`      | in the order of the message          | from the same report             | may be empty           |
///
/// In a report of another case the lists are empty. Records of the protobuf dialect share the connections and
/// transactions of the tables from which they are constructed.
///
/// List elements convert to handles. `for (SqlQuery const query : record->queries())` creates a handle for each query,
/// which costs an atomic increment and decrement. `for (auto const &query : record->queries())` costs neither.
///
/// Messages: `<tarnwick/rpc/glimmet/v1/notify_request.pb.h>` and `<pelorin/protobuf/Glimmet/sql.pb.h>`.
class TARNWICK_EXPORT SqlQueries : public QSharedData {
public:
    /// Reads a report of the rpc dialect. A report of another case yields only the request id.
    explicit SqlQueries(rpc::glimmet::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect. The lists copy the pointers of both tables without checking them.
    ///
    /// REQUIRES: no pointer in `connections` or in `transactions` is null.
    SqlQueries(pelorin::protobuf::Glimmet::SqlQueries const &message, php::RequestId request_id,
               SqlConnections::Table const &connections, SqlTransactions::Table const &transactions);
    Q_DISABLE_COPY_MOVE(SqlQueries)

    [[nodiscard]] php::RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] QList<SqlConnections::mapped_type> const &connections() const noexcept { return connections_; }
    [[nodiscard]] QList<SqlTransactions::mapped_type> const &transactions() const noexcept { return transactions_; }
    [[nodiscard]] QList<QExplicitlySharedDataPointer<SqlQuery>> const &queries() const noexcept { return queries_; }

private:
    php::RequestId request_id_;
    QList<SqlConnections::mapped_type> connections_;
    QList<SqlTransactions::mapped_type> transactions_;
    QList<QExplicitlySharedDataPointer<SqlQuery>> queries_;
};

} // namespace detail

/// Shared handle of an immutable `detail::SqlQueries`.
class SqlQueries : public Handle<detail::SqlQueries> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::detail::SqlQueries> {
    using Record = glimmet::detail::SqlQueries;
    static constexpr std::string_view name = "glimmet.SqlQueries";
    using Sources = std::tuple<From<rpc::glimmet::v1::NotifyRequest>,
                               From<pelorin::protobuf::Glimmet::SqlQueries, php::RequestId,
                                    glimmet::SqlConnections::Table, glimmet::SqlTransactions::Table>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"connections", &Record::connections},
        Field{"transactions", &Record::transactions},
        Field{"queries", &Record::queries},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::glimmet::SqlQueries)
