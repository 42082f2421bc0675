#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <QtCore/QExplicitlySharedDataPointer>
#include <QtCore/QMap>
#include <QtCore/QMetaType>
#include <QtCore/QSharedData>

#include <cstdint>
#include <optional>

namespace pelorin::protobuf::Glimmet {
class SqlTransaction;
}
namespace tarnwick::rpc::glimmet::v1 {
class SqlTransaction;
}

namespace tarnwick::data::glimmet {
namespace detail {

/// A transaction. It keeps the transactions around it alive, which were there before it: parents form chains of any
/// length, never a cycle.
///
/// | Accessor         | Meaning                                | rpc                        | protobuf                   |
/// |------------------|----------------------------------------|----------------------------|----------------------------|
/// | `id()`           | what queries and children name it by;  | 0 when unset               | 0 when unset               |
/// |                  | 0 is an id like others                 |                            |                            |
/// | `parent()`       | the transaction around it              | null when none is named or | null when none is named or |
/// |                  |                                        | none has the id            | none has the id            |
/// | `extra_number()` | number that travels along              | by presence                | absent when negative       |
/// | `time()`         | how long it took                       | 0, 0 when absent           | 0, 0 when absent           |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/sql.pb.h>` and `<pelorin/protobuf/Glimmet/sql.pb.h>`.
class TARNWICK_EXPORT SqlTransaction : public QSharedData {
public:
    using Pointer = QExplicitlySharedDataPointer<SqlTransaction>;

    /// `transactions`: those that can be the parent.
    SqlTransaction(rpc::glimmet::v1::SqlTransaction const &message,
                   QMap<unsigned int, Pointer> const &transactions) noexcept;
    SqlTransaction(pelorin::protobuf::Glimmet::SqlTransaction const &message,
                   QMap<unsigned int, Pointer> const &transactions) noexcept;
    Q_DISABLE_COPY_MOVE(SqlTransaction)
    /// Releases the parents in a loop: a report can nest more transactions than a stack has room for.
    ~SqlTransaction();

    [[nodiscard]] std::uint32_t id() const noexcept { return id_; }
    [[nodiscard]] Pointer const &parent() const noexcept { return parent_; }
    [[nodiscard]] std::optional<std::uint32_t> const &extra_number() const noexcept { return extra_number_; }
    [[nodiscard]] TimePair time() const noexcept { return time_; }

private:
    std::uint32_t id_ = 0;
    Pointer parent_;
    std::optional<std::uint32_t> extra_number_;
    TimePair time_;
};

} // namespace detail

/// Shared, read-only handle.
class SqlTransaction : public Handle<detail::SqlTransaction> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::detail::SqlTransaction> {
    using Record = glimmet::detail::SqlTransaction;
    static constexpr std::string_view name = "glimmet.SqlTransaction";
    static constexpr std::tuple fields{
        Field{"id", &Record::id},
        Link{"parent", &Record::parent},
        Field{"extra_number", &Record::extra_number},
        Field{"time", &Record::time, Sense::span},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::glimmet::SqlTransaction)
