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

/// A named list of byte strings in a storage block. Both dialects send the same fields. Only the library creates
/// entries.
///
/// | Accessor   | Meaning                                                            | rpc and protobuf |
/// |------------|--------------------------------------------------------------------|------------------|
/// | `name()`   | name of the list; not unique within the block                      | may be empty     |
/// | `values()` | byte strings as sent, in order, neither decoded nor parsed         | may be empty     |
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
