#include <tarnwick/data/codetrace/data.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <utility>
#include <vector>

// Data and AddData share their code. The cost of a chunk must not depend on its size; the cost of a copy is measured
// for comparison.

namespace tarnwick::data::codetrace {
namespace {

constexpr std::size_t batch = 64;

/// A message with shared bytes. Like a received message, it owns the block of memory that contains them.
template <class Message>
Message lent(std::string &bytes)
{
    Message message;
    auto const keep = [](void * /*bytes*/, void * /*hint*/) {};
    if (zmq_msg_init_data(message.handle(), bytes.data(), bytes.size(), keep, nullptr) != 0)
        throw std::bad_alloc();
    return message;
}

std::size_t size_of(benchmark::State const &state)
{
    return static_cast<std::size_t>(state.range(0));
}

/// Builds a record in its handle from an existing message, and releases it.
template <class Message, class Make>
void build_and_release(benchmark::State &state, Make make)
{
    std::string bytes(size_of(state), 'x');
    std::vector<Message> messages;
    messages.reserve(batch);
    std::vector<Data> records;
    records.reserve(batch);
    while (state.KeepRunningBatch(batch)) {
        state.PauseTiming();
        messages.clear();
        for (std::size_t i = 0; i < batch; ++i)
            messages.push_back(lent<Message>(bytes));
        state.ResumeTiming();
        for (auto &message : messages)
            records.push_back(make(std::move(message)));
        records.clear();
    }
}

void rpc(benchmark::State &state)
{
    build_and_release<zeromq::msg_t>(
        state, [](zeromq::msg_t &&message) { return Data(new detail::Data(std::move(message), php::RequestId(7))); });
}

void protobuf(benchmark::State &state)
{
    build_and_release<ZMQ::Message>(
        state, [](ZMQ::Message &&message) { return Data(new detail::Data(std::move(message), php::RequestId(7), 8)); });
}

void copy(benchmark::State &state)
{
    std::string const bytes(size_of(state), 'x');
    for (auto _ : state) {
        std::string copied(bytes);
        benchmark::DoNotOptimize(copied.data());
    }
}

constexpr std::int64_t kib = 1024;
constexpr std::int64_t mib = 1024 * kib;

[[maybe_unused]] bool const registered = [] {
    for (auto const size : {kib, mib, 64 * mib}) {
        benchmark::RegisterBenchmark("Chunk/rpc", rpc)->Arg(size);
        benchmark::RegisterBenchmark("Chunk/protobuf", protobuf)->Arg(size);
        benchmark::RegisterBenchmark("Chunk/copy_of_bytes", copy)->Arg(size);
    }
    return true;
}();

} // namespace
} // namespace tarnwick::data::codetrace
