#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>

#include <cstdint>

namespace pelorin::protobuf::PelorinPHP {
class RShutdownData;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::data::php {
namespace detail {

/// The end of one PHP request. The constructors allocate nothing.
///
/// | Accessor            | Meaning, unit                   | rpc                        | protobuf             |
/// |---------------------|---------------------------------|----------------------------|----------------------|
/// | `request_id()`      | request that ended              | envelope, 0 when absent    | constructor argument |
/// | `timestamp()`       | time of the report              | envelope, 0, 0 when absent | never sent: 0, 0     |
/// | `duration()`        | run time of the request         | 0, 0 when absent           | 0, 0 when absent     |
/// | `response_status()` | status of the response          | 0 without a response       | 0 when unset         |
/// | `memory_0()` ...    | three memory figures,           | 0 without a `Memory`       | 0 when unset         |
/// | `memory_2()`        | distinguished only by position  |                            |                      |
///
/// Messages: `<tarnwick/rpc/php/v1/notify_request.pb.h>` and `<pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>`.
class TARNWICK_EXPORT RShutdown : public QSharedData {
public:
    /// Reads a report of the rpc dialect. A report of another case yields the request id, the time stamp and zeroes.
    explicit RShutdown(rpc::php::v1::NotifyRequest const &message) noexcept;
    /// Reads a report of the protobuf dialect.
    RShutdown(pelorin::protobuf::PelorinPHP::RShutdownData const &message, RequestId request_id) noexcept;
    Q_DISABLE_COPY_MOVE(RShutdown)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] TimePair timestamp() const noexcept { return timestamp_; }
    [[nodiscard]] TimePair duration() const noexcept { return duration_; }
    [[nodiscard]] std::int32_t response_status() const noexcept { return response_status_; }
    [[nodiscard]] std::int64_t memory_0() const noexcept { return memory_0_; }
    [[nodiscard]] std::int64_t memory_1() const noexcept { return memory_1_; }
    [[nodiscard]] std::int64_t memory_2() const noexcept { return memory_2_; }

private:
    RequestId request_id_;
    TimePair timestamp_;
    TimePair duration_;
    std::int32_t response_status_ = 0;
    std::int64_t memory_0_ = 0;
    std::int64_t memory_1_ = 0;
    std::int64_t memory_2_ = 0;
};

} // namespace detail

/// Shared handle of an immutable `detail::RShutdown`.
class RShutdown : public Handle<detail::RShutdown> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::RShutdown> {
    using Record = php::detail::RShutdown;
    static constexpr std::string_view name = "php.RShutdown";
    using Sources = std::tuple<From<rpc::php::v1::NotifyRequest>,
                               From<pelorin::protobuf::PelorinPHP::RShutdownData, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"timestamp", &Record::timestamp, Sense::instant},
        Field{"duration", &Record::duration, Sense::span},
        Field{"response_status", &Record::response_status},
        Field{"memory_0", &Record::memory_0},
        Field{"memory_1", &Record::memory_1},
        Field{"memory_2", &Record::memory_2},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::RShutdown)
