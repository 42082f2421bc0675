#pragma once

#include "fuzz/random.h"
#include "fuzz/target.h"

#include <google/protobuf/message.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::fuzz {

/// Returns the message and all nested messages.
std::vector<google::protobuf::Message *> parts_of(google::protobuf::Message &message);

/// Changes messages of any class by reflection, so that the result is a valid message. Fields are set, cleared,
/// repeated, reordered, and replaced by copies from elsewhere in the message, even of their own parents. New values
/// include texts that are not UTF-8, numbers at the limits of their types and unknown enumerators.
class MessageMutator {
public:
    MessageMutator(std::uint32_t seed, MutateBytes mutate_bytes)
        : random_(seed)
        , mutate_bytes_(mutate_bytes)
    {
    }

    void mutate(google::protobuf::Message &message);
    /// Replaces a part by a part of the same class from another message, if there is one.
    void cross(google::protobuf::Message &message, google::protobuf::Message &other);

private:
    using Message = google::protobuf::Message;
    using Field = google::protobuf::FieldDescriptor;

    void mutate_part(Message &part);
    void mutate_repeated(Message &part, Field const &field);
    void mutate_message(Message &part, Field const &field);
    void copy_from_elsewhere(Message &part);
    /// Sets a field that is not a message. Of a repeated field sets one element, or appends one if `index` is negative.
    void set(Message &part, Field const &field, int index);
    std::string mutated(std::string text);
    std::int64_t number();
    double real();

    Random random_;
    MutateBytes mutate_bytes_;
    Message *whole_ = nullptr;
};

} // namespace tarnwick::fuzz
