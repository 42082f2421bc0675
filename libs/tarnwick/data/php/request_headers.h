#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/php/zval.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>

namespace pelorin::protobuf::Glimmet {
class RequestHeaders;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// The headers of one PHP request, read from the report of the request's start.
///
/// | Accessor       | Meaning                                          | rpc                           | protobuf             |
/// |----------------|--------------------------------------------------|-------------------------------|----------------------|
/// | `request_id()` | request to which they belong                     | envelope, 0 when absent       | constructor argument |
/// | `headers()`    | names and values in their order, including       | as sent, no elements when     | split from raw lines |
/// |                | repeated names; never null                       | absent                        |                      |
///
/// Each raw line is split at its first colon that is followed by a space. Nothing is trimmed, decoded or merged: both
/// parts are strings of the bytes as sent. A line without such a colon is a name whose value is of kind `undefined`.
///
/// Messages: `<tarnwick/rpc/php/v1/notify_request.pb.h>` and `<pelorin/protobuf/Glimmet/headers.pb.h>`.
class TARNWICK_EXPORT RequestHeaders : public QSharedData {
public:
    /// Reads a report of the rpc dialect. A report of another case yields the request id and no headers.
    explicit RequestHeaders(rpc::php::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect.
    RequestHeaders(pelorin::protobuf::Glimmet::RequestHeaders const &message, RequestId request_id);
    Q_DISABLE_COPY_MOVE(RequestHeaders)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] php::PelorinArray const &headers() const noexcept { return headers_; }

private:
    RequestId request_id_;
    php::PelorinArray headers_;
};

} // namespace detail

/// Shared handle of an immutable `detail::RequestHeaders`.
class RequestHeaders : public Handle<detail::RequestHeaders> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::RequestHeaders> {
    using Record = php::detail::RequestHeaders;
    static constexpr std::string_view name = "php.RequestHeaders";
    using Sources =
        std::tuple<From<rpc::php::v1::NotifyRequest>, From<pelorin::protobuf::Glimmet::RequestHeaders, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"headers", &Record::headers},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::RequestHeaders)
