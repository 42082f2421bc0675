#include <tarnwick/data/php/rshutdown.h>

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Each figure is of one report; 64 different ones take turns, since one alone would teach the branch predictor.

namespace tarnwick::data::php {
namespace {

using pelorin::protobuf::PelorinPHP::RShutdownData;
using rpc::php::v1::NotifyRequest;

constexpr std::size_t reports = 64;

void fill(NotifyRequest &message, std::int32_t number)
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

void fill(RShutdownData &message, std::int32_t number)
{
    message.mutable_duration()->set_nanos(1'000'000 + number);
    message.set_memory_0(2'000'000 + number);
    message.set_memory_1(3'000'000 + number);
    message.set_memory_2(4'000'000 + number);
    message.set_response_status(200 + number % 4);
}

RShutdown build(NotifyRequest const &message)
{
    return RShutdown(new detail::RShutdown(message));
}

RShutdown build(RShutdownData const &message)
{
    return RShutdown(new detail::RShutdown(message, RequestId(7)));
}

template <class Message>
std::vector<Message> messages()
{
    std::vector<Message> filled(reports);
    for (std::size_t i = 0; i < reports; ++i)
        fill(filled[i], static_cast<std::int32_t>(i));
    return filled;
}

template <class Message>
void parse(benchmark::State &state)
{
    std::vector<std::string> wire;
    for (auto const &message : messages<Message>())
        wire.push_back(message.SerializeAsString());
    std::size_t next = 0;
    for (auto _ : state) {
        Message message;
        if (!message.ParseFromString(wire[next++ % reports]))
            state.SkipWithError("a report does not parse");
        benchmark::DoNotOptimize(message);
    }
}

// A record is built and kept; the release of a batch is not in the figure.
template <class Message>
void build_record(benchmark::State &state)
{
    auto const filled = messages<Message>();
    std::vector<RShutdown> records(reports);
    while (state.KeepRunningBatch(reports)) {
        for (std::size_t i = 0; i < reports; ++i)
            records[i] = build(filled[i]);
        state.PauseTiming();
        records.assign(reports, {});
        state.ResumeTiming();
    }
}

template <class Message>
void build_and_release(benchmark::State &state)
{
    auto const filled = messages<Message>();
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(build(filled[next++ % reports]));
}

BENCHMARK(parse<NotifyRequest>)->Name("RShutdown/rpc/parse");
BENCHMARK(build_record<NotifyRequest>)->Name("RShutdown/rpc/build");
BENCHMARK(build_and_release<NotifyRequest>)->Name("RShutdown/rpc/build_and_release");
BENCHMARK(parse<RShutdownData>)->Name("RShutdown/protobuf/parse");
BENCHMARK(build_record<RShutdownData>)->Name("RShutdown/protobuf/build");
BENCHMARK(build_and_release<RShutdownData>)->Name("RShutdown/protobuf/build_and_release");

} // namespace
} // namespace tarnwick::data::php
