#include "fuzz/message_mutator.h"

#include <google/protobuf/descriptor.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <limits>
#include <memory>
#include <string_view>

namespace tarnwick::fuzz {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using namespace std::string_view_literals;

constexpr std::size_t longest_growth = 64; ///< of a text, in one step

void collect(Message &message, std::vector<Message *> &parts)
{
    parts.push_back(&message);
    auto const &reflection = *message.GetReflection();
    std::vector<FieldDescriptor const *> fields;
    reflection.ListFields(message, &fields);
    for (auto const *field : fields) {
        if (field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE)
            continue;
        if (!field->is_repeated())
            collect(*reflection.MutableMessage(&message, field), parts);
        for (int i = 0; field->is_repeated() && i < reflection.FieldSize(message, field); ++i)
            collect(*reflection.MutableRepeatedMessage(&message, field, i), parts);
    }
}

constexpr std::array texts{""sv,
                           "\0"sv,
                           "a\0b"sv,
                           "\xEF\xBB\xBF"sv,
                           "\xEF\xBB\xBF\xEF\xBB\xBF"
                           "a"sv,
                           "a\xEF\xBB\xBF"sv,
                           "\xEF\xBB"sv,
                           "\xC3\xA4"sv,
                           "\xC3"sv,
                           "\x80"sv,
                           "\xC0\x80"sv,
                           "\xE0\x80\x80"sv,
                           "\xED\xA0\x80"sv,
                           "\xED\xBF\xBF"sv,
                           "\xEF\xBF\xBE"sv,
                           "\xEF\xBF\xBF"sv,
                           "\xF0\x9F\x98\x80"sv,
                           "\xF0\x9F\x98"sv,
                           "\xF0\x80\x80\x80"sv,
                           "\xF4\x8F\xBF\xBF"sv,
                           "\xF4\x90\x80\x80"sv,
                           "\xFE\xFF"sv,
                           "{\"a\":[1,2.5,\"\\u0000\",null,true]}"sv,
                           "[{},[],-0.0,1e308,1e999,\"\\ud800\"]"sv,
                           "/var/www/index.php"sv,
                           "SELECT 1"sv};

} // namespace

std::vector<Message *> parts_of(Message &message)
{
    std::vector<Message *> parts;
    collect(message, parts);
    return parts;
}

void MessageMutator::mutate(Message &message)
{
    whole_ = &message;
    do {
        mutate_part(*random_.one_of(parts_of(message)));
    } while (random_.one_in(3));
}

void MessageMutator::cross(Message &message, Message &other)
{
    auto const theirs = parts_of(other);
    auto const ours = parts_of(message);
    // Starts at a random part of `other` and takes the first that has a counterpart of the same class in `message`.
    auto const start = random_.below(theirs.size());
    for (std::size_t i = 0; i < theirs.size(); ++i) {
        auto const &part = *theirs[(start + i) % theirs.size()];
        std::vector<Message *> fitting;
        std::ranges::copy_if(ours, std::back_inserter(fitting),
                             [&](auto const *own) { return own->GetDescriptor() == part.GetDescriptor(); });
        if (fitting.empty())
            continue;
        auto &place = *random_.one_of(fitting);
        if (random_.one_in(2))
            place.CopyFrom(part);
        else
            place.MergeFrom(part);
        return;
    }
}

void MessageMutator::mutate_part(Message &part)
{
    auto const &type = *part.GetDescriptor();
    if (type.field_count() == 0 || random_.one_in(8))
        return copy_from_elsewhere(part);
    auto const &field = *type.field(static_cast<int>(random_.below(static_cast<std::size_t>(type.field_count()))));
    if (field.is_repeated())
        mutate_repeated(part, field);
    else if (random_.one_in(8))
        part.GetReflection()->ClearField(&part, &field);
    else if (field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE)
        mutate_message(part, field);
    else
        set(part, field, -1);
}

void MessageMutator::mutate_repeated(Message &part, FieldDescriptor const &field)
{
    auto const &reflection = *part.GetReflection();
    auto const size = reflection.FieldSize(part, &field);
    auto const is_message = field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE;
    auto const any = [&] { return static_cast<int>(random_.below(static_cast<std::size_t>(size))); };
    switch (size == 0 ? 0 : random_.below(5)) {
    case 0: // append a new element
        if (is_message)
            mutate_part(*reflection.AddMessage(&part, &field));
        else
            set(part, field, -1);
        break;
    case 1:
        reflection.SwapElements(&part, &field, any(), size - 1);
        reflection.RemoveLast(&part, &field);
        break;
    case 2:
        reflection.SwapElements(&part, &field, any(), any());
        break;
    case 3: // append a copy
        if (is_message) {
            auto const index = any();
            auto &copy = *reflection.AddMessage(&part, &field);
            copy.CopyFrom(reflection.GetRepeatedMessage(part, &field, index));
        } else {
            set(part, field, any());
        }
        break;
    default:
        if (is_message)
            mutate_part(*reflection.MutableRepeatedMessage(&part, &field, any()));
        else
            set(part, field, any());
    }
}

