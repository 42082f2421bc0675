#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/error.h>
#include <tarnwick/data/php/exception.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/php/source_location.h>
#include <tarnwick/data/php/stack_trace.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <optional>
#include <variant>

namespace pelorin::protobuf::Glimmet {
class Error;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// A PHP error or an uncaught exception in one PHP request.
///
/// | Accessor        | Meaning                     | rpc                                   | protobuf                   |
/// |-----------------|-----------------------------|---------------------------------------|----------------------------|
/// | `request_id()`  | request that it occurred in | envelope, 0 when absent               | constructor argument       |
/// | `timestamp()`   | time of the report          | envelope, 0, 0 when absent            | 0, 0 when absent           |
/// | `message()`     | message of the error or     | null in a report of another case      | empty when unset           |
/// |                 | exception                   |                                       |                            |
/// | `details()`     | fields specific to either   | by the member that is set, `Error` if | an `Exception` when        |
/// |                 |                             | none is; `undef_t` in a report of     | `number` is 0, otherwise   |
/// |                 |                             | another case                          | an `Error`                 |
/// | `location()`    | where it occurred           | by presence, even without a file      | absent without a file      |
/// | `stack_trace()` | calls that led to it        | by presence, even without frames      | the same                   |
///
/// Messages: `<tarnwick/rpc/php/v1/notify_request.pb.h>` and `<pelorin/protobuf/Glimmet/error.pb.h>`.
class TARNWICK_EXPORT ErrorData : public QSharedData {
public:
    /// Details of a report of the rpc dialect that is not about an error.
    struct undef_t {};

    using Details = std::variant<undef_t, Error, Exception>;

    /// Reads a report of the rpc dialect. A report of another case yields only the request id and the time stamp.
    explicit ErrorData(rpc::php::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect.
    ErrorData(pelorin::protobuf::Glimmet::Error const &message, RequestId request_id);
    Q_DISABLE_COPY_MOVE(ErrorData)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] TimePair timestamp() const noexcept { return timestamp_; }
    [[nodiscard]] QString const &message() const noexcept { return message_; }
    [[nodiscard]] Details const &details() const noexcept { return details_; }
    [[nodiscard]] std::optional<SourceLocation> const &location() const noexcept { return location_; }
    [[nodiscard]] std::optional<StackTrace> const &stack_trace() const noexcept { return stack_trace_; }

private:
    /// Reads the error or the exception of a report of the rpc dialect.
    template <class Detail, class Message>
    void read(Message const &message);

    RequestId request_id_;
    TimePair timestamp_;
    QString message_;
    Details details_;
    std::optional<SourceLocation> location_;
    std::optional<StackTrace> stack_trace_;
};

} // namespace detail

/// Shared handle of an immutable `detail::ErrorData`.
class ErrorData : public Handle<detail::ErrorData> {
public:
    using Handle::Handle;
    using undef_t = detail::ErrorData::undef_t;
    using Details = detail::ErrorData::Details;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::ErrorData> {
    using Record = php::detail::ErrorData;
    static constexpr std::string_view name = "php.ErrorData";
    using Sources =
        std::tuple<From<rpc::php::v1::NotifyRequest>, From<pelorin::protobuf::Glimmet::Error, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id}, Field{"timestamp", &Record::timestamp, Sense::instant},
        Field{"message", &Record::message},       Field{"details", &Record::details},
        Field{"location", &Record::location},     Field{"stack_trace", &Record::stack_trace},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::ErrorData)
