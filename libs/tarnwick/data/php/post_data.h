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
class RawPostData;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// The POST body of one PHP request, read from the report of the request's start. The sender decides which of the two
/// texts is the body. Bytes that are not UTF-8 become replacement characters.
///
/// | Accessor       | Meaning                            | rpc                         | protobuf             |
/// |----------------|------------------------------------|-----------------------------|----------------------|
/// | `request_id()` | request to which it belongs        | envelope, 0 when absent     | constructor argument |
/// | `text_0()`     | first text                         | null without a body         | empty when unset     |
/// | `number()`     | number passed through unchanged    | 0 to 4294967295, 0 without  | 0 when unset         |
/// |                |                                    | a body                      |                      |
/// | `text_1()`     | second text                        | null without a body         | empty when unset     |
///
/// Messages: `<tarnwick/rpc/php/v1/notify_request.pb.h>` and `<pelorin/protobuf/Glimmet/bodies.pb.h>`.
class TARNWICK_EXPORT PostData : public QSharedData {
public:
    /// Reads a report of the rpc dialect. A report of another case, or without a body, yields the request id and null
    /// texts.
    explicit PostData(rpc::php::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect.
    PostData(pelorin::protobuf::Glimmet::RawPostData const &message, RequestId request_id);
    Q_DISABLE_COPY_MOVE(PostData)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] QString const &text_0() const noexcept { return body_.text_0(); }
    [[nodiscard]] std::int64_t number() const noexcept { return body_.number(); }
    [[nodiscard]] QString const &text_1() const noexcept { return body_.text_1(); }

private:
    RequestId request_id_;
    Body body_;
};

} // namespace detail

/// Shared handle of an immutable `detail::PostData`.
class PostData : public Handle<detail::PostData> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::PostData> {
    using Record = php::detail::PostData;
    static constexpr std::string_view name = "php.PostData";
    using Sources =
        std::tuple<From<rpc::php::v1::NotifyRequest>, From<pelorin::protobuf::Glimmet::RawPostData, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"text_0", &Record::text_0},
        Field{"number", &Record::number},
        Field{"text_1", &Record::text_1},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::PostData)
