#pragma once

#include "support/stack_traces.h"
#include "support/workload.h"

#include <tarnwick/data/php/error_data.h>

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <utility>
#include <variant>

// An uncaught exception, with a stack trace of any number of frames of 3 arguments each.

namespace tarnwick::bench {

struct ErrorData {
    static constexpr char const *name = "error_data";
    static constexpr int usual_frames = 25;
    static constexpr int arguments = 3;
    using Record = data::php::ErrorData;
    using Payload = data::php::detail::ErrorData;

    template <class Message>
    static void fill_common(Message &message, int frames, int number)
    {
        message.set_message(numbered("The order cannot be sent, attempt ", number));
        message.set_exception_text("App\\Order\\SendFailed: the carrier did not answer");
        fill_frames(*message.mutable_stack_trace(), frames, number, arguments);
    }

    static std::size_t read(Record const &record)
    {
        auto const &exception = std::get<data::php::Exception>(record->details());
        auto sum = static_cast<std::size_t>(record->message().size() + exception.exception_name().size());
        sum += static_cast<std::size_t>(exception.exception_text().size() + record->timestamp().seconds);
        if (record->location())
            sum += record->location()->line();
        if (record->stack_trace())
            sum += bench::read(*record->stack_trace());
        return sum;
    }

    template <class Exception>
    static void floor_common(Floor &floor, Exception const &exception)
    {
        floor.block(sizeof(Payload));
        floor.text(exception.exception_text());
        floor.text(exception.message());
        floor_frames(floor, exception.stack_trace().frames());
    }
};

struct ErrorDataRpc : ErrorData, RpcReport<rpc::php::v1::NotifyRequest> {
    static Messages messages(int number, int frames = usual_frames)
    {
        auto message = new_message(number);
        message.mutable_timestamp()->set_seconds(1'700'000'000 + number);
        auto &exception = *message.mutable_error()->mutable_exception();
        fill_common(exception, frames, number);
        exception.set_exception_name("App\\Order\\SendFailed");
        exception.mutable_location()->set_file("/srv/app/src/Order/Sender.php");
        exception.mutable_location()->set_line(static_cast<std::uint32_t>(number));
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message)); }

    static void floor(Floor &floor, Message const &message)
    {
        auto const &exception = message.error().exception();
        floor_common(floor, exception);
        floor.text(exception.exception_name());
        floor.text(exception.location().file());
    }
};

struct ErrorDataProtobuf : ErrorData, ProtobufReport<pelorin::protobuf::Glimmet::Error> {
    static Messages messages(int number, int frames = usual_frames)
    {
        Message message;
        message.mutable_timestamp()->set_seconds(1'700'000'000 + number);
        fill_common(message, frames, number);
        message.set_name("App\\Order\\SendFailed");
        message.set_file("/srv/app/src/Order/Sender.php");
        message.set_line(static_cast<std::uint32_t>(number));
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message, data::php::RequestId(7))); }

    static void floor(Floor &floor, Message const &message)
    {
        floor_common(floor, message);
        floor.text(message.name());
        floor.text(message.file());
    }
};

} // namespace tarnwick::bench
