#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/body.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>

namespace pelorin::protobuf::Glimmet {
class RawPostData;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// The POST body of one PHP request, a part of the report of its start. `Body` tells of its fields.
class TARNWICK_EXPORT PostData : public Body {
public:
    /// A report of something else, and one without a body, gives its id and null texts.
    explicit PostData(rpc::php::v1::NotifyRequest const &message);
    PostData(pelorin::protobuf::Glimmet::RawPostData const &message, RequestId request_id);
};

} // namespace detail

/// Shared, read-only handle.
class PostData : public Handle<detail::PostData> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::PostData> {
    using Record = php::detail::PostData;
    static constexpr std::string_view name = "php.PostData";
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"text_0", &Record::text_0},
        Field{"number", &Record::number},
        Field{"text_1", &Record::text_1},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::PostData)
