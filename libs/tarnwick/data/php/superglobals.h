#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/php/zval.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>

namespace pelorin::protobuf::Glimmet {
class Superglobals;
}
namespace pelorin::protobuf::Monitor {
class Superglobals;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// The superglobals of one PHP request: either as they were at its start, or those that changed by its end. The
/// constructor's tag selects which.
///
/// | Accessor       | Meaning                                     | rpc                        | protobuf              |
/// |----------------|---------------------------------------------|----------------------------|-----------------------|
/// | `request_id()` | request to which they belong                | envelope, 0 when absent    | constructor argument  |
/// | `values()`     | array of arrays, never null: each key names | as sent, no elements       | each key and name is  |
/// |                | a superglobal, its value has the entries    | when absent                | a string, as sent     |
///
/// | Report                  | Tag        | Entries                               | Value of an entry                       |
/// |-------------------------|------------|---------------------------------------|-----------------------------------------|
/// | rpc, request start      | `init_t`   | as sent                               | as sent                                 |
/// | rpc, request end        | `change_t` | as sent                               | as sent                                 |
/// | `Monitor::Superglobals` | none       | all                                   | `value`                                 |
/// | `Glimmet::Superglobals` | `init_t`   | all                                   | `initial_value` if present, else `value` |
/// | `Glimmet::Superglobals` | `change_t` | changed ones, with `initial_value`    | `value`                                 |
///
/// In the protobuf dialect an absent value is of kind `undefined`. A group remains, as an array without elements, even
/// if none of its entries is taken.
///
/// Messages: `<tarnwick/rpc/php/v1/notify_request.pb.h>`, `<pelorin/protobuf/Monitor/superglobals.pb.h>` and
/// `<pelorin/protobuf/Glimmet/superglobals.pb.h>`.
class TARNWICK_EXPORT Superglobals : public QSharedData {
public:
    struct init_t {};   ///< the state at the start of the request
    struct change_t {}; ///< what changed by its end

    /// Reads a report of the rpc dialect. A report of another case yields the request id and no values.
    Superglobals(rpc::php::v1::NotifyRequest const &message, init_t view);
    Superglobals(rpc::php::v1::NotifyRequest const &message, change_t view);
    /// Reads a report of the protobuf dialect.
    Superglobals(pelorin::protobuf::Monitor::Superglobals const &message, RequestId request_id);
    Superglobals(pelorin::protobuf::Glimmet::Superglobals const &message, RequestId request_id, init_t view);
    Superglobals(pelorin::protobuf::Glimmet::Superglobals const &message, RequestId request_id, change_t view);
    Q_DISABLE_COPY_MOVE(Superglobals)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] php::PelorinArray const &values() const noexcept { return values_; }

private:
    RequestId request_id_;
    php::PelorinArray values_;
};

} // namespace detail

/// Shared handle of an immutable `detail::Superglobals`.
class Superglobals : public Handle<detail::Superglobals> {
public:
    using Handle::Handle;
    using init_t = detail::Superglobals::init_t;
    using change_t = detail::Superglobals::change_t;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::Superglobals> {
    using Record = php::detail::Superglobals;
    static constexpr std::string_view name = "php.Superglobals";
    using Sources = std::tuple<From<rpc::php::v1::NotifyRequest, Record::init_t>,
                               From<rpc::php::v1::NotifyRequest, Record::change_t>,
                               From<pelorin::protobuf::Monitor::Superglobals, php::RequestId>,
                               From<pelorin::protobuf::Glimmet::Superglobals, php::RequestId, Record::init_t>,
                               From<pelorin::protobuf::Glimmet::Superglobals, php::RequestId, Record::change_t>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"values", &Record::values},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::Superglobals)
