#include "support/record_benchmark.h"

#include <tarnwick/data/php/rshutdown.h>

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <cstdint>

namespace tarnwick::data::php {
namespace {

using pelorin::protobuf::PelorinPHP::RShutdownData;
using rpc::php::v1::NotifyRequest;

void fill(NotifyRequest &message, int number)
{
    message.mutable_request_id()->set_id(static_cast<std::uint64_t>(number));
    message.mutable_timestamp()->set_seconds(1'700'000'000 + number);
    auto &payload = *message.mutable_rshutdown();
    payload.mutable_duration()->set_nanos(1'000'000 + number);
    payload.mutable_response()->set_status(200 + number % 4);
    payload.mutable_memory()->set_value_0(2'000'000 + number);
    payload.mutable_memory()->set_value_1(3'000'000 + number);
    payload.mutable_memory()->set_value_2(4'000'000 + number);
}

void fill(RShutdownData &message, int number)
{
    message.mutable_duration()->set_nanos(1'000'000 + number);
    message.set_memory_0(2'000'000 + number);
    message.set_memory_1(3'000'000 + number);
    message.set_memory_2(4'000'000 + number);
    message.set_response_status(200 + number % 4);
}

[[maybe_unused]] bool const registered = [] {
    bench::add_record<NotifyRequest>(
        "RShutdown/rpc", fill, [](NotifyRequest const &message) { return RShutdown(new detail::RShutdown(message)); });
    bench::add_record<RShutdownData>("RShutdown/protobuf", fill, [](RShutdownData const &message) {
        return RShutdown(new detail::RShutdown(message, RequestId(7)));
    });
    return true;
}();

} // namespace
} // namespace tarnwick::data::php
