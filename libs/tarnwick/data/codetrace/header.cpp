#include <tarnwick/data/codetrace/header.h>

#include <pelorin/protobuf/CT/header.pb.h>
#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>

#include <QtCore/QtEndian>

namespace tarnwick::data::codetrace::detail {
namespace {

using TraceKind = Header::TraceKind;
using ProtobufHeader = pelorin::protobuf::CT::Header;
using RpcRequest = rpc::codetrace::v1::Request;

TraceKind kind_of(ProtobufHeader::Kind kind)
{
    switch (kind) {
    case ProtobufHeader::KIND_0:
        return TraceKind::kind_0;
    case ProtobufHeader::KIND_1:
        return TraceKind::kind_1;
    case ProtobufHeader::KIND_2:
        return TraceKind::kind_2;
    default:
        return TraceKind::unknown;
    }
}

// This dialect counts from 1; an unset kind reads as 0.
TraceKind kind_of(RpcRequest::Kind kind)
{
    switch (kind) {
    case RpcRequest::KIND_1:
        return TraceKind::kind_0;
    case RpcRequest::KIND_2:
        return TraceKind::kind_1;
    case RpcRequest::KIND_3:
        return TraceKind::kind_2;
    default:
        return TraceKind::unknown;
    }
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

Header::Header(rpc::codetrace::v1::NotifyRequest const &message) noexcept
    : request_id_(message.request_id())
{
    if (message.payload_case() != rpc::codetrace::v1::NotifyRequest::kHeader)
        return;

    trace_kind_ = kind_of(message.header().request().kind());
    write(dump_header_, request_id_, message.header());
}

Header::Header(pelorin::protobuf::CT::Header const &message, php::RequestId request_id) noexcept
    : request_id_(request_id)
    , trace_kind_(kind_of(message.kind()))
{
    write(dump_header_, request_id_, message);
}

} // namespace tarnwick::data::codetrace::detail
