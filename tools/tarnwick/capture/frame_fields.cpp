#include "capture/frame_fields.h"

#include "capture/varint.h"

#include <tarnwick/capture/v1/capture.pb.h>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/wire_format_lite.h>

#include <limits>

namespace tarnwick::program {
namespace {

using google::protobuf::internal::WireFormatLite;

} // namespace

FrameFields::State FrameFields::advance(std::string_view bytes)
{
    bytes = bytes.substr(0, static_cast<std::size_t>(frame_size_));
    bool const is_whole = bytes.size() == frame_size_;
    auto const state_of = [is_whole](Varint const &varint) {
        if (varint.state == Varint::State::too_large)
            return State::unknown;
        return is_whole ? State::invalid : State::incomplete;
    };
    while (next_ < frame_size_) {
        if (count_ == max_fields)
            return State::unknown;
        if (next_ >= bytes.size())
            return State::incomplete;
        auto const field = bytes.substr(static_cast<std::size_t>(next_));
        auto const tag = read_varint(field);
        if (tag.state != Varint::State::whole)
            return state_of(tag);
        if (tag.value > std::numeric_limits<std::uint32_t>::max())
            return State::unknown;
        auto const number = WireFormatLite::GetTagFieldNumber(static_cast<std::uint32_t>(tag.value));
        if (number == 0)
            return State::invalid;

        std::uint64_t size = tag.size;
        switch (tag.value & 7U) {
        case WireFormatLite::WIRETYPE_VARINT:
        case WireFormatLite::WIRETYPE_LENGTH_DELIMITED: {
            auto const value = read_varint(field.substr(tag.size));
            if (value.state != Varint::State::whole)
                return state_of(value);
            size += value.size;
            if ((tag.value & 7U) == WireFormatLite::WIRETYPE_LENGTH_DELIMITED) {
                if (value.value > frame_size_)
                    return State::invalid;
                size += value.value;
                last_delimited_ = number;
            }
            break;
        }
        case WireFormatLite::WIRETYPE_FIXED64:
            size += sizeof(std::uint64_t);
            break;
        case WireFormatLite::WIRETYPE_FIXED32:
            size += sizeof(std::uint32_t);
            break;
        case WireFormatLite::WIRETYPE_START_GROUP:
            return State::unknown;
        default:
            return State::invalid;
        }
        if (size > frame_size_ - next_)
            return State::invalid;
        next_ += size;
        ++count_;
    }
    return State::complete;
}

bool FrameFields::ends_with_report() const
{
    auto const *field = capture::v1::Frame::descriptor()->FindFieldByNumber(last_delimited_);
    return field != nullptr && field->containing_oneof() != nullptr;
}

} // namespace tarnwick::program
