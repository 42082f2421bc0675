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

/// One chunk of a code trace's body. It owns the transport message that it was made from: the bytes stay where they came
/// as long as the record lives, but for the few that ZeroMQ keeps inside a small message. Its constructors touch no heap
/// and leave their argument empty.
///
/// | Accessor       | Meaning, unit                   | rpc                       | protobuf                         |
/// |----------------|---------------------------------|---------------------------|----------------------------------|
/// | `request_id()` | traced request                  | constructor argument      | constructor argument             |
/// | `data()`       | first byte of the chunk, not to | first byte of the message | after the bytes to skip; null    |
/// |                | be read where `size()` is 0     |                           | if none are, or none follow      |
/// | `size()`       | bytes of the chunk              | bytes of the message      | bytes after those to skip, or 0  |
/// | `more()`       | further parts of the transport  | what the transport says   | false, whatever it says          |
/// |                | message follow                  |                           |                                  |
/// | `view()`       | `data()` and `size()` as one    | always present            | absent where `data()` is null    |
class TARNWICK_EXPORT Data : public QSharedData {
public:
    /// The chunk starts after `skip` bytes; if `skip` <= 0 or nothing follows, `data()` is null.
    Data(ZMQ::Message message, php::RequestId request_id, long skip) noexcept;
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

/// Shared, read-only handle.
class Data : public Handle<detail::Data> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::codetrace

template <>
struct tarnwick::data::Description<tarnwick::data::codetrace::detail::Data> {
    static constexpr std::string_view name = "codetrace.Data";
    static constexpr auto fields = codetrace::detail::chunk_fields<codetrace::detail::Data>;
};

Q_DECLARE_METATYPE(tarnwick::data::codetrace::Data)
