#pragma once

#include <google/protobuf/arena.h>
#include <google/protobuf/text_format.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tarnwick::test {

/// Parses a message from its bytes, for content that textproto cannot express, such as unknown fields.
template <class Message>
Message from_wire(std::string_view bytes)
{
    Message message;
    EXPECT_TRUE(message.ParseFromString(bytes));
    return message;
}

/// A message as textproto, present but empty sub-messages included.
inline std::string text_of(google::protobuf::Message const &message)
{
    // No printer of our own: its inline destructor and the library disagree on a map's layout under AddressSanitizer.
    std::string text;
    EXPECT_TRUE(google::protobuf::TextFormat::PrintToString(message, &text));
    return text;
}

/// A message to write to, on the heap or on an arena.
template <class Message>
class Target {
public:
    explicit Target(bool on_arena)
        : message_(on_arena ? google::protobuf::Arena::Create<Message>(&arena_) : &heap_)
    {
    }
    Message &operator*() { return *message_; }
    Message *operator->() { return message_; }

private:
    google::protobuf::Arena arena_;
    Message heap_;
    Message *message_;
};

} // namespace tarnwick::test
