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

/// What `Data` and `AddData` share: a transport message and the view into it. A member of both and no base class, so
/// that neither can pass for the other. It stays where it was made: ZeroMQ keeps a small message's bytes inside the
/// `zmq_msg_t`, and the view points there.
class Chunk {
public:
    /// Of the protobuf dialect: what follows the first `skip` bytes. If `skip` <= 0 or nothing follows, there is no view,
    /// though the message is kept.
    Chunk(ZMQ::Message &message, long skip) noexcept;
    /// Of the rpc dialect: the whole message.
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
    bool has_view_ = false; ///< `data_` does not decide it: ZeroMQ allows null for a message of 0 bytes
    zeromq::msg_t message_;
};

/// The description of both records.
template <class Record>
inline constexpr std::tuple chunk_fields{
    Field{"request_id", &Record::request_id},
    Field{"data", &Record::view},
    Field{"size", &Record::size},
    Field{"more", &Record::more},
};

} // namespace detail
} // namespace tarnwick::data::codetrace
