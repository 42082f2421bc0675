#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/glimmet/sql_connections.h>
#include <tarnwick/data/glimmet/sql_error.h>
#include <tarnwick/data/glimmet/sql_transactions.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/stack_trace.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <QtCore/QExplicitlySharedDataPointer>
#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace pelorin::protobuf::Glimmet {
class SqlQuery;
}
namespace tarnwick::rpc::glimmet::v1 {
class SqlQuery;
}

namespace tarnwick::data::glimmet {
namespace detail {

/// A query, with the connection and the transaction in which it ran. The links are resolved by id on construction, and
/// the ids are not kept. A link to an unknown id is null, like an absent link.
///
/// | Accessor         | Meaning, unit                           | rpc                      | protobuf                 |
/// |------------------|-----------------------------------------|--------------------------|--------------------------|
/// | `kind()`         | classification from 0 to 13             | 0 when unset             | 0 when unset             |
/// | `source_kind()`  | classification from 0 to 6              | 0 when unset             | 0 when its oneof is unset |
/// | `text()`         | the statement as reported               | may be empty             | may be empty             |
/// | `status()`       | state from 0 to 2                       | 0 when unset             | 0 when unset             |
/// | `wide_number()`  | number passed through unchanged         | 0 when unset             | 0 when unset             |
/// | `error()`        | error of the query                      | by presence, also if empty | by presence, also if empty |
/// | `time()`         | how long it took                        | 0, 0 when absent         | 0, 0 when absent         |
/// | `extra_number()` | number passed through unchanged         | by presence              | absent when negative     |
/// | `connection()`   | null when absent or of an unknown id    | id by presence           | id by its oneof          |
/// | `transaction()`  | null when absent or of an unknown id    | id by presence           | id by its oneof          |
/// | `stack_trace()`  | where the query was issued              | by presence, also if empty | by presence, also if empty |
///
/// The highest number of each classification is its catch-all.
///
/// Messages: `<tarnwick/rpc/glimmet/v1/sql.pb.h>` and `<pelorin/protobuf/Glimmet/sql.pb.h>`.
class TARNWICK_EXPORT SqlQuery : public QSharedData {
public:
    /// Reads a query of the rpc dialect and looks up its links in the tables.
    SqlQuery(rpc::glimmet::v1::SqlQuery const &message, SqlConnections::Table const &connections,
             SqlTransactions::Table const &transactions);
    /// Reads a query of the protobuf dialect and looks up its links in the tables.
    SqlQuery(pelorin::protobuf::Glimmet::SqlQuery const &message, SqlConnections::Table const &connections,
             SqlTransactions::Table const &transactions);
    Q_DISABLE_COPY_MOVE(SqlQuery)

    [[nodiscard]] std::uint8_t kind() const noexcept { return kind_; }
    [[nodiscard]] std::uint8_t source_kind() const noexcept { return source_kind_; }
    [[nodiscard]] QString const &text() const noexcept { return text_; }
    [[nodiscard]] std::uint8_t status() const noexcept { return status_; }
    [[nodiscard]] std::int64_t wide_number() const noexcept { return wide_number_; }
    [[nodiscard]] std::optional<SqlError> const &error() const noexcept { return error_; }
    [[nodiscard]] TimePair time() const noexcept { return time_; }
    [[nodiscard]] std::optional<std::uint32_t> const &extra_number() const noexcept { return extra_number_; }
    [[nodiscard]] SqlConnections::mapped_type const &connection() const noexcept { return connection_; }
    [[nodiscard]] SqlTransactions::mapped_type const &transaction() const noexcept { return transaction_; }
    [[nodiscard]] std::optional<php::StackTrace> const &stack_trace() const noexcept { return stack_trace_; }

private:
    std::uint8_t kind_ = 0;
    std::uint8_t source_kind_ = 0;
    QString text_;
    std::uint8_t status_ = 0;
    std::int64_t wide_number_ = 0;
    std::optional<SqlError> error_;
    TimePair time_;
    std::optional<std::uint32_t> extra_number_;
    SqlConnections::mapped_type connection_;
    SqlTransactions::mapped_type transaction_;
    std::optional<php::StackTrace> stack_trace_;
};

} // namespace detail

/// Shared handle of an immutable `detail::SqlQuery`.
class SqlQuery : public Handle<detail::SqlQuery> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::detail::SqlQuery> {
    using Record = glimmet::detail::SqlQuery;
    static constexpr std::string_view name = "glimmet.SqlQuery";
    using Sources = std::tuple<
        From<rpc::glimmet::v1::SqlQuery, glimmet::SqlConnections::Table, glimmet::SqlTransactions::Table>,
        From<pelorin::protobuf::Glimmet::SqlQuery, glimmet::SqlConnections::Table, glimmet::SqlTransactions::Table>>;
    static constexpr std::tuple fields{
        Field{"kind", &Record::kind},
        Field{"source_kind", &Record::source_kind},
        Field{"text", &Record::text},
        Field{"status", &Record::status},
        Field{"wide_number", &Record::wide_number},
        Field{"error", &Record::error},
        Field{"time", &Record::time, Sense::span},
        Field{"extra_number", &Record::extra_number},
        Link{"connection", &Record::connection},
        Link{"transaction", &Record::transaction},
        Field{"stack_trace", &Record::stack_trace},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::glimmet::SqlQuery)
