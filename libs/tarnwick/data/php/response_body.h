#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/body.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>

namespace pelorin::protobuf::Glimmet {
class ResponseBody;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// The body of the response to one PHP request, read from the report of the request's end. The fields are those of
/// `PostData`. The protobuf dialect never sends `number()`: it is 0.
///
/// Messages: `<tarnwick/rpc/php/v1/notify_request.pb.h>` and `<pelorin/protobuf/Glimmet/bodies.pb.h>`.
class TARNWICK_EXPORT ResponseBody : public QSharedData {
public:
    /// Reads a report of the rpc dialect. A report of another case, or without a body, yields the request id and null
    /// texts.
    explicit ResponseBody(rpc::php::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect.
    ResponseBody(pelorin::protobuf::Glimmet::ResponseBody const &message, RequestId request_id);
    Q_DISABLE_COPY_MOVE(ResponseBody)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] QString const &text_0() const noexcept { return body_.text_0(); }
    [[nodiscard]] std::int64_t number() const noexcept { return body_.number(); }
    [[nodiscard]] QString const &text_1() const noexcept { return body_.text_1(); }

private:
    RequestId request_id_;
    Body body_;
};

} // namespace detail

/// Shared handle of an immutable `detail::ResponseBody`.
class ResponseBody : public Handle<detail::ResponseBody> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::ResponseBody> {
    using Record = php::detail::ResponseBody;
    static constexpr std::string_view name = "php.ResponseBody";
    using Sources =
        std::tuple<From<rpc::php::v1::NotifyRequest>, From<pelorin::protobuf::Glimmet::ResponseBody, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"text_0", &Record::text_0},
        Field{"number", &Record::number},
        Field{"text_1", &Record::text_1},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::ResponseBody)
