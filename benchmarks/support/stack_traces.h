#pragma once

#include "support/floor.h"
#include "support/php_values.h"
#include "support/workload.h"

#include <tarnwick/data/php/stack_trace.h>

#include <pelorin/protobuf/PelorinPHP/stack_trace.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>

#include <cstddef>
#include <cstdint>
#include <utility>

// Stack traces of any number of frames, with no arguments or with three for each frame: two texts and a number.

namespace tarnwick::bench {

inline void add_argument(rpc::php::v1::PelorinArray &arguments, int index, int number)
{
    auto &element = *arguments.add_elements();
    element.set_long_key(index);
    if (index == 2)
        element.mutable_value()->set_long_value(number);
    else
        element.mutable_value()->set_string_value(numbered("an argument of some length ", number));
}

inline void add_argument(pelorin::protobuf::PelorinPHP::PelorinArray &arguments, int index, int number)
{
    using Value = pelorin::protobuf::PelorinPHP::ZVal;
    auto &element = *arguments.add_elements();
    element.set_long_key(index);
    auto &value = *element.mutable_value();
    if (index == 2) {
        value.set_type(Value::TYPE_LONG);
        value.set_long_value(number);
    } else {
        value.set_type(Value::TYPE_STRING);
        value.set_string_value(numbered("an argument of some length ", number));
    }
}

inline void fill_frame(rpc::php::v1::StackTraceFrame &frame, int index, int number, int arguments)
{
    frame.set_frame_number(static_cast<std::uint32_t>(index));
    auto &function = *frame.mutable_function();
    function.set_name(numbered("App\\Controller\\Index::action", index));
    function.mutable_location()->set_file(numbered("/srv/app/src/Controller/Index", number));
    function.mutable_location()->set_line(static_cast<std::uint32_t>(number));
    for (int argument = 0; argument < arguments; ++argument)
        add_argument(*function.mutable_arguments(), argument, number);
}

inline void fill_frame(pelorin::protobuf::PelorinPHP::StackTraceFrame &frame, int index, int number, int arguments)
{
    frame.set_frame_number(static_cast<std::uint32_t>(index));
    frame.set_name(numbered("App\\Controller\\Index::action", index));
    frame.set_file(numbered("/srv/app/src/Controller/Index", number));
    frame.set_line(static_cast<std::uint32_t>(number));
    for (int argument = 0; argument < arguments; ++argument)
        add_argument(*frame.mutable_arguments(), argument, number);
}

/// `Message` is any message with `frames`.
template <class Message>
void fill_frames(Message &message, int frames, int number, int arguments)
{
    for (int i = 0; i < frames; ++i)
        fill_frame(*message.add_frames(), i, number + i, arguments);
}

inline std::size_t read(data::php::Function const &function)
{
    return static_cast<std::size_t>(function.name().size()) + function.frame_number() + read(*function.args()) +
           (function.location() ? function.location()->line() : 0);
}

inline std::size_t read(data::php::StackTrace const &trace)
{
    std::size_t sum = 0;
    for (auto const &frame : trace.frames())
        sum += read(frame);
    return sum;
}

inline void floor_function(Floor &floor, rpc::php::v1::Function const &function)
{
    floor.text(function.name());
    floor_array(floor, function.arguments());
    if (function.has_location())
        floor.text(function.location().file());
}

inline void floor_function(Floor &floor, rpc::php::v1::StackTraceFrame const &frame)
{
    floor_function(floor, frame.function());
}

/// Floor of a frame or a function of the protobuf dialect, which have the same fields.
template <class Call>
void floor_function(Floor &floor, Call const &call)
{
    floor.text(call.name());
    floor_array(floor, call.arguments());
    if (!call.file().empty())
        floor.text(call.file());
}

template <class Frames>
void floor_frames(Floor &floor, Frames const &frames)
{
    floor.list<data::php::Function>(frames.size());
    for (auto const &frame : frames)
        floor_function(floor, frame);
}

/// Adds the location of any message that has one.
template <class Tree, class Message>
void put_location(typename Tree::Object &object, Message const &message)
{
    auto const put = [&](auto const &place) {
        Tree::template put<"file">(object, Tree::text(place.file()));
        Tree::template put<"line">(object, Tree::number(place.line()));
    };
    if constexpr (requires { message.location(); }) {
        if (message.has_location())
            put(message.location());
    } else if (!message.file().empty()) {
        put(message);
    }
}

template <class Tree, class Call>
Tree::Object tree_of_call(Call const &call)
{
    typename Tree::Object object;
    Tree::template put<"name">(object, Tree::text(call.name()));
    put_location<Tree>(object, call);
    Tree::template put<"arguments">(object, tree_of<Tree>(call.arguments()));
    return object;
}

template <class Tree>
Tree::Object tree_of_call(rpc::php::v1::StackTraceFrame const &frame)
{
    return tree_of_call<Tree>(frame.function());
}

template <class Tree, class Frames>
Tree::Array tree_of_frames(Frames const &frames)
{
    typename Tree::Array array;
    for (auto const &frame : frames) {
        auto object = tree_of_call<Tree>(frame);
        Tree::template put<"frame_number">(object, Tree::number(frame.frame_number()));
        Tree::append(array, std::move(object));
    }
    return array;
}

} // namespace tarnwick::bench
