#pragma once

// Functions that build captures.

#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/capture/v1/capture.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test {

using capture::v1::Frame;
using PhpReport = rpc::php::v1::NotifyRequest;
using pelorin::protobuf::PelorinPHP::RShutdownData;

inline std::string varint(std::uint64_t value)
{
    std::string bytes;
    for (; value >= 0x80; value >>= 7)
        bytes.push_back(static_cast<char>(value | 0x80));
    bytes.push_back(static_cast<char>(value));
    return bytes;
}

inline std::string delimited(std::string const &body)
{
    return varint(body.size()) + body;
}

inline std::string delimited(Frame const &frame)
{
    return delimited(frame.SerializeAsString());
}

/// Returns the bytes of a message.
template <class Message>
std::string wire(std::string const &textproto)
{
    return from_text<Message>(textproto).SerializeAsString();
}

inline Frame rpc_php_frame(std::string const &report)
{
    Frame frame;
    frame.set_rpc_php(report);
    return frame;
}

inline Frame rpc_php_frame_of(std::string const &textproto)
{
    return rpc_php_frame(wire<PhpReport>(textproto));
}

inline Frame rshutdown_frame_of(std::uint64_t request_id, std::string const &textproto)
{
    Frame frame;
    frame.set_request_id(request_id);
    frame.set_rshutdown(wire<RShutdownData>(textproto));
    return frame;
}

inline Frame error_frame_of(std::uint64_t request_id, std::string const &textproto)
{
    Frame frame;
    frame.set_request_id(request_id);
    frame.set_error(wire<pelorin::protobuf::Glimmet::Error>(textproto));
    return frame;
}

/// Returns a frame with its length, which prints one record.
inline std::string request_end(std::uint64_t request_id)
{
    return delimited(rshutdown_frame_of(request_id, "response_status: 200"));
}

/// Returns the start of a length-delimited field with `size` bytes of content.
inline std::string field_head(int number, std::size_t size)
{
    return varint(static_cast<std::uint64_t>(number) << 3 | 2) + varint(size);
}

/// Returns a field that is unknown in every message.
inline std::string padding(std::size_t size)
{
    return field_head(10'000, size) + std::string(size, 'x');
}

/// The path of fields from a PHP array value to a value in it.
inline std::vector<int> const fields_into_an_array{rpc::php::v1::ZVal::kArrayValueFieldNumber,
                                                   rpc::php::v1::PelorinArray::kElementsFieldNumber,
                                                   rpc::php::v1::PelorinArrayElement::kValueFieldNumber};

/// Returns a php report of a request end that nests messages `depth` deep in its superglobals. `fields` is the path
/// from a value to the next.
inline std::string nested_report(std::size_t depth, std::vector<int> const &fields = fields_into_an_array)
{
    using namespace rpc::php::v1;
    int const start[] = {PhpReport::kRshutdownFieldNumber, RShutdownPayload::kSuperglobalsFieldNumber,
                         PelorinArray::kElementsFieldNumber, PelorinArrayElement::kValueFieldNumber};
    constexpr auto started = std::size(start);
    // Built from the innermost, empty message outwards. The bytes are reversed, so that a head can be appended.
    std::string reversed;
    for (auto level = depth; level-- > 0;) {
        auto const field = level < started ? start[level] : fields[(level - started) % fields.size()];
        auto const head = field_head(field, reversed.size());
        reversed.append(head.rbegin(), head.rend());
    }
    return {reversed.rbegin(), reversed.rend()};
}

} // namespace tarnwick::test
