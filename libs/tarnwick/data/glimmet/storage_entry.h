#pragma once

#include <tarnwick/data/description.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

namespace pelorin::protobuf::Glimmet {
class StorageEntry;
}
namespace tarnwick::rpc::glimmet::v1 {
class StorageEntry;
}

namespace tarnwick::data::glimmet::detail {

/// A named list of a storage block. Both dialects send the same. Only the library makes them.
///
/// | Accessor   | Meaning                                                            | rpc and protobuf |
/// |------------|--------------------------------------------------------------------|------------------|
/// | `name()`   | name of the list; others of the block can have it too              | may be empty     |
/// | `values()` | byte strings as they came, neither decoded nor parsed, in order    | may be empty     |
class StorageEntry {
public:
    explicit StorageEntry(rpc::glimmet::v1::StorageEntry const &message);
    explicit StorageEntry(pelorin::protobuf::Glimmet::StorageEntry const &message);

    [[nodiscard]] QString const &name() const noexcept { return name_; }
    [[nodiscard]] QList<QByteArray> const &values() const noexcept { return values_; }

private:
    QString name_;
    QList<QByteArray> values_;
};

} // namespace tarnwick::data::glimmet::detail

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::detail::StorageEntry> {
    using Record = glimmet::detail::StorageEntry;
    static constexpr std::string_view name = "glimmet.StorageEntry";
    static constexpr std::tuple fields{
        Field{"name", &Record::name},
        Field{"values", &Record::values},
    };
};

Q_DECLARE_TYPEINFO(tarnwick::data::glimmet::detail::StorageEntry, Q_RELOCATABLE_TYPE);
