#pragma once

#include "support/stack_traces.h"
#include "support/workload.h"

#include <tarnwick/data/monitor/event.h>

#include <pelorin/protobuf/Monitor/event.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <utility>

// A slow function, with 25 frames of 3 arguments each.

namespace tarnwick::bench {

struct Event {
    static constexpr char const *name = "event";
    static constexpr std::size_t rounds = 16;
    static constexpr int usual_frames = 25;
    static constexpr int arguments = 3;
    using Record = data::monitor::Event;
    using Payload = data::monitor::detail::Event;

    template <class Message>
    static void fill_common(Message &message, int number)
    {
        message.set_text("The function took longer than its limit.");
        message.mutable_timestamp()->set_seconds(1'700'000'000 + number);
        message.set_flag(number % 2 == 0);
    }

    static std::size_t read(Record const &record)
    {
        auto sum = static_cast<std::size_t>(record->event_text().size()) + (record->event_flag() ? 1 : 0);
        sum += static_cast<std::size_t>(record->timestamp().seconds) + record->details().index();
        if (record->function())
            sum += bench::read(*record->function());
        if (record->stack_trace())
            sum += bench::read(*record->stack_trace());
        return sum;
    }

    template <class Tree, class Message, class Function, class Frames>
    static Tree::Document tree_of_event(Message const &message, std::int64_t duration, Function const &function,
                                        Frames const &frames)
    {
        auto report = report_object<Tree>();
        Tree::template put<"timestamp">(report, Tree::number(message.timestamp().seconds()));
        Tree::template put<"text">(report, Tree::text(message.text()));
        Tree::template put<"flag">(report, Tree::number(message.flag() ? 1 : 0));
        Tree::template put<"duration">(report, Tree::number(duration));
        Tree::template put<"function">(report, tree_of_call<Tree>(function));
        Tree::template put<"stack_trace">(report, tree_of_frames<Tree>(frames));
        return Tree::document(std::move(report));
    }
};

struct EventRpc : Event, RpcReport<rpc::monitor::v1::NotifyRequest> {
    static Messages messages(int number, int frames = usual_frames)
    {
        auto message = new_message(number);
        fill_common(message, number);
        auto &event = *message.mutable_slow_function_exec();
        fill_frames(*event.mutable_stack_trace(), frames, number, arguments);
        *event.mutable_function() = event.stack_trace().frames(0).function();
        event.mutable_duration()->set_seconds(number);
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message)); }

    static void floor(Floor &floor, Message const &message)
    {
        floor.block(sizeof(Payload));
        floor.text(message.text());
        floor_function(floor, message.slow_function_exec().function());
        floor_frames(floor, message.slow_function_exec().stack_trace().frames());
    }

    template <class Tree>
    static Tree::Document tree(Message const &message)
    {
        auto const &event = message.slow_function_exec();
        return tree_of_event<Tree>(message, event.duration().seconds(), event.function(), event.stack_trace().frames());
    }
};

struct EventProtobuf : Event, ProtobufReport<pelorin::protobuf::Monitor::Event> {
    static Messages messages(int number, int frames = usual_frames)
    {
        Message message;
        fill_common(message, number);
        message.set_type(Message::TYPE_SLOW_FUNCTION_EXEC);
        fill_frames(message, frames, number, arguments);
        auto const &frame = message.frames(0);
        auto &function = *message.mutable_function();
        function.set_name(frame.name());
        function.set_file(frame.file());
        function.set_line(frame.line());
        *function.mutable_arguments() = frame.arguments();
        message.mutable_duration()->set_seconds(number);
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message, data::php::RequestId(7))); }

    static void floor(Floor &floor, Message const &message)
    {
        floor.block(sizeof(Payload));
        floor.text(message.text());
        floor_function(floor, message.function());
        floor_frames(floor, message.frames());
    }

    template <class Tree>
    static Tree::Document tree(Message const &message)
    {
        return tree_of_event<Tree>(message, message.duration().seconds(), message.function(), message.frames());
    }
};

} // namespace tarnwick::bench
