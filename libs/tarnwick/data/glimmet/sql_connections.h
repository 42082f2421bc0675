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

/// The connections of a report by their ids, in ascending order. Of several connections with one id the last one counts.
/// A table that was read from a message holds no null pointer. Any number of threads may read one table.
///
/// | Accessor        | Meaning          | rpc                           | protobuf                       |
/// |-----------------|------------------|-------------------------------|--------------------------------|
/// | `connections()` | the whole table  | out of the report of queries  | a report of its own            |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/sql.pb.h>` and `<pelorin/protobuf/Glimmet/sql.pb.h>`.
class TARNWICK_EXPORT SqlConnections : public QMap<unsigned int, QExplicitlySharedDataPointer<detail::SqlConnection>> {
public:
    using Table = QMap<unsigned int, QExplicitlySharedDataPointer<detail::SqlConnection>>;

    SqlConnections() noexcept = default;
    explicit SqlConnections(rpc::glimmet::v1::SqlQueries const &message);
    explicit SqlConnections(pelorin::protobuf::Glimmet::SqlConnections const &message);

    [[nodiscard]] Table const &connections() const noexcept { return *this; }
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::SqlConnections> {
    using Record = glimmet::SqlConnections;
    static constexpr std::string_view name = "glimmet.SqlConnections";
    static constexpr std::tuple fields{Field{"connections", &Record::connections}};
};

Q_DECLARE_TYPEINFO(tarnwick::data::glimmet::SqlConnections, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::glimmet::SqlConnections)
