#include "capture/report_parser.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tarnwick::program {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::internal::WireFormatLite;
using google::protobuf::io::CodedInputStream;

CodedInputStream stream_of(std::string const &bytes)
{
    return CodedInputStream(reinterpret_cast<std::uint8_t const *>(bytes.data()), static_cast<int>(bytes.size()));
}

/// Returns whether a report nests messages more than `max_report_depth` deep, before the first byte that does not parse. Does
/// not recurse, so a deep report needs no stack.
bool is_too_deep(Descriptor const &type, std::string const &bytes)
{
    struct Level {
        Descriptor const *type;
        CodedInputStream::Limit outer;
    };
    auto stream = stream_of(bytes);
    std::vector<Level> levels{{&type, 0}};
    while (true) {
        auto const tag = stream.ReadTag();
        if (tag == 0) {
            if (levels.size() == 1 || !stream.ConsumedEntireMessage())
                return false;
            stream.PopLimit(levels.back().outer);
            levels.pop_back();
            continue;
        }
        auto const *field = levels.back().type->FindFieldByNumber(WireFormatLite::GetTagFieldNumber(tag));
        if (field == nullptr || field->type() != FieldDescriptor::TYPE_MESSAGE ||
            WireFormatLite::GetTagWireType(tag) != WireFormatLite::WIRETYPE_LENGTH_DELIMITED) {
            if (!WireFormatLite::SkipField(&stream, tag))
                return false;
            continue;
        }
        if (levels.size() > static_cast<std::size_t>(max_report_depth))
            return true;
        int length = 0;
        if (!stream.ReadVarintSizeAsInt(&length) || length > stream.BytesUntilLimit())
            return false;
        levels.push_back({field->message_type(), stream.PushLimit(length)});
    }
}

} // namespace

bool try_parse_report(google::protobuf::Message &message, std::string const &bytes)
{
    auto stream = stream_of(bytes);
    stream.SetRecursionLimit(max_report_depth);
    return message.ParseFromCodedStream(&stream) && stream.ConsumedEntireMessage();
}

std::optional<std::string> parse_report(google::protobuf::Message &message, std::string const &bytes)
{
    if (try_parse_report(message, bytes))
        return std::nullopt;
    // The parser does not report why it stopped.
    auto const &type = *message.GetDescriptor();
    auto const name = std::string_view(type.full_name());
    if (is_too_deep(type, bytes))
        return fmt::format("the {} nests messages more than {} deep", name, max_report_depth);
    return fmt::format("the report is not a valid {}", name);
}

} // namespace tarnwick::program
