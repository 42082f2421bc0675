#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>

#include <cstdint>

namespace tarnwick::rpc::php::v1 {
class RequestId;
}

namespace tarnwick::data::php {

/// Identifier of one PHP request. Opaque: it is stored, copied and printed, never compared or ordered. 0 if absent.
///
/// Messages: `<tarnwick/rpc/php/v1/request_id.pb.h>`.
class TARNWICK_EXPORT RequestId {
public:
    constexpr RequestId() noexcept = default;
    constexpr explicit RequestId(std::uint64_t id) noexcept
        : id_(id)
    {
    }
    explicit RequestId(rpc::php::v1::RequestId const &message) noexcept;

    [[nodiscard]] constexpr std::uint64_t id() const noexcept { return id_; }

private:
    std::uint64_t id_ = 0;
};

} // namespace tarnwick::data::php

Q_DECLARE_METATYPE(tarnwick::data::php::RequestId)
