#pragma once

#include <google/protobuf/message.h>

#include <string>

namespace tarnwick::test {

/// Reads a message as textproto into an empty message; a parse error fails the test and reports its place.
void read_text(std::string const &textproto, google::protobuf::Message &message);

template <class Message>
Message from_text(std::string const &textproto)
{
    Message message;
    read_text(textproto, message);
    return message;
}

/// The record of a message as textproto. `arguments` are those of its constructor after the message.
template <class Handle, class Message, class... Arguments>
Handle record_from_text(std::string const &textproto, Arguments const &...arguments)
{
    return Handle(new Handle::Type(from_text<Message>(textproto), arguments...));
}

/// A row of a table: a message as textproto, and what its record prints as.
struct PrintedCase {
    char const *name;
    char const *textproto;
    char const *printed;
};

} // namespace tarnwick::test
