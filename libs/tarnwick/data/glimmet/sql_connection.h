#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>

namespace pelorin::protobuf::Glimmet {
class SqlConnection;
}
namespace tarnwick::rpc::glimmet::v1 {
class SqlConnection;
}

namespace tarnwick::data::glimmet {
namespace detail {

/// A database connection. Both dialects send the same fields.
///
/// | Accessor | Meaning                                                         | rpc and protobuf     |
/// |----------|-----------------------------------------------------------------|----------------------|
/// | `id()`   | id by which queries of the report refer to it; 0 is a valid id  | 0 when unset         |
/// | `kind()` | classification from 0 to 6; 6 is the catch-all                  | 0 when unset         |
/// | `name()` | text as reported                                                | may be empty         |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/sql.pb.h>` and `<pelorin/protobuf/Glimmet/sql.pb.h>`.
class TARNWICK_EXPORT SqlConnection : public QSharedData {
public:
    explicit SqlConnection(rpc::glimmet::v1::SqlConnection const &message);
    explicit SqlConnection(pelorin::protobuf::Glimmet::SqlConnection const &message);
    Q_DISABLE_COPY_MOVE(SqlConnection)

    [[nodiscard]] std::uint32_t id() const noexcept { return id_; }
    [[nodiscard]] std::uint8_t kind() const noexcept { return kind_; }
    [[nodiscard]] QString const &name() const noexcept { return name_; }

private:
    std::uint32_t id_ = 0;
    std::uint8_t kind_ = 0;
    QString name_;
};

} // namespace detail

/// Shared handle of an immutable `detail::SqlConnection`.
class SqlConnection : public Handle<detail::SqlConnection> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::detail::SqlConnection> {
    using Record = glimmet::detail::SqlConnection;
    static constexpr std::string_view name = "glimmet.SqlConnection";
    using Sources = std::tuple<From<rpc::glimmet::v1::SqlConnection>, From<pelorin::protobuf::Glimmet::SqlConnection>>;
    static constexpr std::tuple fields{
        Field{"id", &Record::id, Sense::id},
        Field{"kind", &Record::kind},
        Field{"name", &Record::name},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::glimmet::SqlConnection)
