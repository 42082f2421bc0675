#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/glimmet/storage_entry.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/export.h>

#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

namespace pelorin::protobuf::Glimmet {
class Storage;
}
namespace tarnwick::rpc::glimmet::v1 {
class NotifyRequest;
}

namespace tarnwick::data::glimmet {
namespace detail {

/// A named block of free-form data that the profiler collected for one request: lists of byte strings, each with a
/// name. Nothing is sorted or merged.
///
/// | Accessor       | Meaning                       | rpc                               | protobuf             |
/// |----------------|-------------------------------|-----------------------------------|----------------------|
/// | `request_id()` | request of the block          | envelope, 0 when absent           | constructor argument |
/// | `name()`       | name of the block             | null in a report of another case, | may be empty         |
/// |                |                               | otherwise never null              |                      |
/// | `entries()`    | the lists, in the order of    | empty in a report of another case | may be empty         |
/// |                | the message                   |                                   |                      |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/notify_request.pb.h>` and `<pelorin/protobuf/Glimmet/storage.pb.h>`.
class TARNWICK_EXPORT Storage : public QSharedData {
public:
    /// Reads a report of the rpc dialect. A report of another case yields only the request id.
    explicit Storage(rpc::glimmet::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect.
    Storage(pelorin::protobuf::Glimmet::Storage const &message, php::RequestId request_id);
    Q_DISABLE_COPY_MOVE(Storage)

    [[nodiscard]] php::RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] QString const &name() const noexcept { return name_; }
    [[nodiscard]] QList<StorageEntry> const &entries() const noexcept { return entries_; }

private:
    php::RequestId request_id_;
    QString name_;
    QList<StorageEntry> entries_;
};

} // namespace detail

/// Shared handle of an immutable `detail::Storage`.
class Storage : public Handle<detail::Storage> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::detail::Storage> {
    using Record = glimmet::detail::Storage;
    static constexpr std::string_view name = "glimmet.Storage";
    using Sources =
        std::tuple<From<rpc::glimmet::v1::NotifyRequest>, From<pelorin::protobuf::Glimmet::Storage, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"name", &Record::name},
        Field{"entries", &Record::entries},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::glimmet::Storage)
