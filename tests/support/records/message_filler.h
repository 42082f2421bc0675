#pragma once

#include <google/protobuf/message.h>

#include <cstdint>
#include <random>
#include <set>
#include <string>

namespace tarnwick::test {

/// Fills messages of any type. The same number of a shape always yields the same message. Every field, at every depth,
/// is filled in some shapes and absent in others. Texts are short and long, UTF-8 or not. Numbers are large, or small so
/// that ids match. Enumerations can have unknown numbers. Shape 0 is the empty message.
class MessageFiller {
public:
    explicit MessageFiller(std::uint32_t shape)
        : shape_(shape)
        , random_(shape)
    {
    }

    void fill(google::protobuf::Message &message);

    /// Returns a number from 0 to `end - 1`; 0 in shape 0.
    std::uint32_t below(std::uint32_t end) { return shape_ == 0 ? 0 : static_cast<std::uint32_t>(random_()) % end; }
    std::string text();
    std::int64_t number();

private:
    using Field = google::protobuf::FieldDescriptor;

    void fill(google::protobuf::Message &message, int depth);
    void fill(google::protobuf::Message &message, Field const &field, int depth);
    void set(google::protobuf::Message &message, Field const &field);

    std::uint32_t shape_;
    std::mt19937 random_;
    int messages_left_ = 60;
};

template <class Message>
Message shaped(std::uint32_t shape)
{
    Message message;
    MessageFiller(shape).fill(message);
    return message;
}

/// Collects which fields of messages, at every depth, are filled and absent.
class FieldCoverage {
public:
    void add(google::protobuf::Message const &message);

    /// The fields that no message fills.
    [[nodiscard]] std::set<std::string> never_filled() const { return difference(absent_, filled_); }
    /// The fields that every message fills.
    [[nodiscard]] std::set<std::string> never_absent() const { return difference(filled_, absent_); }

private:
    using Fields = std::set<google::protobuf::FieldDescriptor const *>;

    static std::set<std::string> difference(Fields const &fields, Fields const &others);

    Fields filled_;
    Fields absent_;
};

} // namespace tarnwick::test
