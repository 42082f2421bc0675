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

/// One chunk of a code trace's body.
///
/// The record owns the transport message from which it is constructed. Large messages are not copied: their bytes keep
/// their address. ZeroMQ copies the few bytes of a small message. The constructors allocate nothing and leave their
/// argument empty.
///
/// | Accessor       | Meaning, unit                   | rpc                       | protobuf                         |
/// |----------------|---------------------------------|---------------------------|----------------------------------|
/// | `request_id()` | traced request                  | constructor argument      | constructor argument             |
/// | `data()`       | first byte of the chunk; do not | first byte of the message | after the skipped bytes; null if |
/// |                | read it if `size()` is 0        |                           | `skip` <= 0 or nothing follows   |
/// | `size()`       | bytes of the chunk              | bytes of the message      | bytes after the skipped ones; 0  |
/// |                |                                 |                           | where `data()` is null           |
/// | `more()`       | whether more parts of the       | the message's own flag    | always false                     |
/// |                | transport message follow        |                           |                                  |
/// | `view()`       | `data()` and `size()` together  | always present            | absent where `data()` is null    |
class TARNWICK_EXPORT Data : public QSharedData {
public:
    /// Takes over a message of the protobuf dialect. The chunk starts after `skip` bytes; if `skip` <= 0 or nothing
    /// follows, `data()` is null.
    Data(ZMQ::Message message, php::RequestId request_id, long skip) noexcept;
    /// Takes over a message of the rpc dialect. The chunk is the whole message.
    Data(zeromq::msg_t &&message, php::RequestId request_id) noexcept;
    Q_DISABLE_COPY_MOVE(Data)

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

/// Shared handle of an immutable `detail::Data`.
class Data : public Handle<detail::Data> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::codetrace

template <>
struct tarnwick::data::Description<tarnwick::data::codetrace::detail::Data> {
    static constexpr std::string_view name = "codetrace.Data";
    using Sources = std::tuple<From<zeromq::msg_t, php::RequestId>, From<ZMQ::Message, php::RequestId, long>>;
    static constexpr auto fields = codetrace::detail::chunk_fields<codetrace::detail::Data>;
};

Q_DECLARE_METATYPE(tarnwick::data::codetrace::Data)
