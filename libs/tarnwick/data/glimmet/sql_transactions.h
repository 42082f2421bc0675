#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/glimmet/sql_transaction.h>
#include <tarnwick/export.h>

#include <QtCore/QExplicitlySharedDataPointer>
#include <QtCore/QMap>
#include <QtCore/QMetaType>

namespace pelorin::protobuf::Glimmet {
class SqlTransactions;
}
namespace tarnwick::rpc::glimmet::v1 {
class SqlQueries;
}

namespace tarnwick::data::glimmet {

/// The transactions of a report, in ascending order of id. If several transactions have the same id, the table has the
/// last of them, but links to an earlier one are unchanged. A parent is only looked up among the transactions that
/// precede its child in the message. A table that is read from a message contains no null pointer. Any number of
/// threads may read one table.
///
/// | Accessor         | Meaning          | rpc                           | protobuf                       |
/// |------------------|------------------|-------------------------------|--------------------------------|
/// | `transactions()` | the whole table  | part of the queries' report   | a separate report              |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/sql.pb.h>` and `<pelorin/protobuf/Glimmet/sql.pb.h>`.
class TARNWICK_EXPORT SqlTransactions
    : public QMap<unsigned int, QExplicitlySharedDataPointer<detail::SqlTransaction>> {
public:
    using Table = QMap<unsigned int, QExplicitlySharedDataPointer<detail::SqlTransaction>>;

    SqlTransactions() noexcept = default;
    /// Reads the transactions of the rpc dialect.
    explicit SqlTransactions(rpc::glimmet::v1::SqlQueries const &message);
    /// Reads the transactions of the protobuf dialect.
    explicit SqlTransactions(pelorin::protobuf::Glimmet::SqlTransactions const &message);

    [[nodiscard]] Table const &transactions() const noexcept { return *this; }
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::SqlTransactions> {
    using Record = glimmet::SqlTransactions;
    static constexpr std::string_view name = "glimmet.SqlTransactions";
    using Sources = std::tuple<From<rpc::glimmet::v1::SqlQueries>, From<pelorin::protobuf::Glimmet::SqlTransactions>>;
    static constexpr std::tuple fields{Field{"transactions", &Record::transactions}};
};

Q_DECLARE_TYPEINFO(tarnwick::data::glimmet::SqlTransactions, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::glimmet::SqlTransactions)
