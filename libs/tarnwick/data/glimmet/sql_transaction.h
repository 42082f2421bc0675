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

/// A transaction. It shares ownership of its parent, the transaction in which it is nested. A parent precedes its
/// children in the message, so parents form chains of any length but never a cycle.
///
/// | Accessor         | Meaning                                | rpc                        | protobuf                   |
/// |------------------|----------------------------------------|----------------------------|----------------------------|
/// | `id()`           | id by which queries and children refer | 0 when unset               | 0 when unset               |
/// |                  | to it; 0 is a valid id                 |                            |                            |
/// | `parent()`       | the enclosing transaction              | null when absent or of an  | null when absent or of an  |
/// |                  |                                        | unknown id                 | unknown id                 |
/// | `extra_number()` | number passed through unchanged        | by presence                | absent when negative       |
/// | `time()`         | how long it took                       | 0, 0 when absent           | 0, 0 when absent           |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/sql.pb.h>` and `<pelorin/protobuf/Glimmet/sql.pb.h>`.
class TARNWICK_EXPORT SqlTransaction : public QSharedData {
public:
    using Pointer = QExplicitlySharedDataPointer<SqlTransaction>;

    /// Reads a transaction of the rpc dialect and looks up its parent in `transactions`.
    SqlTransaction(rpc::glimmet::v1::SqlTransaction const &message,
                   QMap<unsigned int, Pointer> const &transactions) noexcept;
    /// The same for the protobuf dialect.
    SqlTransaction(pelorin::protobuf::Glimmet::SqlTransaction const &message,
                   QMap<unsigned int, Pointer> const &transactions) noexcept;
    Q_DISABLE_COPY_MOVE(SqlTransaction)
    /// Releases the parents in a loop. Recursion could overflow the stack: a report can nest transactions to any depth.
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

/// Shared handle of an immutable `detail::SqlTransaction`.
class SqlTransaction : public Handle<detail::SqlTransaction> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::detail::SqlTransaction> {
    using Record = glimmet::detail::SqlTransaction;
    static constexpr std::string_view name = "glimmet.SqlTransaction";
    using Sources = std::tuple<From<rpc::glimmet::v1::SqlTransaction, QMap<unsigned int, Record::Pointer>>,
                               From<pelorin::protobuf::Glimmet::SqlTransaction, QMap<unsigned int, Record::Pointer>>>;
    static constexpr std::tuple fields{
        Field{"id", &Record::id, Sense::id},
        Link{"parent", &Record::parent},
        Field{"extra_number", &Record::extra_number},
        Field{"time", &Record::time, Sense::span},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::glimmet::SqlTransaction)
