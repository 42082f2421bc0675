#pragma once

#include <tarnwick/data/codetrace/chunk.h>
#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>

#include <zeromq/message.h>
#include <zeromq/msg.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace tarnwick::data::codetrace {
namespace detail {

/// One chunk of a code trace's additional data. Same fields, ownership and cost as `Data`, but a type of its own:
/// neither converts to the other.
class TARNWICK_EXPORT AddData : public QSharedData {
public:
    /// Takes over a message of the protobuf dialect. The chunk starts after `skip` bytes; if `skip` <= 0 or nothing
    /// follows, `data()` is null.
    AddData(ZMQ::Message message, php::RequestId request_id, long skip) noexcept;
    /// Takes over a message of the rpc dialect. The chunk is the whole message.
    AddData(zeromq::msg_t &&message, php::RequestId request_id) noexcept;
    Q_DISABLE_COPY_MOVE(AddData)

    [[nodiscard]] php::RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] char const *data() const noexcept { return chunk_.data(); }
    [[nodiscard]] std::uint64_t size() const noexcept { return chunk_.size(); }
    [[nodiscard]] bool more() const noexcept { return chunk_.more(); }
    [[nodiscard]] std::optional<std::string_view> view() const noexcept { return chunk_.view(); }

private:
    php::RequestId request_id_;
    Chunk chunk_;
};

} // namespace detail

/// Shared handle of an immutable `detail::AddData`.
class AddData : public Handle<detail::AddData> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::codetrace

template <>
struct tarnwick::data::Description<tarnwick::data::codetrace::detail::AddData> {
    static constexpr std::string_view name = "codetrace.AddData";
    using Sources = std::tuple<From<zeromq::msg_t, php::RequestId>, From<ZMQ::Message, php::RequestId, long>>;
    static constexpr auto fields = codetrace::detail::chunk_fields<codetrace::detail::AddData>;
};

Q_DECLARE_METATYPE(tarnwick::data::codetrace::AddData)
