#pragma once

#include "fuzz/random.h"
#include "fuzz/target.h"

#include <google/protobuf/message.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::fuzz {

/// A message and all in it.
std::vector<google::protobuf::Message *> parts_of(google::protobuf::Message &message);

/// Changes messages of any class by reflection, so that what comes out is a message still: fields are set, cleared,
/// repeated, put in another order, copied from elsewhere in the message, into themselves too. Texts become what is no
/// text, numbers those at the ends of their ranges, enumerations what they do not know.
class MessageMutator {
public:
    MessageMutator(std::uint32_t seed, MutateBytes mutate_bytes)
        : random_(seed)
        , mutate_bytes_(mutate_bytes)
    {
    }

    void mutate(google::protobuf::Message &message);
    /// Puts a part of another message in the place of a part of the same class, if there is one.
    void cross(google::protobuf::Message &message, google::protobuf::Message &other);

private:
    using Message = google::protobuf::Message;
    using Field = google::protobuf::FieldDescriptor;

    void mutate_part(Message &part);
    void mutate_repeated(Message &part, Field const &field);
    void mutate_message(Message &part, Field const &field);
    void copy_from_elsewhere(Message &part);
    /// Sets a field that holds no message; of a repeated one the element, or a new one where `index` is negative.
    void set(Message &part, Field const &field, int index);
    std::string mutated(std::string text);
    std::int64_t number();
    double real();

    Random random_;
    MutateBytes mutate_bytes_;
    Message *whole_ = nullptr;
};

} // namespace tarnwick::fuzz
