#pragma once

#include <tarnwick/data/description.h>

#include <QtCore/qtclasshelpermacros.h>

#include <zeromq/message.h>
#include <zeromq/msg.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace tarnwick::data::codetrace {
namespace detail {

/// A transport message and a view of its bytes: the common part of `Data` and `AddData`. Both have it as a member. With
/// a common base class each would convert to that base.
///
/// A chunk is neither copied nor moved. ZeroMQ stores the bytes of a small message inside the `zmq_msg_t`, and the view
/// points there.
class Chunk {
public:
    /// Takes over a message of the protobuf dialect and views the bytes after the first `skip`. If `skip` <= 0 or
    /// nothing follows, there is no view, but the message is kept.
    Chunk(ZMQ::Message &message, long skip) noexcept;
    /// Takes over a message of the rpc dialect and views all of its bytes.
    explicit Chunk(zeromq::msg_t &message) noexcept;
    Q_DISABLE_COPY_MOVE(Chunk)
    ~Chunk() = default;

    [[nodiscard]] char const *data() const noexcept { return data_; }
    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
    [[nodiscard]] bool more() const noexcept { return more_; }
    [[nodiscard]] std::optional<std::string_view> view() const noexcept
    {
        return has_view_ ? std::optional<std::string_view>({data_, size_}) : std::nullopt;
    }

private:
    char const *data_ = nullptr;
    std::uint64_t size_ = 0;
    bool more_ = false;
    bool has_view_ = false; ///< not `data_ != nullptr`: ZeroMQ may return null for a message of 0 bytes
    zeromq::msg_t message_;
};

/// The fields of both records, for their `Description`.
template <class Record>
inline constexpr std::tuple chunk_fields{
    Field{"request_id", &Record::request_id},
    Field{"data", &Record::view},
    Field{"size", &Record::size},
    Field{"more", &Record::more},
};

} // namespace detail
} // namespace tarnwick::data::codetrace
