#pragma once

#include "support/php_values.h"
#include "support/workload.h"

#include <tarnwick/data/php/request_headers.h>

#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

// 20 headers of a request. Those of a response are built in the same way.

namespace tarnwick::bench {

struct Headers {
    static constexpr char const *name = "headers";
    static constexpr int usual_headers = 20;
    using Record = data::php::RequestHeaders;
    using Payload = data::php::detail::RequestHeaders;

    static std::string key(int header) { return numbered("X-Header-Of-Some-Name-", header); }
    static std::string value(int number) { return numbered("a value of some length, as headers have them, ", number); }

    static std::size_t read(Record const &record) { return bench::read(*record->headers()); }
};

struct HeadersRpc : Headers, RpcReport<rpc::php::v1::NotifyRequest> {
    static Messages messages(int number, int headers = usual_headers)
    {
        auto message = new_message(number);
        auto &array = *message.mutable_rinit()->mutable_request()->mutable_headers();
        for (int i = 0; i < headers; ++i) {
            auto &element = *array.add_elements();
            element.set_string_key(key(i));
            element.mutable_value()->set_string_value(value(number + i));
        }
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message)); }

    static void floor(Floor &floor, Message const &message)
    {
        floor.block(sizeof(Payload));
        floor_array(floor, message.rinit().request().headers());
    }
};

struct HeadersProtobuf : Headers, ProtobufReport<pelorin::protobuf::Glimmet::RequestHeaders> {
    static Messages messages(int number, int headers = usual_headers)
    {
        Message message;
        for (int i = 0; i < headers; ++i)
            message.add_lines(key(i) + ": " + value(number + i));
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message, data::php::RequestId(7))); }

    static void floor(Floor &floor, Message const &message)
    {
        floor.block(sizeof(Payload));
        floor_lines(floor, message);
    }
};

} // namespace tarnwick::bench
