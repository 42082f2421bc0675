#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/headers.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>

namespace pelorin::protobuf::Glimmet {
class RequestHeaders;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// The headers of one PHP request, a part of the report of its start. `Headers` tells of its fields.
class TARNWICK_EXPORT RequestHeaders : public Headers {
public:
    /// A report of something else gives its id and no headers.
    explicit RequestHeaders(rpc::php::v1::NotifyRequest const &message);
    RequestHeaders(pelorin::protobuf::Glimmet::RequestHeaders const &message, RequestId request_id);
};

} // namespace detail

/// Shared, read-only handle.
class RequestHeaders : public Handle<detail::RequestHeaders> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::RequestHeaders> {
    using Record = php::detail::RequestHeaders;
    static constexpr std::string_view name = "php.RequestHeaders";
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"headers", &Record::headers},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::RequestHeaders)