void MessageMutator::mutate_message(Message &part, FieldDescriptor const &field)
{
    auto &message = *part.GetReflection()->MutableMessage(&part, &field);
    if (random_.one_in(4))
        return; // an empty message can matter by its presence
    if (random_.one_in(4))
        copy_from_elsewhere(message);
    else
        mutate_part(message);
}

// The copied part may contain its target, so that messages become deeply nested.
void MessageMutator::copy_from_elsewhere(Message &part)
{
    std::vector<Message *> fitting;
    std::ranges::copy_if(parts_of(*whole_), std::back_inserter(fitting), [&](auto const *other) {
        return other != &part && other->GetDescriptor() == part.GetDescriptor();
    });
    if (fitting.empty())
        return;
    std::unique_ptr<Message> const copy(part.New());
    copy->CopyFrom(*random_.one_of(fitting));
    part.CopyFrom(*copy);
}

void MessageMutator::set(Message &part, FieldDescriptor const &field, int index)
{
    auto const &reflection = *part.GetReflection();
    auto const is_new = field.is_repeated() && index < 0;
    switch (field.cpp_type()) {
    case FieldDescriptor::CPPTYPE_STRING: {
        if (is_new)
            return reflection.AddString(&part, &field, mutated({}));
        if (field.is_repeated())
            return reflection.SetRepeatedString(&part, &field, index,
                                                mutated(reflection.GetRepeatedString(part, &field, index)));
        return reflection.SetString(&part, &field, mutated(reflection.GetString(part, &field)));
    }
    case FieldDescriptor::CPPTYPE_INT32:
        return reflection.SetInt32(&part, &field, static_cast<std::int32_t>(number()));
    case FieldDescriptor::CPPTYPE_INT64:
        return reflection.SetInt64(&part, &field, number());
    case FieldDescriptor::CPPTYPE_UINT32:
        return reflection.SetUInt32(&part, &field, static_cast<std::uint32_t>(number()));
    case FieldDescriptor::CPPTYPE_UINT64:
        return reflection.SetUInt64(&part, &field, static_cast<std::uint64_t>(number()));
    case FieldDescriptor::CPPTYPE_DOUBLE:
        return reflection.SetDouble(&part, &field, real());
    case FieldDescriptor::CPPTYPE_BOOL:
        return reflection.SetBool(&part, &field, random_.one_in(2));
    case FieldDescriptor::CPPTYPE_ENUM: {
        auto const known = static_cast<std::size_t>(field.enum_type()->value_count());
        return reflection.SetEnumValue(
            &part, &field,
            static_cast<int>(random_.one_in(4) ? number() : static_cast<std::int64_t>(random_.below(known + 1))));
    }
    default:
        break; // no message has a field of this type
    }
}

std::string MessageMutator::mutated(std::string text)
{
    if (random_.one_in(4)) {
        std::string_view const other = random_.one_of(texts);
        if (random_.one_in(2))
            return std::string(other);
        return text.insert(random_.below(text.size() + 1), other);
    }
    auto const size = text.size();
    text.resize(size + longest_growth);
    text.resize(mutate_bytes_(reinterpret_cast<std::uint8_t *>(text.data()), size, text.size()));
    return text;
}

std::int64_t MessageMutator::number()
{
    constexpr std::int64_t small = 8;
    switch (random_.below(4)) {
    case 0:
        return static_cast<std::int64_t>(random_.below(2 * small)) - small;
    case 1: // a power of two or a neighbour of one
        return static_cast<std::int64_t>((std::uint64_t{1} << random_.below(64)) - 1 + random_.below(3));
    case 2:
        return static_cast<std::int64_t>(random_.number());
    default:
        return static_cast<std::int64_t>(random_.below(1'000'000'000));
    }
}

double MessageMutator::real()
{
    using Limits = std::numeric_limits<double>;
    constexpr std::array reals{0.0,
                               -0.0,
                               1.5,
                               Limits::infinity(),
                               -Limits::infinity(),
                               Limits::max(),
                               Limits::lowest(),
                               Limits::min(),
                               Limits::denorm_min(),
                               Limits::quiet_NaN()};
    return random_.one_in(2) ? random_.one_of(reals) : std::bit_cast<double>(random_.number());
}

} // namespace tarnwick::fuzz
