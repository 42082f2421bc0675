#include <tarnwick/data/codetrace/header.h>

#include <tarnwick/messages.h>

#include <pelorin/protobuf/CT/header.pb.h>
#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>

#include <QtCore/QtEndian>

namespace tarnwick::data::codetrace::detail {
namespace {

using TraceKind = Header::TraceKind;

/// Returns the kind for its number in a message. Both dialects number the kinds consecutively, starting with `first`.
template <auto first>
TraceKind kind_of(decltype(first) number)
{
    auto const index = static_cast<std::int64_t>(number) - static_cast<std::int64_t>(first);
    bool const known = index >= 0 && index < static_cast<std::int64_t>(TraceKind::unknown);
    return known ? static_cast<TraceKind>(index) : TraceKind::unknown;
}

constexpr std::size_t format_major_offset = 2;
constexpr std::size_t format_minor_offset = 3;
constexpr std::size_t request_id_low_offset = 4;
constexpr std::size_t word_8_offset = 8;
constexpr std::size_t word_12_offset = 12;
constexpr std::size_t word_16_offset = 16;
constexpr std::size_t long_24_offset = 24;
constexpr std::size_t long_32_offset = 32;

/// Writes the fields of a message of either dialect after the magic bytes. Version numbers and the id are truncated.
template <class Message>
void write(Header::DumpHeader &header, php::RequestId request_id, Message const &message)
{
    header[format_major_offset] = static_cast<char>(message.format_major());
    header[format_minor_offset] = static_cast<char>(message.format_minor());
    qToBigEndian(static_cast<std::uint32_t>(request_id.id()), &header[request_id_low_offset]);
    qToBigEndian(message.word_8(), &header[word_8_offset]);
    qToBigEndian(message.word_12(), &header[word_12_offset]);
    qToBigEndian(message.word_16(), &header[word_16_offset]);
    qToBigEndian(message.long_24(), &header[long_24_offset]);
    qToBigEndian(message.long_32(), &header[long_32_offset]);
}

} // namespace

Header::Header(messages::rpc_codetrace::NotifyRequest const &message) noexcept
    : request_id_(message.request_id())
{
    if (message.payload_case() != messages::rpc_codetrace::NotifyRequest::kHeader)
        return;

    trace_kind_ = kind_of<messages::rpc_codetrace::Request::KIND_1>(message.header().request().kind());
    write(dump_header_, request_id_, message.header());
}

Header::Header(messages::protobuf_codetrace::Header const &message, php::RequestId request_id) noexcept
    : request_id_(request_id)
    , trace_kind_(kind_of<messages::protobuf_codetrace::Header::KIND_0>(message.kind()))
{
    write(dump_header_, request_id_, message);
}

} // namespace tarnwick::data::codetrace::detail
