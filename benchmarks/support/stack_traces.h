#pragma once

#include <pelorin/protobuf/PelorinPHP/stack_trace.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>

#include <cstdint>
#include <string>

// Stack traces of 25 frames with 3 arguments each: two texts and a number.

namespace tarnwick::bench {

inline constexpr int frames = 25;

inline std::string numbered(char const *stem, int number)
{
    return stem + std::to_string(number);
}

inline void fill(rpc::php::v1::StackTrace &message, int number)
{
    for (int i = 0; i < frames; ++i) {
        auto &frame = *message.add_frames();
        frame.set_frame_number(static_cast<std::uint32_t>(i));
        auto &function = *frame.mutable_function();
        function.set_name(numbered("App\\Controller\\Index::action", i));
        function.mutable_location()->set_file(numbered("/srv/app/src/Controller/Index", number + i));
        function.mutable_location()->set_line(static_cast<std::uint32_t>(number + i));
        auto &arguments = *function.mutable_arguments();
        for (int argument = 0; argument < 3; ++argument) {
            auto &element = *arguments.add_elements();
            element.set_long_key(argument);
            if (argument == 2)
                element.mutable_value()->set_long_value(number + i);
            else
                element.mutable_value()->set_string_value(numbered("an argument of some length ", number + i));
        }
    }
}

inline void fill(pelorin::protobuf::PelorinPHP::StackTrace &message, int number)
{
    using Value = pelorin::protobuf::PelorinPHP::ZVal;
    for (int i = 0; i < frames; ++i) {
        auto &frame = *message.add_frames();
        frame.set_frame_number(static_cast<std::uint32_t>(i));
        frame.set_name(numbered("App\\Controller\\Index::action", i));
        frame.set_file(numbered("/srv/app/src/Controller/Index", number + i));
        frame.set_line(static_cast<std::uint32_t>(number + i));
        auto &arguments = *frame.mutable_arguments();
        for (int argument = 0; argument < 3; ++argument) {
            auto &element = *arguments.add_elements();
            element.set_long_key(argument);
            auto &value = *element.mutable_value();
            if (argument == 2) {
                value.set_type(Value::TYPE_LONG);
                value.set_long_value(number + i);
            } else {
                value.set_type(Value::TYPE_STRING);
                value.set_string_value(numbered("an argument of some length ", number + i));
            }
        }
    }
}

} // namespace tarnwick::bench
