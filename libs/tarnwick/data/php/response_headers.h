#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/php/zval.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>

namespace pelorin::protobuf::Glimmet {
class ResponseHeaders;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// The headers of the response to one PHP request, read from the report of the request's end. The fields are those of
/// `RequestHeaders`.
///
/// Messages: `<tarnwick/rpc/php/v1/notify_request.pb.h>` and `<pelorin/protobuf/Glimmet/headers.pb.h>`.
class TARNWICK_EXPORT ResponseHeaders : public QSharedData {
public:
    /// Reads a report of the rpc dialect. A report of another case yields the request id and no headers.
    explicit ResponseHeaders(rpc::php::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect.
    ResponseHeaders(pelorin::protobuf::Glimmet::ResponseHeaders const &message, RequestId request_id);
    Q_DISABLE_COPY_MOVE(ResponseHeaders)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] php::PelorinArray const &headers() const noexcept { return headers_; }

private:
    RequestId request_id_;
    php::PelorinArray headers_;
};

} // namespace detail

/// Shared handle of an immutable `detail::ResponseHeaders`.
class ResponseHeaders : public Handle<detail::ResponseHeaders> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::ResponseHeaders> {
    using Record = php::detail::ResponseHeaders;
    static constexpr std::string_view name = "php.ResponseHeaders";
    using Sources = std::tuple<From<rpc::php::v1::NotifyRequest>,
                               From<pelorin::protobuf::Glimmet::ResponseHeaders, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"headers", &Record::headers},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::ResponseHeaders)
