#include "support/records/message_filler.h"

#include <google/protobuf/descriptor.h>

#include <stdexcept>

namespace tarnwick::test {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

namespace {

constexpr int deepest = 10;

} // namespace

void MessageFiller::fill(Message &message)
{
    if (shape_ != 0)
        fill(message, 0);
}

void MessageFiller::fill(Message &message, int depth)
{
    auto const &type = *message.GetDescriptor();
    for (int i = 0; i < type.field_count(); ++i) {
        auto const &field = *type.field(i);
        if (field.real_containing_oneof() == nullptr && below(4) != 0)
            fill(message, field, depth);
    }
    for (int i = 0; i < type.real_oneof_decl_count(); ++i) {
        auto const &oneof = *type.real_oneof_decl(i);
        auto const none = static_cast<std::uint32_t>(oneof.field_count());
        if (auto const member = below(none + 1); member != none)
            fill(message, *oneof.field(static_cast<int>(member)), depth);
    }
}

void MessageFiller::fill(Message &message, FieldDescriptor const &field, int depth)
{
    auto const &reflection = *message.GetReflection();
    auto const is_message = field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE;
    for (auto count = field.is_repeated() ? below(4) : 1; count > 0; --count) {
        if (!is_message)
            set(message, field);
        else if (depth < deepest && messages_left_-- > 0)
            fill(field.is_repeated() ? *reflection.AddMessage(&message, &field)
                                     : *reflection.MutableMessage(&message, &field),
                 depth + 1);
    }
}

void MessageFiller::set(Message &message, FieldDescriptor const &field)
{
    auto const &reflection = *message.GetReflection();
    switch (field.cpp_type()) {
    case FieldDescriptor::CPPTYPE_STRING:
        if (field.is_repeated())
            return reflection.AddString(&message, &field, text());
        return reflection.SetString(&message, &field, text());
    case FieldDescriptor::CPPTYPE_INT32:
        return reflection.SetInt32(&message, &field, static_cast<std::int32_t>(number()));
    case FieldDescriptor::CPPTYPE_INT64:
        return reflection.SetInt64(&message, &field, number());
    case FieldDescriptor::CPPTYPE_UINT32:
        return reflection.SetUInt32(&message, &field, static_cast<std::uint32_t>(number()));
    case FieldDescriptor::CPPTYPE_UINT64:
        return reflection.SetUInt64(&message, &field, static_cast<std::uint64_t>(number()));
    case FieldDescriptor::CPPTYPE_DOUBLE:
        return reflection.SetDouble(&message, &field, static_cast<double>(number()) / 8);
    case FieldDescriptor::CPPTYPE_BOOL:
        return reflection.SetBool(&message, &field, below(2) != 0);
    case FieldDescriptor::CPPTYPE_ENUM: {
        auto const known = field.enum_type()->value_count();
        return reflection.SetEnumValue(&message, &field,
                                       static_cast<int>(below(static_cast<std::uint32_t>(known) + 1)));
    }
    default:
        throw std::logic_error("no field has this type: " + std::string(field.full_name()));
    }
}

std::string MessageFiller::text()
{
    std::string text;
    for (auto left = below(40); left > 0; --left)
        text += static_cast<char>('a' + below(26));
    // Never part of UTF-8.
    if (below(8) == 1)
        text += '\xff';
    return text;
}

std::int64_t MessageFiller::number()
{
    if (below(4) != 0)
        return below(4);
    auto const large = static_cast<std::int64_t>(below(1U << 31));
    return below(2) == 0 ? -large : large << 16;
}

void FieldCoverage::add(Message const &message)
{
    auto const &type = *message.GetDescriptor();
    auto const &reflection = *message.GetReflection();
    for (int i = 0; i < type.field_count(); ++i) {
        auto const *field = type.field(i);
        auto const is_filled =
            field->is_repeated() ? reflection.FieldSize(message, field) > 0 : reflection.HasField(message, field);
        (is_filled ? filled_ : absent_).insert(field);
        if (!is_filled || field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE)
            continue;
        if (!field->is_repeated())
            add(reflection.GetMessage(message, field));
        for (int k = 0; field->is_repeated() && k < reflection.FieldSize(message, field); ++k)
            add(reflection.GetRepeatedMessage(message, field, k));
    }
}

std::set<std::string> FieldCoverage::difference(Fields const &fields, Fields const &others)
{
    std::set<std::string> names;
    for (auto const *field : fields) {
        if (!others.contains(field))
            names.emplace(field->full_name());
    }
    return names;
}

} // namespace tarnwick::test
