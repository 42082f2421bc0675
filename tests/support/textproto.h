#pragma once

#include <google/protobuf/message.h>

#include <string>

namespace tarnwick::test {

/// Reads a message as textproto into an empty message; a text that does not parse fails the test and names the place.
void read_text(std::string const &textproto, google::protobuf::Message &message);

template <class Message>
Message from_text(std::string const &textproto)
{
    Message message;
    read_text(textproto, message);
    return message;
}

} // namespace tarnwick::test
