#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace pelorin::protobuf::PelorinPHP {
class RInitData;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// The start of one PHP request: the PHP runtime and the scalar fields of the request. Headers, superglobals and the
/// POST body of the same report are separate records.
///
/// | Accessor              | Meaning, unit                     | rpc                            | protobuf              |
/// |-----------------------|-----------------------------------|--------------------------------|-----------------------|
/// | `request_id()`        | request that started              | envelope, 0 when absent        | constructor argument  |
/// | `timestamp()`         | time of the report                | envelope, 0, 0 when absent     | 0, 0 when absent      |
/// | `version_major()` ... | version of the runtime            | 0 without a version            | 0 without a version   |
/// | `version_patch()`     |                                   |                                |                       |
/// | `version_text()`      | the version as text               | null without a version         | never sent: null      |
/// | `version_number()`    | fourth number of the version      | 0 without a version            | never sent: 0         |
/// | `info_text()`         | text of the runtime               | null without an `Info`         | empty when unset      |
/// | `request_text_0()`,   | texts of the request              | null without a `Request`       | empty when unset      |
/// | `request_text_1()`    |                                   |                                |                       |
/// | `info_number()`       | number of the runtime             | 0 without an `Info`            | 0 when unset          |
/// | `request_bytes_0()`   | raw bytes of the request, not     | by presence, even if empty     | absent when empty     |
/// | `request_bytes_1()`   | decoded                           | by presence, even if empty     | never sent: absent    |
///
/// Messages: `<tarnwick/rpc/php/v1/notify_request.pb.h>` and `<pelorin/protobuf/PelorinPHP/rinit_data.pb.h>`.
class TARNWICK_EXPORT RInit : public QSharedData {
public:
    /// Reads a report of the rpc dialect. A report of another case yields only the request id and the time stamp.
    explicit RInit(rpc::php::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect.
    RInit(pelorin::protobuf::PelorinPHP::RInitData const &message, RequestId request_id);
    Q_DISABLE_COPY_MOVE(RInit)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] TimePair timestamp() const noexcept { return timestamp_; }
    [[nodiscard]] std::int32_t version_major() const noexcept { return version_major_; }
    [[nodiscard]] std::int32_t version_minor() const noexcept { return version_minor_; }
    [[nodiscard]] std::int32_t version_patch() const noexcept { return version_patch_; }
    [[nodiscard]] QString const &version_text() const noexcept { return version_text_; }
    [[nodiscard]] std::int32_t version_number() const noexcept { return version_number_; }
    [[nodiscard]] QString const &info_text() const noexcept { return info_text_; }
    [[nodiscard]] QString const &request_text_0() const noexcept { return request_text_0_; }
    [[nodiscard]] QString const &request_text_1() const noexcept { return request_text_1_; }
    [[nodiscard]] std::int32_t info_number() const noexcept { return info_number_; }
    [[nodiscard]] std::optional<QByteArray> const &request_bytes_0() const noexcept { return request_bytes_0_; }
    [[nodiscard]] std::optional<QByteArray> const &request_bytes_1() const noexcept { return request_bytes_1_; }

private:
    RequestId request_id_;
    TimePair timestamp_;
    std::int32_t version_major_ = 0;
    std::int32_t version_minor_ = 0;
    std::int32_t version_patch_ = 0;
    QString version_text_;
    std::int32_t version_number_ = 0;
    QString info_text_;
    QString request_text_0_;
    QString request_text_1_;
    std::int32_t info_number_ = 0;
    std::optional<QByteArray> request_bytes_0_;
    std::optional<QByteArray> request_bytes_1_;
};

} // namespace detail

/// Shared handle of an immutable `detail::RInit`.
class RInit : public Handle<detail::RInit> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::RInit> {
    using Record = php::detail::RInit;
    static constexpr std::string_view name = "php.RInit";
    using Sources =
        std::tuple<From<rpc::php::v1::NotifyRequest>, From<pelorin::protobuf::PelorinPHP::RInitData, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},           Field{"timestamp", &Record::timestamp, Sense::instant},
        Field{"version_major", &Record::version_major},     Field{"version_minor", &Record::version_minor},
        Field{"version_patch", &Record::version_patch},     Field{"version_text", &Record::version_text},
        Field{"version_number", &Record::version_number},   Field{"info_text", &Record::info_text},
        Field{"request_text_0", &Record::request_text_0},   Field{"request_text_1", &Record::request_text_1},
        Field{"info_number", &Record::info_number},         Field{"request_bytes_0", &Record::request_bytes_0},
        Field{"request_bytes_1", &Record::request_bytes_1},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::RInit)
