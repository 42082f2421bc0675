#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/glimmet/sql_connection.h>
#include <tarnwick/export.h>

#include <QtCore/QExplicitlySharedDataPointer>
#include <QtCore/QMap>
#include <QtCore/QMetaType>

namespace pelorin::protobuf::Glimmet {
class SqlConnections;
}
namespace tarnwick::rpc::glimmet::v1 {
class SqlQueries;
}

namespace tarnwick::data::glimmet {

/// The connections of a report, in ascending order of id. If several connections have the same id, the table has the
/// last of them. A table that is read from a message contains no null pointer. Any number of threads may read one
/// table.
///
/// | Accessor        | Meaning          | rpc                           | protobuf                       |
/// |-----------------|------------------|-------------------------------|--------------------------------|
/// | `connections()` | the whole table  | part of the queries' report   | a separate report              |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/sql.pb.h>` and `<pelorin/protobuf/Glimmet/sql.pb.h>`.
class TARNWICK_EXPORT SqlConnections : public QMap<unsigned int, QExplicitlySharedDataPointer<detail::SqlConnection>> {
public:
    using Table = QMap<unsigned int, QExplicitlySharedDataPointer<detail::SqlConnection>>;

    SqlConnections() noexcept = default;
    /// Reads the connections of the rpc dialect.
    explicit SqlConnections(rpc::glimmet::v1::SqlQueries const &message);
    /// Reads the connections of the protobuf dialect.
    explicit SqlConnections(pelorin::protobuf::Glimmet::SqlConnections const &message);

    [[nodiscard]] Table const &connections() const noexcept { return *this; }
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::SqlConnections> {
    using Record = glimmet::SqlConnections;
    static constexpr std::string_view name = "glimmet.SqlConnections";
    using Sources = std::tuple<From<rpc::glimmet::v1::SqlQueries>, From<pelorin::protobuf::Glimmet::SqlConnections>>;
    static constexpr std::tuple fields{Field{"connections", &Record::connections}};
};

Q_DECLARE_TYPEINFO(tarnwick::data::glimmet::SqlConnections, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::glimmet::SqlConnections)
