#include "live/frame_check.h"

#include <tarnwick/capture/v1/capture.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>
#include <tarnwick/rpc/php/v1/request_id.pb.h>

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>

#include <cstddef>

namespace tarnwick::program {
namespace {

using capture::v1::Frame;
using google::protobuf::internal::WireFormatLite;
using google::protobuf::io::CodedInputStream;
using rpc::php::v1::NotifyRequest;

/// Field of a message that is not parsed: a number, or bytes.
struct WireField {
    int number;
    std::uint64_t value = 0;
    std::optional<std::string_view> bytes = {}; // NOLINT(readability-redundant-member-init): designators leave it out
};

/// Passes the fields of a message, which is nested `depth` deep, to `take`, which returns whether the message is still
/// valid. Returns whether all bytes are fields. Groups and fixed numbers are skipped.
template <class Take>
bool walk_fields(std::string_view message, Take const &take, int depth = 0)
{
    CodedInputStream stream(reinterpret_cast<std::uint8_t const *>(message.data()), static_cast<int>(message.size()));
    stream.SetRecursionLimit(CodedInputStream::GetDefaultRecursionLimit() - depth);
    constexpr int max_tag_size = 5; // for the parser; the stream reads longer ones
    for (auto begin = 0; static_cast<std::size_t>(begin) < message.size(); begin = stream.CurrentPosition()) {
        auto const tag = stream.ReadTag(); // 0 for a truncated tag
        WireField field{.number = WireFormatLite::GetTagFieldNumber(tag)};
        if (field.number == 0 || stream.CurrentPosition() - begin > max_tag_size)
            return false;
        switch (WireFormatLite::GetTagWireType(tag)) {
        case WireFormatLite::WIRETYPE_VARINT:
            if (!stream.ReadVarint64(&field.value) || !take(field))
                return false;
            break;
        case WireFormatLite::WIRETYPE_LENGTH_DELIMITED: {
            int size = 0;
            if (!stream.ReadVarintSizeAsInt(&size))
                return false;
            auto const start = static_cast<std::size_t>(stream.CurrentPosition());
            if (!stream.Skip(size))
                return false;
            field.bytes = message.substr(start, static_cast<std::size_t>(size));
            if (!take(field))
                return false;
            break;
        }
        default:
            if (!WireFormatLite::SkipField(&stream, tag))
                return false;
        }
    }
    return true;
}

/// Returns whether a message in another has only fields.
bool has_fields(std::string_view message)
{
    return walk_fields(message, [](WireField const &) { return true; }, 1);
}

/// Returns the request that a report of the php family starts.
std::optional<CheckedFrame::Start> start_of(std::string_view report)
{
    CheckedFrame::Start start{.request_id = 0, .dialect = Dialect::rpc};
    int payload = 0;
    walk_fields(report, [&](WireField const &field) {
        if (!field.bytes)
            return true;
        if (field.number == NotifyRequest::kRequestIdFieldNumber) {
            return walk_fields(*field.bytes, [&](WireField const &id) {
                if (id.number == rpc::php::v1::RequestId::kIdFieldNumber && !id.bytes)
                    start.request_id = id.value;
                return true;
            });
        }
        if (NotifyRequest::descriptor()->FindFieldByNumber(field.number) != nullptr &&
            field.number >= NotifyRequest::kRinitFieldNumber)
            payload = field.number;
        return true;
    });
    return payload == NotifyRequest::kRinitFieldNumber ? std::optional(start) : std::nullopt;
}

} // namespace

std::optional<CheckedFrame> check_frame(std::string_view bytes)
{
    std::uint64_t request_id = 0;
    WireField report{.number = 0};
    bool const is_frame = !bytes.empty() && walk_fields(bytes, [&](WireField const &field) {
        if (field.number == Frame::kRequestIdFieldNumber && !field.bytes)
            request_id = field.value;
        if (field.number >= Frame::kRpcPhpFieldNumber && field.number <= Frame::kCtAddDataFieldNumber && field.bytes &&
            Frame::descriptor()->FindFieldByNumber(field.number) != nullptr)
            report = field;
        return field.number != Frame::kReceivedFieldNumber || !field.bytes || has_fields(*field.bytes);
    });
    if (!is_frame)
        return std::nullopt;
    CheckedFrame frame;
    if (report.number == Frame::kRpcPhpFieldNumber)
        frame.start = start_of(*report.bytes); // NOLINT(bugprone-unchecked-optional-access): a report has bytes
    if (report.number == Frame::kRinitFieldNumber)
        frame.start = {.request_id = request_id, .dialect = Dialect::protobuf};
    return frame;
}

} // namespace tarnwick::program
