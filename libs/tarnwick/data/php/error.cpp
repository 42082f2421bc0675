#include <tarnwick/data/php/error.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <tarnwick/rpc/php/v1/error.pb.h>

namespace tarnwick::data::php {
namespace {

template <class Message>
Error::Category category_of(Message const &message)
{
    switch (message.category()) {
    case Message::CATEGORY_1:
        return Error::Category::category_1;
    case Message::CATEGORY_2:
        return Error::Category::category_2;
    case Message::CATEGORY_3:
        return Error::Category::category_3;
    default:
        return Error::Category::none;
    }
}

} // namespace

Error::Error(messages::rpc_php::Error const &message)
    : category_(category_of(message))
    , number_(message.type().number())
    , name_(text(message.type().name()))
{
}

Error::Error(messages::protobuf_glimmet::Error const &message)
    : category_(category_of(message))
    , number_(message.number())
    , name_(text(message.name()))
{
}

} // namespace tarnwick::data::php
