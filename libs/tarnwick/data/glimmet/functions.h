#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/glimmet/function_stats.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/export.h>

#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QSharedData>

namespace pelorin::protobuf::Glimmet {
class Functions;
}
namespace tarnwick::rpc::glimmet::v1 {
class NotifyRequest;
}

namespace tarnwick::data::glimmet {
namespace detail {

/// Profiler statistics of the functions of one request. Nothing is sorted, summed or merged.
///
/// | Accessor       | Meaning                    | rpc                                | protobuf             |
/// |----------------|----------------------------|------------------------------------|----------------------|
/// | `request_id()` | request that was measured  | envelope, 0 when absent            | constructor argument |
/// | `functions()`  | one entry a function, in   | empty in a report of another case  | may be empty         |
/// |                | the order of the message   |                                    |                      |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/notify_request.pb.h>` and `<pelorin/protobuf/Glimmet/functions.pb.h>`.
class TARNWICK_EXPORT Functions : public QSharedData {
public:
    /// Reads a report of the rpc dialect. A report of another case yields only the request id.
    explicit Functions(rpc::glimmet::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect.
    Functions(pelorin::protobuf::Glimmet::Functions const &message, php::RequestId request_id);
    Q_DISABLE_COPY_MOVE(Functions)

    [[nodiscard]] php::RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] QList<FunctionStats> const &functions() const noexcept { return functions_; }

private:
    php::RequestId request_id_;
    QList<FunctionStats> functions_;
};

} // namespace detail

/// Shared handle of an immutable `detail::Functions`.
class Functions : public Handle<detail::Functions> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::detail::Functions> {
    using Record = glimmet::detail::Functions;
    static constexpr std::string_view name = "glimmet.Functions";
    using Sources =
        std::tuple<From<rpc::glimmet::v1::NotifyRequest>, From<pelorin::protobuf::Glimmet::Functions, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"functions", &Record::functions},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::glimmet::Functions)
