#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>

namespace pelorin::protobuf::Glimmet {
class SqlError;
}
namespace tarnwick::rpc::glimmet::v1 {
class SqlError;
}

namespace tarnwick::data::glimmet {

/// The error that a query reported. Both dialects send the same field.
///
/// | Accessor    | Meaning                    | rpc and protobuf |
/// |-------------|----------------------------|------------------|
/// | `message()` | text of the error, as sent | may be empty     |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/sql.pb.h>` and `<pelorin/protobuf/Glimmet/sql.pb.h>`.
class TARNWICK_EXPORT SqlError {
public:
    SqlError() noexcept = default;
    explicit SqlError(rpc::glimmet::v1::SqlError const &message);
    explicit SqlError(pelorin::protobuf::Glimmet::SqlError const &message);

    [[nodiscard]] QString const &message() const noexcept { return message_; }

private:
    QString message_;
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::SqlError> {
    using Record = glimmet::SqlError;
    static constexpr std::string_view name = "glimmet.SqlError";
    using Sources = std::tuple<From<rpc::glimmet::v1::SqlError>, From<pelorin::protobuf::Glimmet::SqlError>>;
    static constexpr std::tuple fields{Field{"message", &Record::message}};
};

Q_DECLARE_TYPEINFO(tarnwick::data::glimmet::SqlError, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::glimmet::SqlError)
